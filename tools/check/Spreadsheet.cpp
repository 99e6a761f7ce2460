#include "tools/check/Spreadsheet.h"

#include <algorithm>

#include "interfaces/CodePages.h"
#include "tools/check/Age.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* byteOrderMark = L"\xFEFF";

Text Row(const std::vector<Text>& values) {
    std::vector<Text> cells;
    std::ranges::transform(values, std::back_inserter(cells), Cell);
    return Joined(cells, L";") + L"\r\n";
}

/// A number of an amount, with a sign or not: no formula.
bool IsNumber(const Text& value) {
    return value.find_first_of(L"0123456789") != Text::npos &&
           value.find_first_not_of(L"0123456789.,'’ ", 1) == Text::npos;
}

/// Dates in one form, whatever the settings of the user are under whom they were written.
Text FieldValue(const Text& value) {
    const auto day = DayOfDate(value);
    return day ? DottedDate(*day) : value;
}

Text Entries(const std::vector<std::int32_t>& entries) {
    std::vector<Text> texts;
    std::ranges::transform(entries, std::back_inserter(texts), [](std::int32_t id) { return Decimal(id); });
    return Joined(texts, L", ");
}

void AppendRows(Text& sheet, const Text& client, const EntryFinding& finding) {
    const bool hasEntry = finding.entry != 0;
    const auto append = [&](const FieldDifference& field) {
        sheet +=
            Row({client, NameOf(finding.kind).title, hasEntry ? Decimal(finding.entry) : Text(),
                 hasEntry ? Decimal(finding.hit) : Text(), finding.identity.number, finding.identity.index,
                 finding.identity.docId, finding.identity.barcode, finding.by, Entries(finding.others),
                 field.key, FieldValue(field.archive), FieldValue(field.accounting), finding.text});
    };
    if (finding.fields.empty()) {
        append({});
    }
    std::ranges::for_each(finding.fields, append);
}

}  // namespace

Text Cell(const Text& value) {
    // A spreadsheet takes what begins like this for a formula and carries it out; the apostrophe keeps it a
    // text. Blanks and line ends before it do not help.
    const std::size_t first = value.find_first_not_of(L" \t\r\n");
    const bool isFormula =
        first != Text::npos && Text(L"=+-@").find(value[first]) != Text::npos && !IsNumber(value);
    const bool begins = !value.empty() && (value.front() == L'\t' || value.front() == L'\r');
    Text cell = (isFormula || begins ? L"'" : L"") + value;
    if (cell.find_first_of(L";\"\r\n") == Text::npos) {
        return cell;
    }
    return L"\"" + Replaced(cell, L"\"", L"\"\"") + L"\"";
}

std::string SpreadsheetOf(const std::vector<Reconciled>& reconciled) {
    Text sheet = byteOrderMark;
    sheet +=
        Row({L"Mandant", L"Befund", L"Eintrag", L"Treffer", L"Belegnummer", L"Belegindex", L"Dokument-ID",
             L"Barcode", L"Wodurch", L"Weitere", L"Feld", L"Archiv", L"Buchhaltung", L"Text"});
    for (const Reconciled& one : reconciled) {
        for (const EntryFinding& finding : one.findings) {
            AppendRows(sheet, one.client, finding);
        }
    }
    return Utf8FromText(sheet);
}

}  // namespace kandora::check
