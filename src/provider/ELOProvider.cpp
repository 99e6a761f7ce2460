#include "provider/ELOProvider.h"

#include <optional>

#include "support/Convention.h"
#include "support/MString.h"
#include "support/MessageBoxes.h"

namespace kandora {

namespace {

/// The provider's class tag in the call stack is the product's name.
constexpr const wchar_t* className = L"Kandora";

/// Elements of the host's metadata array that are read.
namespace element {
constexpr std::int32_t unused = 0;
constexpr std::int32_t voucherNumber = 2;
constexpr std::int32_t voucherIndex = 3;
constexpr std::int32_t barcode = 4;
}  // namespace element

/// The voucher's identity in the host's metadata. Element 0 is read and not used, so that metadata without it
/// is an error.
struct Voucher {
    Text number;
    Text index;

    explicit Voucher(const Variant& vtMetaData) {
        static_cast<void>(ToText(vtMetaData.Element(element::unused)));
        number = ToText(vtMetaData.Element(element::voucherNumber));
        index = ToText(vtMetaData.Element(element::voucherIndex));
    }
};

Text BarcodeIn(const Variant& vtMetaData) {
    return ToText(vtMetaData.Element(element::barcode));
}

}  // namespace

// ---- How requests come and go ----

/// A request's time in the component. One that comes while another is in progress leaves that one's error
/// record alone.
class ELOProvider::Visit {
public:
    explicit Visit(MGlobals& globals) noexcept : turn_(globals.Order()) {
        if (turn_.IsMeanwhile()) {
            keeper_.emplace(globals.goErrHandler());
        }
    }

