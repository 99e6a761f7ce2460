#include "provider/MGlobals.h"

#include "provider/SettingsTable.h"
#include "support/Convention.h"
#include "support/MDebug.h"

namespace kandora {

namespace {

constexpr const wchar_t* moduleName = L"MGlobals";

constexpr std::int32_t namesMissing = 5000;
constexpr std::int32_t loginFailed = 5001;
constexpr std::int32_t maskMissing = 5002;

/// The object, created on first use from what `side` returns.
template <class Service, class Side>
std::shared_ptr<Service> MadeOnce(std::shared_ptr<Service>& service, const Side& side) {
    if (service == nullptr) {
        service = std::make_shared<Service>(side());
    }
    return service;
}

}  // namespace

/// What filing asks goes to the thread's access to the accounting host.
class MGlobals::VouchersOfHost final : public VoucherData {
public:
    explicit VouchersOfHost(MGlobals& globals) : globals_(globals) {}

    Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) override {
        return globals_.goSesamSOK()->GetBuchungsType(strBelegNr, strBelegIndex);
    }
    void GetDebiDaten(const Text& strBelegNr, const Text& strIndex) override {
        globals_.goSesamSOK()->GetDebiDaten(strBelegNr, strIndex);
    }
    void GetKrediDaten(const Text& strBelegNr, const Text& strIndex) override {
        globals_.goSesamSOK()->GetKrediDaten(strBelegNr, strIndex);
    }
    void GetBelegDaten(const Text& strBelegNr, const Text& strIndex) override {
        globals_.goSesamSOK()->GetBelegDaten(strBelegNr, strIndex);
    }

private:
    MGlobals& globals_;
};

/// What the client settings ask goes to an archive client.
class MGlobals::FoldersOfArchive final : public ArchiveFolders {
public:
    using Archive = std::function<std::shared_ptr<ELODMS>()>;

    explicit FoldersOfArchive(Archive archive) : archive_(std::move(archive)) {}

    Text CheckPFadVorhanden(const Text& strPfad) override { return archive_()->CheckPFadVorhanden(strPfad); }
    Text PFadErstellen(Text& strPfad) override { return archive_()->PFadErstellen(strPfad); }

private:
    Archive archive_;
};

MGlobals::MGlobals(Platform& platform, UserInterface& userInterface)
    : platform_(platform), userInterface_(userInterface), errHandler_(userInterface, platform.Now()),
      log_(platform), vouchers_(std::make_unique<VouchersOfHost>(*this)),
      folders_(std::make_unique<FoldersOfArchive>([this] { return goArchiv(); })) {}

MGlobals::~MGlobals() {
    ReleaseServices();
}

void MGlobals::ReleaseServices() noexcept {
    // Taken out first: the destructors may come back here.
    const std::shared_ptr<ELODMS> archiv = std::exchange(archiv_, nullptr);
    const std::shared_ptr<SOKInterface> sesamSOK = std::exchange(sesamSOK_, nullptr);
}

void MGlobals::RecordAndRaise(const wchar_t* procedure) {
    kandora::RecordAndRaise(errHandler_, {moduleName, procedure});
}

std::shared_ptr<ELODMS> MGlobals::goArchiv() try {
    return MadeOnce(archiv_, [this] { return ArchiveSide(); });
} catch (...) {
    RecordAndRaise(L"goArchiv");
}

std::shared_ptr<SOKInterface> MGlobals::goSesamSOK() try {
    return MadeOnce(sesamSOK_, [this] { return AccountingSide(); });
} catch (...) {
    RecordAndRaise(L"goSesamSOK");
}

std::shared_ptr<cUser> MGlobals::User() try {
    if (user_ == nullptr) {
        user_ = std::make_shared<cUser>();
    }
    user_->sKuerzel = state.settings.gsEloKuerzel;
    user_->sName = state.settings.gsEloUserName;
    user_->sPasswort = state.settings.gsEloPasswort;
    return user_;
} catch (...) {
    RecordAndRaise(L"User");
}

std::unique_ptr<CIniFile> MGlobals::NewIniFile() {
    return std::make_unique<CIniFile>(platform_);
}

ArchiveContext MGlobals::ArchiveSide() {
    return ArchiveSideWith(state);
}

ArchiveContext MGlobals::ArchiveSideWith(SharedState& itsState) {
    return {platform_, userInterface_, errHandler_, itsState, *vouchers_, [this] { return *User(); }};
}

AccountingContext MGlobals::AccountingSide() {
    return {platform_, userInterface_, errHandler_, state, *folders_};
}

bool MGlobals::IsArchiveOnMeanwhile() {
    SharedState own;
    own.settings = state.settings;
    own.gbIniOK = state.gbIniOK;
    const auto guest = std::make_shared<ELODMS>(ArchiveSideWith(own), archiv_.get());
    FoldersOfArchive folders([&] { return std::shared_ptr(guest); });
    bool active = false;
    SOKInterface({platform_, userInterface_, errHandler_, own, folders, false}).EinstellungenLesen(active);
    return active;
}

bool MGlobals::IniLesen() try {
    Settings& settings = state.settings;
    const auto read = [&](const std::vector<Setting>& table) {
        for (const Setting& setting : table) {
            Store(setting, NewIniFile()->sString(setting.section, setting.key));
        }
    };
    read(SwitchSettings(settings));
    if (!settings.gbArchivAktiv) {
        return false;
    }
    read(ArchiveSettings(settings));
    Assert(!settings.gsEloUserName.empty() && !settings.gsArchivname.empty() &&
               !settings.gsEloKuerzel.empty(),
           L"Archivname, Benutzername oder Kurzzeichen nicht eingetragen. Das ELO-Interface ist "
           L"deaktiviert.",
           namesMissing);
    const Text failure = goArchiv()->CheckLogin();
    Assert(failure.empty(), failure, loginFailed);
    for (const std::int32_t mask :
         {settings.glMaskeStruktur, settings.glMaskeBelege, settings.glMaskeAuswertung, settings.glMaskeDebi,
          settings.glMaskeKredi}) {
        const Text missing = goArchiv()->CheckMaskeVorhanden(mask);
        Assert(missing.empty(), missing, maskMissing);
    }
    return true;
} catch (...) {
    RecordAndRaise(L"IniLesen");
}

}  // namespace kandora
