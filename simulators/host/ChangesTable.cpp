#include "simulators/host/ChangesTable.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "simulators/host/RunReport.h"
#include "simulators/host/ScreenText.h"
#include "simulators/host/TextTable.h"

namespace kandora::simulators {

namespace {

constexpr std::size_t widestName = 30;

std::wstring PlaceOf(const StoredEntry& entry, const StoreReader& store) {
    return L"Eintrag " + std::to_wstring(entry.id) + L" im Ordner " + entry.folder + L", Maske " +
           Guillemets(store.MaskName(entry.mask));
}

/// What an entry holds in one place before and after a request; nothing where it holds nothing.
struct Row {
    std::wstring name;
    std::optional<std::wstring> before;
    std::optional<std::wstring> after;
};

/// Everything in which the entry can differ before and after the request, in whole values. What hardly ever
/// changes has a row only when it did change.
std::vector<Row> RowsOf(const EntryChange& change, const StoreReader& names) {
    const StoredEntry* before = change.before;
    const StoredEntry& after = *change.after;
    std::vector<Row> rows;
    const auto add = [&](const std::wstring& name, const auto& valueOf) {
        rows.push_back({name, before != nullptr ? valueOf(*before) : std::nullopt, valueOf(after)});
    };
    add(L"Kurzbezeichnung", [](const StoredEntry& entry) { return std::optional(entry.shortName); });
    std::set<int> fieldLines;
    for (const auto& field : after.fields) {
        fieldLines.insert(field.first);
    }
    if (before != nullptr) {
        for (const auto& field : before->fields) {
            fieldLines.insert(field.first);
        }
        if (before->folder != after.folder) {
            add(L"Ordner", [](const StoredEntry& entry) { return std::optional(entry.folder); });
        }
        if (before->mask != after.mask) {
            add(L"Maske", [&](const StoredEntry& entry) {
                return std::optional(std::to_wstring(entry.mask) + L" " + names.MaskName(entry.mask));
            });
        }
        if (before->hasDocument != after.hasDocument) {
            add(L"Dokument", [](const StoredEntry& entry) {
                return std::optional<std::wstring>(entry.hasDocument ? L"vorhanden" : L"fehlt");
            });
        }
    }
    for (const int line : fieldLines) {
        add(names.FieldName(after.mask, line), [&](const StoredEntry& entry) {
            const auto found = entry.fields.find(line);
            return found == entry.fields.end() ? std::nullopt : std::optional(found->second);
        });
    }
    return rows;
}

std::wstring Shown(const std::optional<std::wstring>& value) {
    return value.value_or(L"—");
}

void RenderNew(std::vector<std::wstring>& lines, const std::vector<Row>& rows, const std::wstring& indent,
               std::size_t width) {
    TextTable table({L"Feld", L"Wert"}, {});
    for (const Row& row : rows) {
        table.Add({row.name, Shown(row.after)});
    }
    table.RenderTo(lines, indent, width);
}

/// The values before and after the request side by side; "*" marks rows that it changed. A changed row that
/// is too long for that takes two lines, one for each value.
void RenderChanged(std::vector<std::wstring>& lines, const std::vector<Row>& rows, const std::wstring& indent,
                   std::size_t width) {
    const std::wstring beforeTitle = L"vorher";
    const std::wstring afterTitle = L"nachher";
    std::size_t nameWidth = DisplayWidth(L"  " + afterTitle);
    std::size_t beforeNeeds = DisplayWidth(beforeTitle);
    std::size_t afterNeeds = DisplayWidth(afterTitle);
    for (const Row& row : rows) {
        nameWidth = std::max(nameWidth, std::min(widestName, DisplayWidth(row.name)));
        beforeNeeds = std::max(beforeNeeds, DisplayWidth(Shown(row.before)));
        afterNeeds = std::max(afterNeeds, DisplayWidth(Shown(row.after)));
    }
    const std::size_t wholeRoom = width - indent.size() - 1 - nameWidth - 2 * TextTable::gap;
    const std::size_t sides = wholeRoom - TextTable::gap;
    // Each side gets at least half the room, and more if the other one leaves some.
    const std::size_t beforeRoom = std::max(sides / 2, sides - std::min(sides, afterNeeds));
    const std::size_t afterRoom = std::max(sides / 2, sides - std::min(sides, beforeNeeds));

    TextTable table({L" ", L"Feld", beforeTitle, afterTitle}, {});
    for (const Row& row : rows) {
        const std::wstring name = Shortened(row.name, widestName);
        const std::wstring before = Shown(row.before);
        const std::wstring after = Shown(row.after);
        if (row.before == row.after) {
            const std::wstring value = Shortened(after, std::min(beforeRoom, afterRoom));
            table.Add({L"", name, value, value});
        } else if (DisplayWidth(before) <= beforeRoom && DisplayWidth(after) <= afterRoom) {
            const auto [left, right] = CutAroundDifference(before, after, wholeRoom);
            table.Add({L"*", name, left, right});
        } else {
            const auto [upper, lower] = CutAroundDifference(before, after, wholeRoom);
            table.Add({L"*", name, L""});
            table.Add({L"", L"  " + beforeTitle, upper});
            table.Add({L"", L"  " + afterTitle, lower});
        }
    }
    table.RenderTo(lines, indent, width);
}

std::wstring WordFor(const EntryChange& change) {
    return change.before == nullptr ? L"abgelegt" : change.after == nullptr ? L"gelöscht" : L"geändert";
}

std::map<int, const StoredEntry*> ById(const StoreReader& store) {
    std::map<int, const StoredEntry*> entries;
    for (const StoredEntry& entry : store.Entries()) {
        entries[entry.id] = &entry;
    }
    return entries;
}

}  // namespace

std::vector<EntryChange> CompareStores(const StoreReader& before, const StoreReader& after) {
    std::map<int, EntryChange> pairs;
    for (const auto& [id, entry] : ById(before)) {
        pairs[id].before = entry;
    }
    for (const auto& [id, entry] : ById(after)) {
        pairs[id].after = entry;
    }
    std::vector<EntryChange> changes;
    for (const auto& [id, pair] : pairs) {
        if (pair.before == nullptr || pair.after == nullptr || *pair.before != *pair.after) {
            changes.push_back(pair);
        }
    }
    return changes;
}

std::vector<std::wstring> RenderChange(std::size_t number, const ChangeStep& step, const StoreReader& before,
                                       const StoreReader& after, std::size_t width) {
    std::vector<std::wstring> lines;
    const std::wstring indent(4, L' ');
    const std::wstring deeper = indent + L"  ";
    std::wstring head = std::to_wstring(number) + L".";
    head.resize(std::max(head.size() + 1, indent.size()), L' ');
    for (const std::wstring& preparation : step.preparations) {
        AppendWrapped(lines, preparation, lines.empty() ? head : indent, deeper, width);
    }
    const bool isWithoutBarcode =
        step.outcome.kind == RequestKind::DocumentChanged && step.outcome.barcode.empty();
    AppendWrapped(lines, DescribeOutcome(step.outcome) + (isWithoutBarcode ? L" (ohne Barcode)" : L""),
                  lines.empty() ? head : indent, deeper, width);
    for (const AnsweredBox& box : step.outcome.boxes) {
        AppendBox(lines, box, indent, width);
    }
    const std::vector<EntryChange> changes = CompareStores(before, after);
    for (const EntryChange& change : changes) {
        const StoreReader& store = change.after != nullptr ? after : before;
        const StoredEntry& entry = change.after != nullptr ? *change.after : *change.before;
        AppendWrapped(lines, PlaceOf(entry, store) + L": " + WordFor(change), indent, deeper, width);
        if (change.after == nullptr) {
            AppendWrapped(lines, Guillemets(entry.shortName), deeper, deeper, width);
        } else if (change.before == nullptr) {
            RenderNew(lines, RowsOf(change, store), deeper, width);
        } else {
            RenderChanged(lines, RowsOf(change, store), deeper, width);
        }
    }
    if (changes.empty()) {
        const StoredEntry* entry =
            step.outcome.docId.empty() ? nullptr : after.FindByFieldValue(step.outcome.docId);
        AppendWrapped(lines,
                      (entry != nullptr ? PlaceOf(*entry, after) : L"Nicht im Archiv") + L": unverändert",
                      indent, deeper, width);
    }
    return lines;
}

void ChangeTotals::Add(const std::vector<EntryChange>& changes) {
    ++requests;
    for (const EntryChange& change : changes) {
        ++(change.before == nullptr ? filed : change.after == nullptr ? deleted : changed);
    }
}

std::wstring RenderChangeTotals(const ChangeTotals& totals) {
    return Counted(totals.requests, L"Anfrage", L"Anfragen") + L": " +
           Counted(totals.filed, L"Eintrag", L"Einträge") + L" abgelegt, " + std::to_wstring(totals.changed) +
           L" geändert, " + std::to_wstring(totals.deleted) + L" gelöscht";
}

}  // namespace kandora::simulators
