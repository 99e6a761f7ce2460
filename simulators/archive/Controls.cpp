#include "simulators/archive/Controls.h"

#include <algorithm>

namespace kandora::simulators {

HWND CreateControl(HWND parent, int id, const wchar_t* className, const wchar_t* label, DWORD style,
                   DWORD extendedStyle) {
    return CreateWindowExW(extendedStyle, className, label, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                           nullptr);
}

HWND CreateList(HWND parent, int id, const wchar_t* label, DWORD style) {
    const HWND list = CreateControl(parent, id, WC_LISTVIEWW, label,
                                    WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS |
                                        LVS_SHAREIMAGELISTS | style,
                                    WS_EX_CLIENTEDGE);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP);
    return list;
}

ImageList SpacerOf(int height) {
    return ImageList(ImageList_Create(1, height, ILC_COLOR, 0, 0));
}

void AddColumn(HWND list, int index, std::wstring title, int width, int format) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
    column.fmt = format;
    column.iSubItem = index;
    column.pszText = title.data();
    column.cx = width;
    ListView_InsertColumn(list, index, &column);
}

int Width(const RECT& area) {
    return area.right - area.left;
}

int Height(const RECT& area) {
    return area.bottom - area.top;
}

void Place(HWND control, const RECT& area) {
    SetWindowPos(control, nullptr, area.left, area.top, std::max(0, Width(area)), std::max(0, Height(area)),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void CopyToBuffer(std::wstring_view text, wchar_t* buffer, int size) {
    if (buffer == nullptr || size < 1) {
        return;
    }
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = L'\0';
}

}  // namespace kandora::simulators
