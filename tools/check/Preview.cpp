#include <algorithm>

#include "archive/ArchiveSession.h"
#include "tools/check/Checks.h"
#include "tools/check/DryRun.h"
#include "tools/check/ForwardingPlatform.h"

namespace kandora::check {

namespace {

/// Hands out the rehearsal's archive; everything else is the checked machine's.
class DryRunPlatform final : public ForwardingPlatform {
public:
    DryRunPlatform(Platform& machine, LateBound archive)
        : ForwardingPlatform(machine), archive_(std::move(archive)) {}

    LateBound CreateObject(const Text& progId) override {
        return progId == archiveClass ? archive_ : ForwardingPlatform::CreateObject(progId);
    }

private:
    LateBound archive_;
};

/// Asks the host as a filing does and remembers the booking's kind.
class WatchedVouchers final : public VoucherData {
public:
    explicit WatchedVouchers(VoucherData& vouchers) : vouchers_(vouchers) {}

    Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) override {
        kind = vouchers_.GetBuchungsType(strBelegNr, strBelegIndex);
        return kind;
    }
    void GetDebiDaten(const Text& strBelegNr, const Text& strIndex) override {
        vouchers_.GetDebiDaten(strBelegNr, strIndex);
    }
    void GetKrediDaten(const Text& strBelegNr, const Text& strIndex) override {
        vouchers_.GetKrediDaten(strBelegNr, strIndex);
    }
    void GetBelegDaten(const Text& strBelegNr, const Text& strIndex) override {
        vouchers_.GetBelegDaten(strBelegNr, strIndex);
    }

    Text kind;

private:
    VoucherData& vouchers_;
};

bool ComesWithRequest(const IndexField& field) {
    return field.value == &DocumentRecord::Barcode || field.value == &DocumentRecord::SesamDocID;
}

Preview PreviewOf(const NotedEntry& entry, const DocumentKind& kind, const ClientFolders& folders) {
    Preview preview;
    preview.kind = kind.name;
    preview.folder = folders.*kind.folder.path;
    preview.mask = entry.mask;
    preview.title = entry.title;
    preview.document = entry.document;
    for (std::size_t place = 0; place < entry.fields.size() && place < kind.fields.size(); ++place) {
        const IndexField& field = kind.fields[place];
        const auto& [line, value] = entry.fields[place];
        preview.fields.push_back(
            {line, field.key, ComesWithRequest(field) ? std::nullopt : std::optional<Text>(value)});
    }
    return preview;
}

void Show(Report& report, const Preview& preview) {
    report.Good(area::preview, L"Beleg", preview.number + L" / " + preview.index);
    report.Good(area::preview, L"Art", preview.kind);
    report.Good(area::preview, L"Ordner", preview.folder);
    report.Good(area::preview, L"Maske", Decimal(preview.mask));
    report.Good(area::preview, L"Kurzbezeichnung", L"«" + preview.title + L"»");
    report.Good(area::preview, L"Dokument", preview.document);
    for (const PreviewedField& field : preview.fields) {
        report.Good(area::preview, L"Zeile " + Decimal(field.line) + L" " + field.key,
                    field.value ? L"«" + *field.value + L"»"
                                : Text(L"(nennt die Finanzbuchhaltung mit ihrer Anfrage)"));
    }
}

}  // namespace

void PreviewVoucher(Report& report, Surroundings& surroundings, const Text& number, const Text& index) {
    const Text name = L"Beleg " + number + L" / " + index;
    MGlobals& globals = surroundings.globals;
    try {
        NotedEntry entry;
        DryRunPlatform platform(surroundings.platform, NewDryRunArchive(globals.goArchiv()->oElo(), entry));
        const ArchiveContext real = globals.ArchiveSide();
        WatchedVouchers vouchers(real.vouchers);
        {
            ELODMS archive({platform, real.userInterface, real.errHandler, real.state, vouchers, real.user});
            archive.AddDokument(Text(globals.state.folders.strPlatzhalterDatei), L"Barcode", number, index,
                                L"Pendent", L"Dokument-ID");
        }
        const DocumentKind* const kind = KindOf(vouchers.kind);
        if (kind == nullptr) {
            report.Warn(area::preview, name, L"Art «" + vouchers.kind + L"»",
                        L"Solche Belege werden nicht "
                        L"abgelegt");
            return;
        }
        report.preview = PreviewOf(entry, *kind, globals.state.folders);
        report.preview->number = number;
        report.preview->index = index;
        Show(report, *report.preview);
    } catch (...) {
        report.Fail(area::preview, name, TextOfError(CurrentError()),
                    L"So meldet es die Komponente, wenn dieser Beleg abgelegt wird");
        globals.goErrHandler().Clear();
    }
}

}  // namespace kandora::check