    [[nodiscard]] bool IsMeanwhile() const noexcept { return turn_.IsMeanwhile(); }

private:
    RequestOrder::Turn turn_;
    std::optional<ErrorKeeper> keeper_;
};

template <class... Arguments>
void ELOProvider::InTurn(const HostRequest& request, void (ELOProvider::*work)(const Arguments&...),
                         const Arguments&... arguments) noexcept {
    const Visit visit(globals_);
    try {
        if (visit.IsMeanwhile()) {
            globals_.Order().Postpone([self = shared_from_this(), &request, work, arguments...] {
                self->InTurn(request, work, arguments...);
            });
        } else if (Begin(request, {arguments...}, false)) {
            (this->*work)(arguments...);
        }
    } catch (...) {
        ShowCurrentError(request);
    }
}

template <class Work>
void ELOProvider::AtOnce(const HostRequest& request, std::initializer_list<LogParameter> arguments,
                         Work work) noexcept {
    const Visit visit(globals_);
    try {
        if (Begin(request, arguments, visit.IsMeanwhile())) {
            work();
        }
    } catch (...) {
        ShowCurrentError(request);
    }
}

void ELOProvider::Refuse(const HostRequest& request) noexcept {
    const Visit visit(globals_);
    ShowCurrentError(request);
}

/// An error that cannot even be shown is given up.
void ELOProvider::ShowCurrentError(const HostRequest& request) noexcept {
    try {
        ShowAndClear(globals_.goErrHandler(), CurrentError(), {className, request.name});
    } catch (...) {
        globals_.goErrHandler().Clear();
    }
}

bool ELOProvider::Begin(const HostRequest& request, std::initializer_list<LogParameter> arguments,
                        bool isMeanwhile) {
    if (globals_.state.settings.gbDebug || (request.isTracedAtFirst && !bRunning)) {
        globals_.Log().WriteLog(Text(L"DMSProvider_") + request.name, arguments);
    }
    if (request.gate == Gate::None) {
        return true;
    }
    if (!globals_.state.gbIniOK) {
        return false;
    }
    RefreshClient(isMeanwhile);
    // Kept before the box: while it is open, another request may ask anew.
    const bool isOn = globals_.state.gbMandantArchivAktiv;
    if (!isOn && request.gate == Gate::Told) {
        // An error box without an error (number 0) is how the user learns that the open client has no
        // archive.
        ShowAndClear(globals_.goErrHandler(), RuntimeError(0), {className, request.name});
    }
    return isOn;
}

/// Asks the host whether the archive is on for the client that is open; nothing is kept from one request to
/// the next. Meanwhile nothing is taken from what is in progress.
void ELOProvider::RefreshClient(bool isMeanwhile) {
    bool active = false;
    if (isMeanwhile) {
        active = globals_.IsArchiveOnMeanwhile();
    } else {
        globals_.goSesamSOK()->EinstellungenLesen(active);
    }
    globals_.state.gbMandantArchivAktiv = active;
}

// ---- The requests ----

void ELOProvider::InitProvider(const Variant& vtMetaData) {
    InTurn(requests::initProvider, &ELOProvider::ReadSettings, vtMetaData);
}

void ELOProvider::StartProvider(const Variant& vtMetaData) {
    InTurn(requests::startProvider, &ELOProvider::ShowArchive, vtMetaData);
}

void ELOProvider::SaveDocument(const Text& sDocID, const Variant& vtMetaData) {
    InTurn(requests::saveDocument, &ELOProvider::FileVoucher, sDocID, vtMetaData);
}

void ELOProvider::DocumentChanged(const Text& sDocID, const Variant& vtMetaData) {
    InTurn(requests::documentChanged, &ELOProvider::ChangeVoucher, sDocID, vtMetaData);
}

void ELOProvider::DeleteDocument(const Text& sDocID, const Variant& vtMetaData) {
    InTurn(requests::deleteDocument, &ELOProvider::DeleteVoucher, sDocID, vtMetaData);
}

void ELOProvider::ShowDocument(const Text& sDocID, const Variant& vtMetaData) {
    InTurn(requests::showDocument, &ELOProvider::ShowVoucher, sDocID, vtMetaData);
}

void ELOProvider::PrintDocument(const Text& sDocID, const Variant& vtMetaData) {
    InTurn(requests::printDocument, &ELOProvider::FileReport, sDocID, vtMetaData);
}

Text ELOProvider::CreateDocID(const Variant& vtMetaData) {
    Text docID;
    AtOnce(requests::createDocID, {vtMetaData}, [&] {
        const LocalTime now = globals_.Machine().Now();
        docID = Digits(now.year, 4) + Digits(now.month, 2) + Digits(now.day, 2) + Digits(now.hour, 2) +
                Digits(now.minute, 2) + Digits(now.second, 2);
    });
    return docID;
}

Variant ELOProvider::GetOpenDocInfo() {
    Variant info;
    AtOnce(requests::getOpenDocInfo, {}, [&] {
        const LocalTime now = globals_.Machine().Now();
        // The host gets the three placeholders literally.
        info = Variant::ArrayOf(std::vector<Text>{L"OpenDocInfo0", L"OpenDocInfo1", L"OpenDocInfo2",
                                                  Digits(now.minute, 2) + Digits(now.second, 2)});
    });
    return info;
}

Text ELOProvider::GetVirtualPrinterName() {
    Text name;
    AtOnce(requests::getVirtualPrinterName, {}, [&] { name = L"ELO Drucker"; });
    return name;
}

void ELOProvider::FibuVersion(const Variant& vtVerInfo) {
    AtOnce(requests::fibuVersion, {vtVerInfo}, [] {});
}

void ELOProvider::SavePendingDocument(const Variant& vtDocInfo, const Text& sDocID,
                                      const Variant& vtMetaData) {
    AtOnce(requests::savePendingDocument, {vtDocInfo, sDocID, vtMetaData}, [] {});
}

void ELOProvider::SetDocumentStatus(const Text& sDocID, const Variant& vtMetaData) {
    AtOnce(requests::setDocumentStatus, {sDocID, vtMetaData}, [] {});
}

// ---- Their work ----

void ELOProvider::ReadSettings(const Variant& /*vtMetaData*/) {
    bRunning = true;
    if (globals_.IniLesen()) {
        globals_.state.gbIniOK = true;
        RefreshClient(false);
        return;
    }
    // Both texts are meant as they stand, the blank at the end of the first one included.
    if (globals_.state.gbMandantArchivAktiv) {
        const Text message = L"Die Ini-Datei konnte nicht gelesen werden. Alle Funktionen des DMS sind "
                             L"bis zu einem Neustart von "
                             L"Sesam deaktiviert. ";
        globals_.Log().WriteLog(message, {});
        // The number of the system-modal style is passed as the caption, deliberately: users know the box
        // that way.
        globals_.Screen().ShowMessage(message, boxstyle::exclamation, Decimal(boxstyle::systemModal));
    } else {
        globals_.Log().WriteLog(L"Das Archiv ist deaktiviert. Alle Funktionen des DMS sind bis zu einem "
                                L"Neustart von Sesam nicht "
                                L"verfügbar.",
                                {});
    }
    globals_.state.gbIniOK = false;
}

void ELOProvider::ShowArchive(const Variant& /*vtMetaData*/) {
    globals_.goArchiv()->ELOSichtbar();
}

void ELOProvider::FileVoucher(const Text& sDocID, const Variant& vtMetaData) {
    const Voucher voucher(vtMetaData);
    const Text barcode = BarcodeIn(vtMetaData);
    if (barcode.empty()) {
        return;  // a voucher without a barcode is not filed
    }
    globals_.goArchiv()->AddDokument(Text(globals_.state.folders.strPlatzhalterDatei), barcode,
                                     voucher.number, voucher.index, L"Pendent", sDocID);
}

void ELOProvider::ChangeVoucher(const Text& sDocID, const Variant& vtMetaData) {
    const Voucher voucher(vtMetaData);
    const Text barcode = BarcodeIn(vtMetaData);
    globals_.goArchiv()->ChangeDocument(barcode, voucher.number, voucher.index, sDocID);
}

void ELOProvider::DeleteVoucher(const Text& sDocID, const Variant& vtMetaData) {
    const Voucher voucher(vtMetaData);
    globals_.goArchiv()->MarkAsDeleted(sDocID, voucher.number, voucher.index);
}

void ELOProvider::ShowVoucher(const Text& sDocID, const Variant& vtMetaData) {
    static_cast<void>(ToText(vtMetaData.Element(element::unused)));
    globals_.goArchiv()->ShowDokument(sDocID);
}

void ELOProvider::FileReport(const Text& /*sDocID*/, const Variant& /*vtMetaData*/) {
    globals_.goArchiv()->SaveAuswertung();
}

}  // namespace kandora
