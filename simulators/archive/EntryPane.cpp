#include "simulators/archive/EntryPane.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kandora::simulators {

namespace {

/// Widths of the columns that every folder has, at the usual resolution; index fields share one.
constexpr std::array<int, EntryTable::FirstField> fixedWidths{84, 230, 90, 125};
constexpr int fieldWidth = 110;

}  // namespace

void EntryPane::Create(HWND parent, int id) {
    list_ = CreateList(parent, id, L"Einträge", LVS_OWNERDATA);
}

void EntryPane::Show(std::int32_t folder) {
    SelectNone();
    table_.Show(folder);
    ShowColumns();
    ShowRows();
    if (table_.RowCount() > 0) {
        ListView_EnsureVisible(list_, 0, FALSE);
    }
}

void EntryPane::ShowChanges() {
    const auto selected = SelectedRow();
    const auto id = SelectedId();
    if (table_.Refresh()) {
        ShowColumns();
    }
    ShowRows();
    const auto row = id ? table_.RowOf(*id) : std::nullopt;
    if (!row) {
        SelectNone();
    } else if (row != selected) {
        SelectRow(*row);
    }
}

void EntryPane::ShowColumns() {
    {
        const PaintingPaused paused(list_);
        while (ListView_DeleteColumn(list_, 0) != FALSE) {
        }
        const auto& columns = table_.Columns();
        for (std::size_t index = 0; index < columns.size(); ++index) {
            const int width = index < fixedWidths.size() ? fixedWidths.at(index) : fieldWidth;
            AddColumn(list_, static_cast<int>(index), columns[index], resolution_.Pixels(width),
                      columns[index] == L"Betrag" ? LVCFMT_RIGHT : LVCFMT_LEFT);
        }
    }
    ShowSortArrow();
}

void EntryPane::ShowSortArrow() {
    const HWND header = ListView_GetHeader(list_);
    for (std::size_t index = 0; index < table_.Columns().size(); ++index) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        Header_GetItem(header, static_cast<int>(index), &item);
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (index == table_.SortColumn()) {
            item.fmt |= table_.IsDescending() ? HDF_SORTDOWN : HDF_SORTUP;
        }
        Header_SetItem(header, static_cast<int>(index), &item);
    }
}

void EntryPane::ShowRows() {
    ListView_SetItemCountEx(list_, static_cast<int>(table_.RowCount()), LVSICF_NOSCROLL);
    InvalidateRect(list_, nullptr, FALSE);
}

void EntryPane::SortBy(std::size_t column) {
    const auto id = SelectedId();
    table_.SortBy(column, column == table_.SortColumn() && !table_.IsDescending());
    ShowSortArrow();
    ShowRows();
    if (id) {
        Select(*id);
    }
}

void EntryPane::Select(std::int32_t id) {
    if (const auto row = table_.RowOf(id)) {
        SelectRow(*row);
    }
}

std::optional<std::int32_t> EntryPane::SelectedId() const {
    const auto row = SelectedRow();
    return row ? std::optional(table_.IdAt(*row)) : std::nullopt;
}

void EntryPane::SelectNone() {
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
}

void EntryPane::SelectRow(std::size_t row) {
    const int index = static_cast<int>(row);
    SelectNone();
    ListView_SetItemState(list_, index, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_EnsureVisible(list_, index, FALSE);
}

std::optional<std::size_t> EntryPane::SelectedRow() const {
    const int row = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
    return row < 0 || static_cast<std::size_t>(row) >= table_.RowCount()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(row));
}

void EntryPane::GiveText(const LVITEMW& item) const {
    if ((item.mask & LVIF_TEXT) != 0) {
        CopyToBuffer(
            table_.Cell(static_cast<std::size_t>(item.iItem), static_cast<std::size_t>(item.iSubItem)),
            item.pszText, item.cchTextMax);
    }
}

LRESULT EntryPane::Find(const NMLVFINDITEMW& wanted) const {
    if ((wanted.lvfi.flags & LVFI_STRING) == 0 || wanted.lvfi.psz == nullptr) {
        return -1;
    }
    const auto row =
        table_.FindShortName(wanted.lvfi.psz, static_cast<std::size_t>(std::max(0, wanted.iStart)));
    return row ? static_cast<LRESULT>(*row) : -1;
}

}  // namespace kandora::simulators
