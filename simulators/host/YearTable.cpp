#include "simulators/host/YearTable.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <iterator>
#include <map>
#include <set>

#include "simulators/host/RunReport.h"
#include "simulators/host/ScreenText.h"
#include "simulators/host/TextTable.h"

namespace kandora::simulators {

namespace {

constexpr std::size_t numbersListed = 8;
/// Columns; no index field needs more to be recognised.
constexpr std::size_t widestField = 26;
/// Columns that are kept for the short name beside the fields that come first, and beside all others.
constexpr std::size_t leastShortName = 18;
constexpr std::size_t goodShortName = 26;
/// The fields by which an accountant knows a voucher; the others follow as far as there is room.
constexpr std::array<std::wstring_view, 4> firstFields{L"Barcode", L"Belegnummer", L"Valutadatum", L"Betrag"};

std::wstring Count(std::size_t count) {
    return std::to_wstring(count);
}

std::wstring Fixed(double value, int decimals) {
    std::array<wchar_t, 40> text{};
    const int length = std::swprintf(text.data(), text.size(), L"%.*f", decimals, value);
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

std::wstring NumberOf(const Outcome& outcome) {
    return outcome.belegNr + L"/" + outcome.belegIndex;
}

/// What became of the bookings of one kind.
struct Group {
    std::wstring name;
    std::size_t saved = 0;
    std::vector<const Outcome*> withoutBarcode;
    /// Sent with a barcode, but not in the archive.
    std::vector<const Outcome*> missing;
    std::vector<const StoredEntry*> entries;
    std::size_t failedCalls = 0;
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

std::wstring FieldOf(const StoredEntry& entry, int line) {
    const auto found = entry.fields.find(line);
    return found == entry.fields.end() ? std::wstring() : found->second;
}

std::wstring Listed(const std::vector<std::wstring>& names) {
    std::wstring text;
    for (const std::wstring& name : names) {
        text += (text.empty() ? L"" : L", ") + name;
    }
    return text;
}

/// Entries that share a mask as a table: the index lines that have room beside number and short name.
class EntryTable {
public:
    EntryTable(const StoreReader& store, std::vector<const StoredEntry*> entries)
        : store_(store), entries_(std::move(entries)) {
        for (const StoredEntry* entry : entries_) {
            for (const auto& field : entry->fields) {
                fieldLines_.insert(field.first);
            }
        }
    }

    void RenderTo(std::vector<std::wstring>& lines, const std::wstring& indent, const TableSize& size) const {
        const std::size_t shown = size.rows == 0 ? entries_.size() : std::min(size.rows, entries_.size());
        const std::set<int> chosen = ChooseFields(shown, size.width - indent.size());
        std::vector<std::wstring> head{L"Eintrag", L"Kurzbezeichnung"};
        std::vector<std::wstring> notShown;
        for (const int line : fieldLines_) {
            (chosen.contains(line) ? head : notShown).push_back(NameOf(line));
        }
        TextTable table(std::move(head), {0});
        for (std::size_t at = 0; at < shown; ++at) {
            std::vector<std::wstring> row{Count(static_cast<std::size_t>(entries_[at]->id)),
                                          entries_[at]->shortName};
            for (const int line : chosen) {
                row.push_back(FieldOf(*entries_[at], line));
            }
            table.Add(std::move(row));
        }
        table.RenderTo(lines, indent, size.width);
        if (shown < entries_.size()) {
            lines.push_back(indent + L"… und " + Count(entries_.size() - shown) + L" weitere");
        }
        if (!notShown.empty()) {
            AppendWrapped(lines, L"ohne Platz in der Tabelle: " + Listed(notShown), indent, indent + L"  ",
                          size.width);
        }
    }

private:
    /// All entries of the table have the same mask.
    std::wstring NameOf(int line) const { return store_.FieldName(entries_.front()->mask, line); }

    template <class TextOf>
    std::size_t WidestOf(std::size_t head, std::size_t shown, TextOf textOf) const {
        for (std::size_t at = 0; at < shown; ++at) {
            head = std::max(head, DisplayWidth(textOf(*entries_[at])));
        }
        return head;
    }

    std::set<int> ChooseFields(std::size_t shown, std::size_t room) const {
        const auto isFirst = [&](int line) {
            return std::ranges::find(firstFields, NameOf(line)) != firstFields.end();
        };
        std::vector<int> order(fieldLines_.begin(), fieldLines_.end());
        std::stable_partition(order.begin(), order.end(), isFirst);
        const std::size_t shortName =
            WidestOf(DisplayWidth(L"Kurzbezeichnung"), shown,
                     [](const StoredEntry& entry) -> const std::wstring& { return entry.shortName; });
        std::size_t used = DisplayWidth(L"Eintrag") + TextTable::gap;
        std::set<int> chosen;
        for (const int line : order) {
            const std::size_t field = std::min(
                widestField, WidestOf(DisplayWidth(NameOf(line)), shown,
                                      [&](const StoredEntry& entry) { return FieldOf(entry, line); }));
            const std::size_t least = std::min(shortName, isFirst(line) ? leastShortName : goodShortName);
            if (used + least + TextTable::gap + field <= room) {
                used += TextTable::gap + field;
                chosen.insert(line);
            }
        }
        return chosen;
    }

    const StoreReader& store_;
    std::vector<const StoredEntry*> entries_;
    std::set<int> fieldLines_;
};

void RenderEntries(std::vector<std::wstring>& lines, const Group& group, const StoreReader& store,
                   const TableSize& size) {
    // Entries of one kind usually share a folder and a mask; each pair found gets a table of its own.
    std::map<std::pair<std::wstring, int>, std::vector<const StoredEntry*>> places;
    for (const StoredEntry* entry : group.entries) {
        places[{entry->folder, entry->mask}].push_back(entry);
    }
    for (const auto& [place, entries] : places) {
        AppendWrapped(lines,
                      Counted(entries.size(), L"Eintrag", L"Einträge") + L" im Ordner " + place.first +
                          L", Maske " + Guillemets(store.MaskName(place.second)),
                      L"  ", L"    ", size.width);
        EntryTable(store, entries).RenderTo(lines, L"    ", size);
        const auto withoutDocument =
            std::ranges::count_if(entries, [](const StoredEntry* entry) { return !entry->hasDocument; });
        if (withoutDocument > 0) {
            lines.push_back(L"    ohne Dokument: " + Count(static_cast<std::size_t>(withoutDocument)));
        }
    }
}

std::wstring ListNumbers(const std::vector<const Outcome*>& outcomes) {
    std::vector<std::wstring> numbers;
    std::ranges::transform(outcomes, std::back_inserter(numbers),
                           [](const Outcome* outcome) { return NumberOf(*outcome); });
    if (numbers.size() > numbersListed) {
        numbers.resize(numbersListed);
        numbers.emplace_back(L"…");
    }
    return Listed(numbers);
}

std::wstring ReasonOf(const Outcome& outcome) {
    if (FAILED(outcome.code)) {
        return DescribeCode(outcome.code);
    }
    return outcome.boxes.empty() ? L"ohne Meldung" : L"Meldung " + Guillemets(outcome.boxes.back().text);
}

}  // namespace

std::vector<std::wstring> RenderYearTable(const ClientFile& client, const std::vector<Outcome>& outcomes,
                                          const StoreReader* store, double seconds, const TableSize& size) {
    const std::array<Group, 3> groups = Sort(client, outcomes, store);
    std::vector<std::wstring> lines;
    for (const Group& group : groups) {
        lines.push_back(group.name + L": " + Counted(group.saved, L"Beleg", L"Belege") + L" gespeichert");
        if (store) {
            RenderEntries(lines, group, *store, size);
        }
        if (!group.withoutBarcode.empty()) {
            AppendWrapped(lines,
                          Count(group.withoutBarcode.size()) + L" nicht abgelegt, weil kein Barcode: " +
                              ListNumbers(group.withoutBarcode),
                          L"  ", L"    ", size.width);
        }
        if (store && !group.missing.empty()) {
            lines.push_back(L"  " + Count(group.missing.size()) + L" mit Barcode, aber nicht im Archiv:");
            for (std::size_t at = 0; at < group.missing.size() && at < numbersListed; ++at) {
                AppendWrapped(lines, NumberOf(*group.missing[at]) + L": " + ReasonOf(*group.missing[at]),
                              L"    ", L"      ", size.width);
            }
            if (group.missing.size() > numbersListed) {
                lines.push_back(L"    … und " + Count(group.missing.size() - numbersListed) + L" weitere");
            }
        }
        lines.emplace_back();
    }

    TextTable table({L"Buchungsart", L"gespeichert", L"abgelegt", L"ohne Barcode", L"fehlt im Archiv"},
                    {1, 2, 3, 4});
    Group total;
    const auto addRow = [&](const Group& group, const std::wstring& name, std::size_t filed,
                            std::size_t without, std::size_t missing) {
        table.Add({name, Count(group.saved), store ? Count(filed) : L"?", Count(without),
                   store ? Count(missing) : L"?"});
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
    table.RenderTo(lines, L"", size.width);
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
    return std::ranges::all_of(outcomes, [&](const Outcome& outcome) {
        return outcome.kind != RequestKind::SaveDocument || outcome.barcode.empty() ||
               store.FindByFieldValue(outcome.docId) != nullptr;
    });
}

}  // namespace kandora::simulators
