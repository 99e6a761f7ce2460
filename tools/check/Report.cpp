#include "tools/check/Report.h"

#include <algorithm>

#include <windows.h>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"
#include "tools/check/ReconcileReport.h"

namespace kandora::check {

namespace {

using Json = nlohmann::ordered_json;

const wchar_t* NameOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::Good:
        return L"gut";
    case Verdict::Warning:
        return L"Warnung";
    default:
        return L"Fehler";
    }
}

/// A value may hold line ends, but a finding is one line.
Text InOneLine(Text text) {
    std::ranges::replace_if(text, [](wchar_t character) { return character < L' '; }, L' ');
    return text;
}

void Write(DWORD where, TextView line) {
    const HANDLE handle = GetStdHandle(where);
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
        return;
    }
    const Text text = Text(line) + L"\r\n";
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(handle, &mode) != FALSE) {
        WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const std::string bytes = Utf8FromText(text);
    WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

Json JsonOf(const Preview& preview) {
    Json fields = Json::array();
    for (const PreviewedField& field : preview.fields) {
        fields.push_back({{"zeile", field.line},
                          {"schluessel", Utf8FromText(field.key)},
                          {"wert", field.value ? Json(Utf8FromText(*field.value)) : Json(nullptr)}});
    }
    return {{"belegNr", Utf8FromText(preview.number)},
            {"belegIndex", Utf8FromText(preview.index)},
            {"art", Utf8FromText(preview.kind)},
            {"ordner", Utf8FromText(preview.folder)},
            {"maske", preview.mask},
            {"kurzbezeichnung", Utf8FromText(preview.title)},
            {"dokument", Utf8FromText(preview.document)},
            {"felder", fields}};
}

}  // namespace

void Report::Add(Finding finding) {
    findings_.push_back(std::move(finding));
    onFinding_(findings_.back());
}

std::size_t Report::Count(Verdict verdict) const {
    return static_cast<std::size_t>(std::ranges::count(findings_, verdict, &Finding::verdict));
}

int Report::ExitCode() const {
    if (!reconciled.empty()) {
        return std::ranges::max_element(reconciled, {}, &Reconciled::ExitCode)->ExitCode();
    }
    if (Count(Verdict::Failure) > 0) {
        return 2;
    }
    return Count(Verdict::Warning) > 0 ? 1 : 0;
}

Text Report::Summary() const {
    const std::size_t warnings = Count(Verdict::Warning);
    return Decimal(static_cast<std::int64_t>(Count(Verdict::Good))) + L" gut, " +
           Decimal(static_cast<std::int64_t>(warnings)) + (warnings == 1 ? L" Warnung, " : L" Warnungen, ") +
           Decimal(static_cast<std::int64_t>(Count(Verdict::Failure))) + L" Fehler";
}

std::string Report::Json() const {
    check::Json checks = check::Json::array();
    for (const Finding& finding : findings_) {
        checks.push_back({{"bereich", Utf8FromText(finding.area)},
                          {"name", Utf8FromText(finding.name)},
                          {"ergebnis", Utf8FromText(NameOf(finding.verdict))},
                          {"wert", Utf8FromText(finding.value)},
                          {"hinweis", Utf8FromText(finding.hint)}});
    }
    check::Json whole{{"programm", "kandora-check"},
                      {"version", Utf8FromText(KANDORA_VERSION)},
                      {"komponente", Utf8FromText(component)},
                      {"pruefungen", checks}};
    if (preview) {
        whole["vorschau"] = JsonOf(*preview);
    }
    if (!reconciled.empty()) {
        whole.update(JsonOf(reconciled, isOfSeveralClients));
    }
    whole["zusammenfassung"] = {{"gut", Count(Verdict::Good)},
                                {"warnungen", Count(Verdict::Warning)},
                                {"fehler", Count(Verdict::Failure)}};
    whole["code"] = ExitCode();
    return whole.dump(2, ' ', false, check::Json::error_handler_t::replace);
}

Text LineOf(const Finding& finding) {
    constexpr std::size_t columnWidth = 9;
    Text line = NameOf(finding.verdict);
    line.resize(columnWidth, L' ');
    line += Text(finding.area) + L": " + finding.name;
    if (!finding.value.empty()) {
        line += L": " + InOneLine(finding.value);
    }
    if (!finding.hint.empty()) {
        line += L" → " + InOneLine(finding.hint);
    }
    return line;
}

void PrintLine(TextView line) {
    Write(STD_OUTPUT_HANDLE, line);
}

void PrintErrorLine(TextView line) {
    Write(STD_ERROR_HANDLE, line);
}

}  // namespace kandora::check
