#include "simulators/archive/EntryTable.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <set>

#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

std::wstring MaskTitle(const ArchiveStore& store, std::int32_t number) {
    const Mask* mask = store.Settings().FindMask(number);
    return mask != nullptr ? mask->name : L"Maske " + std::to_wstring(number);
}

}  // namespace

std::wstring ReadableTime(const std::wstring& stamp) {
    if (stamp.size() != 19 || stamp[4] != L'-' || stamp[7] != L'-' || stamp[10] != L'T') {
        return stamp;
    }
    return stamp.substr(8, 2) + L"." + stamp.substr(5, 2) + L"." + stamp.substr(0, 4) + L" " +
           stamp.substr(11, 5);
}

void EntryTable::Show(std::int32_t folder) {
    folder_ = folder;
    sortColumn_ = Number;
    descending_ = false;
    Refresh();
}

bool EntryTable::Refresh() {
    rows_.clear();
    std::set<std::int32_t> masks;
    if (const Folder* folder = store_.FindFolder(folder_)) {
        rows_ = folder->entries;  // ascending
        std::int32_t last = 0;
        for (const std::int32_t id : rows_) {
            const std::int32_t mask = store_.MaskOf(id);
            if (masks.empty() || mask != last) {
                masks.insert(mask);
                last = mask;
            }
        }
    }

    std::vector<std::wstring> columns{L"Nummer", L"Kurzbezeichnung", L"Maske", L"Abgelegt"};
    linesOfMask_.clear();
    for (const std::int32_t number : masks) {
        const Mask* mask = store_.Settings().FindMask(number);
        if (mask == nullptr) {
            continue;
        }
        for (const IndexField& field : mask->fields) {
            auto column = std::find(columns.begin() + FirstField, columns.end(), field.name);
            if (column == columns.end()) {
                column = columns.insert(columns.end(), field.name);
            }
            auto& lines = linesOfMask_[number];
            const std::size_t index = static_cast<std::size_t>(column - columns.begin()) - FirstField;
            lines.resize(std::max(lines.size(), index + 1));
            lines[index] = field.line;
        }
    }
    const bool areOthers = columns != columns_;
    columns_ = std::move(columns);
    if (sortColumn_ >= columns_.size()) {
        sortColumn_ = Number;
        descending_ = false;
    }
    Sort();
    return areOthers;
}

void EntryTable::SortBy(std::size_t column, bool descending) {
    sortColumn_ = column;
    descending_ = descending;
    Sort();
}

void EntryTable::Sort() {
    if (sortColumn_ == Number) {
        if (!std::ranges::is_sorted(rows_)) {
            std::ranges::sort(rows_);
        }
    } else {
        std::vector<std::pair<std::wstring, std::int32_t>> keyed;
        keyed.reserve(rows_.size());
        for (const std::int32_t id : rows_) {
            const Entry* entry = store_.FindEntry(id);
            // The stamp itself sorts by time, its readable form does not.
            keyed.emplace_back(entry == nullptr       ? std::wstring()
                               : sortColumn_ == Filed ? entry->filed
                                                      : CellOf(*entry, sortColumn_),
                               id);
        }
        std::ranges::sort(keyed, [](const auto& left, const auto& right) {
            const int order = StrCmpLogicalW(left.first.c_str(), right.first.c_str());
            return order != 0 ? order < 0 : left.second < right.second;
        });
        std::ranges::transform(keyed, rows_.begin(), [](const auto& item) { return item.second; });
    }
    if (descending_) {
        std::ranges::reverse(rows_);
    }
}

std::optional<std::size_t> EntryTable::RowOf(std::int32_t id) const {
    const auto found = std::ranges::find(rows_, id);
    return found == rows_.end() ? std::nullopt
                                : std::optional(static_cast<std::size_t>(found - rows_.begin()));
}

std::wstring EntryTable::Cell(std::size_t row, std::size_t column) const {
    const Entry* entry = row < rows_.size() ? store_.FindEntry(rows_[row]) : nullptr;
    return entry == nullptr ? std::wstring() : CellOf(*entry, column);
}

std::wstring EntryTable::CellOf(const Entry& entry, std::size_t column) const {
    switch (column) {
    case Number:
        return std::to_wstring(entry.id);
    case ShortName:
        return entry.shortName;
    case MaskName:
        return MaskTitle(store_, entry.mask);
    case Filed:
        return ReadableTime(entry.filed);
    default:
        break;
    }
    const auto lines = linesOfMask_.find(entry.mask);
    const std::size_t index = column - FirstField;
    if (lines == linesOfMask_.end() || index >= lines->second.size()) {
        return {};
    }
    const auto field = entry.fields.find(lines->second[index]);
    return field == entry.fields.end() ? std::wstring() : field->second;
}

std::optional<std::size_t> EntryTable::FindShortName(std::wstring_view beginning, std::size_t start) const {
    const std::wstring wanted = FoldCase(beginning);
    for (std::size_t step = 0; step < rows_.size(); ++step) {
        const std::size_t row = (start + step) % rows_.size();
        const Entry* entry = store_.FindEntry(rows_[row]);
        if (entry != nullptr && FoldCase(entry->shortName).starts_with(wanted)) {
            return row;
        }
    }
    return std::nullopt;
}

Details Describe(const ArchiveStore& store, std::int32_t id) {
    Details details;
    const std::wstring& archive = store.Settings().archives.front();
    if (const Entry* entry = store.FindEntry(id)) {
        details.emplace_back(L"Kurzbezeichnung", entry->shortName);
        details.emplace_back(L"Nummer", std::to_wstring(entry->id));
        details.emplace_back(L"Ordner", store.TreePath(entry->folder, archive, L" › "));
        details.emplace_back(L"Maske", MaskTitle(store, entry->mask));
        details.emplace_back(L"Abgelegt", ReadableTime(entry->filed));
        details.emplace_back(L"Dokument", entry->document);
        FieldValues rest = entry->fields;
        if (const Mask* mask = store.Settings().FindMask(entry->mask)) {
            for (const IndexField& field : mask->fields) {
                details.emplace_back(field.name, rest[field.line]);
                rest.erase(field.line);
            }
        }
        for (const auto& [line, value] : rest) {
            details.emplace_back(L"Zeile " + std::to_wstring(line), value);
        }
    } else if (const Folder* folder = store.FindFolder(id)) {
        const bool isRoot = id == rootId;
        details.emplace_back(isRoot ? L"Archiv" : L"Ordner", isRoot ? archive : folder->name);
        if (!isRoot) {
            details.emplace_back(L"Nummer", std::to_wstring(id));
            details.emplace_back(L"Pfad", store.TreePath(id, archive, L" › "));
        }
        details.emplace_back(L"Unterordner", std::to_wstring(folder->children.size()));
        details.emplace_back(L"Einträge", std::to_wstring(folder->entries.size()));
        if (isRoot) {
            details.emplace_back(L"Trennzeichen", store.Settings().separator);
            details.emplace_back(L"Verzeichnis", store.Directory());
        }
    }
    return details;
}

}  // namespace kandora::simulators
