#pragma once

#include <windows.h>

#include <commctrl.h>

#include <memory>
#include <string>
#include <string_view>

/// What the panes of the window are made with.
namespace kandora::simulators {

struct ImageListDeleter {
    using pointer = HIMAGELIST;
    void operator()(HIMAGELIST images) const noexcept { ImageList_Destroy(images); }
};
using ImageList = std::unique_ptr<HIMAGELIST, ImageListDeleter>;

struct FontDeleter {
    using pointer = HFONT;
    void operator()(HFONT font) const noexcept { DeleteObject(font); }
};
using Font = std::unique_ptr<HFONT, FontDeleter>;

/// Creates a visible control without a place yet.
HWND CreateControl(HWND parent, int id, const wchar_t* className, const wchar_t* label, DWORD style,
                   DWORD extendedStyle);
/// Creates a list of rows in columns.
HWND CreateList(HWND parent, int id, const wchar_t* label, DWORD style);
/// A list has no row height of its own; an empty picture of that height gives it one.
ImageList SpacerOf(int height);

/// Appends a column to a list. `width` is in pixels.
void AddColumn(HWND list, int index, std::wstring title, int width, int format = LVCFMT_LEFT);

int Width(const RECT& area);
int Height(const RECT& area);
void Place(HWND control, const RECT& area);

/// Copies as much of the text as the buffer takes, which may be null.
void CopyToBuffer(std::wstring_view text, wchar_t* buffer, int size);

/// Keeps a control from painting while it is filled.
class PaintingPaused {
public:
    explicit PaintingPaused(HWND control) : control_(control) {
        SendMessageW(control_, WM_SETREDRAW, FALSE, 0);
    }
    ~PaintingPaused() { SendMessageW(control_, WM_SETREDRAW, TRUE, 0); }
    PaintingPaused(const PaintingPaused&) = delete;
    PaintingPaused& operator=(const PaintingPaused&) = delete;

private:
    HWND control_;
};

}  // namespace kandora::simulators
