#include "tools/check/Checks.h"
#include "tools/check/DryRun.h"

namespace kandora::check {

namespace {

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
        Rehearsal rehearsal(globals, globals.goArchiv()->oElo());
        const Text kindName = rehearsal.File(number, index, L"Barcode", L"Dokument-ID");
        const DocumentKind* const kind = KindOf(kindName);
        if (kind == nullptr) {
            report.Warn(area::preview, name, L"Art «" + kindName + L"»",
                        L"Solche Belege werden nicht "
                        L"abgelegt");
            return;
        }
        report.preview = PreviewOf(rehearsal.Noted(), *kind, globals.state.folders);
        report.preview->number = number;
        report.preview->index = index;
        Show(report, *report.preview);
    } catch (...) {
        report.Fail(area::preview, name, TextOfError(CurrentError()),
                    L"So meldet es die Komponente, wenn dieser Beleg abgelegt wird");
    }
}

}  // namespace kandora::check
