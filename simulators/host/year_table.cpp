#include "year_table.h"

#include "report.h"
#include "text_table.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <map>
#include <set>

namespace simulators {
namespace {

constexpr std::size_t widestCell = 26;
constexpr std::size_t widestMessage = 90;
constexpr std::size_t numbersListed = 8;

std::wstring Count(std::size_t count) {
    return std::to_wstring(count);
}

std::wstring Count(std::size_t count, const wchar_t* one, const wchar_t* many) {
    return std::to_wstring(count) + L" " + (count == 1 ? one : many);
}

std::wstring Fixed(double value, int decimals) {
    std::array<wchar_t, 40> text{};
    const int length = std::swprintf(text.data(), text.size(), L"%.*f", decimals, value);
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

std::wstring Cell(std::wstring text) {
    return Shortened(std::move(text), widestCell);
}

std::wstring NumberOf(const Outcome& outcome) {
    return outcome.belegNr + L"/" + outcome.belegIndex;
}

// What became of the bookings of one kind.
struct Group {
    std::wstring name;
    std::size_t saved = 0;
    std::vector<const Outcome*> withoutBarcode;
    // Sent with a barcode, but not in the archive.
    std::vector<const Outcome*> missing;
    std::vector<const StoredEntry*> entries;
    std::size_t failedCalls = 0;

    std::wstring Folders() const {
        std::set<std::wstring> folders;
        for (const StoredEntry* entry : entries) {
            folders.insert(entry->folder);
        }
        std::wstring text;
        for (const std::wstring& folder : folders) {
            text += (text.empty() ? L"" : L", ") + folder;
        }
        return text;
    }
};

std::array<Group, 3> Sort(const ClientFile& client, const std::vector<Outcome>& outcomes,
                          const StoreReader* store) {
    std::map<std::pair<std::wstring, std::wstring>, std::int16_t> origins;
    for (const Booking& booking : client.Bookings()) {
        origins[{booking.belegNr, booking.belegIndex}] = booking.ursprung;
    }
    std::array<Group, 3> groups;
    groups[0].name = L"Debitoren";
    groups[1].name = L"Kreditoren";
    groups[2].name = L"Finanzbuchhaltung";
    for (const Outcome& outcome : outcomes) {
        if (outcome.kind != RequestKind::SaveDocument) {
            continue;
        }
        const std::int16_t origin = origins[{outcome.belegNr, outcome.belegIndex}];
        Group& group = groups[origin == 1 ? 0 : origin == 2 ? 1 : 2];
        ++group.saved;
        group.failedCalls += FAILED(outcome.code) ? 1U : 0U;
        const StoredEntry* entry = store ? store->FindByFieldValue(outcome.docId) : nullptr;
        if (entry) {
            group.entries.push_back(entry);
        } else if (outcome.barcode.empty()) {
            group.withoutBarcode.push_back(&outcome);
        } else {
            group.missing.push_back(&outcome);
        }
    }
    return groups;
}

void RenderEntries(std::vector<std::wstring>& lines, const Group& group, const StoreReader& store,
                   std::size_t rows) {
    // Entries of one kind share their mask as a rule; each mask found gets a table of its own.
    std::map<std::pair<std::wstring, int>, std::vector<const StoredEntry*>> places;
    for (const StoredEntry* entry : group.entries) {
        places[{entry->folder, entry->mask}].push_back(entry);
    }
    for (const auto& [place, entries] : places) {
        lines.push_back(L"  " + Count(entries.size(), L"Eintrag", L"Einträge") + L" im Ordner " +
                        place.first + L", Maske " + Guillemets(store.MaskName(place.second)));
        std::set<int> fieldLines;
        for (const StoredEntry* entry : entries) {
            for (const auto& field : entry->fields) {
                fieldLines.insert(field.first);
            }
        }
        std::vector<std::wstring> head{L"Eintrag", L"Kurzbezeichnung"};
        for (const int line : fieldLines) {
            head.push_back(Cell(store.FieldName(place.second, line)));
        }
        TextTable table(std::move(head), {0});
        const std::size_t shown = rows == 0 ? entries.size() : std::min(rows, entries.size());
        for (std::size_t at = 0; at < shown; ++at) {
            std::vector<std::wstring> row{Count(static_cast<std::size_t>(entries[at]->id)),
                                          Cell(entries[at]->shortName)};
            for (const int line : fieldLines) {
                const auto field = entries[at]->fields.find(line);
                row.push_back(field == entries[at]->fields.end() ? L"" : Cell(field->second));
            }
            table.Add(std::move(row));
        }
        table.RenderTo(lines, L"    ");
        if (shown < entries.size()) {
            lines.push_back(L"    … und " + Count(entries.size() - shown) + L" weitere");
        }
        const auto withoutDocument = std::count_if(
            entries.begin(), entries.end(), [](const StoredEntry* entry) { return !entry->hasDocument; });
        if (withoutDocument > 0) {
            lines.push_back(L"    ohne Dokument: " + Count(static_cast<std::size_t>(withoutDocument)));
        }
    }
}

std::wstring ListNumbers(const std::vector<const Outcome*>& outcomes) {
    std::wstring text;
    for (std::size_t at = 0; at < outcomes.size() && at < numbersListed; ++at) {
        text += (at == 0 ? L"" : L", ") + NumberOf(*outcomes[at]);
    }
    return outcomes.size() > numbersListed ? text + L", …" : text;
}

std::wstring ReasonOf(const Outcome& outcome) {
    if (FAILED(outcome.code)) {
        return DescribeCode(outcome.code);
    }
    return outcome.boxes.empty()
               ? L"ohne Meldung"
               : L"Meldung " + Guillemets(Shortened(outcome.boxes.back().text, widestMessage));
}

}  // namespace

std::vector<std::wstring> RenderYearTable(const ClientFile& client, const std::vector<Outcome>& outcomes,
                                          const StoreReader* store, double seconds, std::size_t rows) {
    const std::array<Group, 3> groups = Sort(client, outcomes, store);
    std::vector<std::wstring> lines;
    for (const Group& group : groups) {
        lines.push_back(group.name + L": " + Count(group.saved, L"Beleg", L"Belege") + L" gespeichert");
        if (store) {
            RenderEntries(lines, group, *store, rows);
        }
        if (!group.withoutBarcode.empty()) {
            lines.push_back(L"  " + Count(group.withoutBarcode.size()) +
                            L" nicht abgelegt, weil kein Barcode: " + ListNumbers(group.withoutBarcode));
        }
        if (store && !group.missing.empty()) {
            lines.push_back(L"  " + Count(group.missing.size()) + L" mit Barcode, aber nicht im Archiv:");
            for (std::size_t at = 0; at < group.missing.size() && at < numbersListed; ++at) {
                lines.push_back(L"    " + NumberOf(*group.missing[at]) + L": " +
                                ReasonOf(*group.missing[at]));
            }
            if (group.missing.size() > numbersListed) {
                lines.push_back(L"    … und " + Count(group.missing.size() - numbersListed) + L" weitere");
            }
        }
        lines.emplace_back();
    }

    TextTable table(
        {L"Buchungsart", L"gespeichert", L"abgelegt", L"ohne Barcode", L"fehlt im Archiv", L"Ordner"},
        {1, 2, 3, 4});
    Group total;
    const auto addRow = [&](const Group& group, const std::wstring& name, std::size_t filed,
                            std::size_t without, std::size_t missing) {
        table.Add({name, Count(group.saved), store ? Count(filed) : L"?", Count(without),
                   store ? Count(missing) : L"?", group.Folders()});
    };
    std::size_t filed = 0;
    std::size_t without = 0;
    std::size_t missing = 0;
    for (const Group& group : groups) {
        addRow(group, group.name, group.entries.size(), group.withoutBarcode.size(), group.missing.size());
        total.saved += group.saved;
        total.failedCalls += group.failedCalls;
        filed += group.entries.size();
        without += group.withoutBarcode.size();
        missing += group.missing.size();
    }
    addRow(total, L"Total", filed, without, missing);
    table.RenderTo(lines, L"");
    lines.emplace_back();
    std::wstring duration = L"Dauer: " + Fixed(seconds, 1) + L" s";
    if (total.saved > 0) {
        duration += L", " + Fixed(seconds * 1000 / static_cast<double>(total.saved), 1) + L" ms je Beleg";
    }
    lines.push_back(duration);
    if (total.failedCalls > 0) {
        lines.push_back(L"Fehlgeschlagene Aufrufe: " + Count(total.failedCalls));
    }
    return lines;
}

bool IsEverythingFiled(const std::vector<Outcome>& outcomes, const StoreReader& store) {
    return std::all_of(outcomes.begin(), outcomes.end(), [&](const Outcome& outcome) {
        return outcome.kind != RequestKind::SaveDocument || outcome.barcode.empty() ||
               store.FindByFieldValue(outcome.docId) != nullptr;
    });
}

}  // namespace simulators
