#include "changes_table.h"

#include "report.h"
#include "text_table.h"

#include <map>
#include <set>

namespace simulators {
namespace {

constexpr std::size_t widestCell = 44;
constexpr std::size_t widestMessage = 110;

std::wstring PlaceOf(const StoredEntry& entry, const StoreReader& store) {
    return L"Eintrag " + std::to_wstring(entry.id) + L" im Ordner " + entry.folder + L", Maske " +
           Guillemets(store.MaskName(entry.mask));
}

std::wstring FieldOf(const StoredEntry* entry, int line) {
    if (entry == nullptr) {
        return {};
    }
    const auto found = entry->fields.find(line);
    return found == entry->fields.end() ? std::wstring() : Shortened(found->second, widestCell);
}

// The index fields of an entry that exists after the request; "*" marks those that it changed.
void RenderFields(std::vector<std::wstring>& lines, const EntryChange& change, const StoreReader& names) {
    const bool isNew = change.before == nullptr;
    TextTable table =
        isNew ? TextTable({L"Feld", L"Wert"}, {}) : TextTable({L" ", L"Feld", L"vorher", L"nachher"}, {});
    const auto add = [&](const std::wstring& name, const std::wstring& before, const std::wstring& after) {
        if (isNew) {
            table.Add({name, after});
        } else {
            table.Add({before == after ? L"" : L"*", name, before, after});
        }
    };
    const auto shortName = [](const StoredEntry* entry) {
        return entry != nullptr ? Shortened(entry->shortName, widestCell) : std::wstring();
    };
    add(L"Kurzbezeichnung", shortName(change.before), shortName(change.after));
    std::set<int> fieldLines;
    for (const StoredEntry* entry : {change.before, change.after}) {
        if (entry != nullptr) {
            for (const auto& field : entry->fields) {
                fieldLines.insert(field.first);
            }
        }
    }
    for (const int line : fieldLines) {
        add(names.FieldName(change.after->mask, line), FieldOf(change.before, line),
            FieldOf(change.after, line));
    }
    table.RenderTo(lines, L"      ");
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
                                       const StoreReader& after) {
    std::vector<std::wstring> lines;
    const std::wstring indent(4, L' ');
    std::wstring head = std::to_wstring(number) + L".";
    head.resize(indent.size(), L' ');
    for (const std::wstring& preparation : step.preparations) {
        lines.push_back((lines.empty() ? head : indent) + preparation);
    }
    const bool isWithoutBarcode =
        step.outcome.kind == RequestKind::DocumentChanged && step.outcome.barcode.empty();
    lines.push_back((lines.empty() ? head : indent) + DescribeOutcome(step.outcome) +
                    (isWithoutBarcode ? L" (ohne Barcode)" : L""));
    for (const AnsweredBox& box : step.outcome.boxes) {
        lines.push_back(indent + L"Fenster " + Guillemets(box.caption) + L": " +
                        Shortened(box.text, widestMessage));
    }
    const std::vector<EntryChange> changes = CompareStores(before, after);
    for (const EntryChange& change : changes) {
        const StoreReader& store = change.after != nullptr ? after : before;
        const StoredEntry& entry = change.after != nullptr ? *change.after : *change.before;
        lines.push_back(indent + PlaceOf(entry, store) + L": " + WordFor(change));
        if (change.after != nullptr) {
            RenderFields(lines, change, store);
        } else {
            lines.push_back(indent + L"  " + Guillemets(Shortened(entry.shortName, widestMessage)));
        }
    }
    if (changes.empty()) {
        const StoredEntry* entry =
            step.outcome.docId.empty() ? nullptr : after.FindByFieldValue(step.outcome.docId);
        lines.push_back(indent + (entry != nullptr ? PlaceOf(*entry, after) : L"Nicht im Archiv") +
                        L": unverändert");
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
    const auto count = [](std::size_t number, const wchar_t* one, const wchar_t* many) {
        return std::to_wstring(number) + L" " + (number == 1 ? one : many);
    };
    return count(totals.requests, L"Anfrage", L"Anfragen") + L": " +
           count(totals.filed, L"Eintrag", L"Einträge") + L" abgelegt, " + std::to_wstring(totals.changed) +
           L" geändert, " + std::to_wstring(totals.deleted) + L" gelöscht";
}

}  // namespace simulators
