#include "simulators/archive/DetailsPane.h"

#include <algorithm>

#include "simulators/archive/EntryTable.h"

namespace kandora::simulators {

namespace {

constexpr int nameWidth = 170;
constexpr int leastValueWidth = 120;

}  // namespace

void DetailsPane::Create(HWND parent, int id) {
    list_ = CreateList(parent, id, L"Angaben", LVS_NOSORTHEADER);
    AddColumn(list_, 0, L"Feld", 0);
    AddColumn(list_, 1, L"Wert", 0);
}

void DetailsPane::ShowColumns() {
    ListView_SetColumnWidth(list_, 0, resolution_.Pixels(nameWidth));
}

void DetailsPane::FitColumns(int width) {
    // Room for the scroll bar whether it shows or not, so that it never calls for a second one.
    const int value =
        width - resolution_.Pixels(nameWidth) - GetSystemMetrics(SM_CXVSCROLL) - resolution_.Pixels(6);
    ListView_SetColumnWidth(list_, 1, std::max(resolution_.Pixels(leastValueWidth), value));
}

void DetailsPane::Show(std::int32_t id) {
    if (id == shown_) {
        return;
    }
    shown_ = id;
    const PaintingPaused paused(list_);
    ListView_DeleteAllItems(list_);
    int index = 0;
    for (auto& [name, value] : Describe(store_, id)) {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = index;
        item.pszText = name.data();
        ListView_InsertItem(list_, &item);
        ListView_SetItemText(list_, index, 1, value.data());
        ++index;
    }
}

}  // namespace kandora::simulators
