#include "simulators/archive/Window.h"

#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <cstdio>

#include "simulators/archive/WindowResources.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Output.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr UINT_PTR changeTimer = 1;
constexpr UINT_PTR closeTimer = 2;
/// Milliseconds for which changes are gathered before they are shown, and how many times as long as the last
/// showing took, so that a large folder costs the clients a fraction of the time and no more.
constexpr ULONGLONG changeDelay = 100;
constexpr ULONGLONG changeDelayFactor = 10;
constexpr ULONGLONG longestChangeDelay = 3000;

constexpr int treeId = 1;
constexpr int listId = 2;
constexpr int detailsId = 3;
constexpr int statusId = 4;

constexpr int folderImage = 0;
constexpr int openFolderImage = 1;

/// The functions of newer systems that know a window's own resolution; older ones have one for the whole
/// screen.
template <class Function>
Function UserFunction(const char* name) {
    const HMODULE user = GetModuleHandleW(L"user32.dll");
    return user == nullptr ? nullptr
                           : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(user, name)));
}

UINT DpiOf(HWND window) {
    static const auto function = UserFunction<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
    if (function != nullptr) {
        if (const UINT dpi = function(window); dpi != 0) {
            return dpi;
        }
    }
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return static_cast<UINT>(dpi);
}

HFONT MessageFont(UINT dpi) {
    static const auto function =
        UserFunction<BOOL(WINAPI*)(UINT, UINT, PVOID, UINT, UINT)>("SystemParametersInfoForDpi");
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    if (function == nullptr ||
        function(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0, dpi) == FALSE) {
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    }
    return CreateFontIndirectW(&metrics.lfMessageFont);
}

/// German thousands: 12'345, as Switzerland writes them.
std::wstring Counted(std::size_t count, std::wstring_view one, std::wstring_view many) {
    std::wstring digits = std::to_wstring(count);
    for (std::size_t place = digits.size(); place > 3; place -= 3) {
        digits.insert(place - 3, 1, L'\'');
    }
    return digits + L" " + std::wstring(count == 1 ? one : many);
}

void CopyToBuffer(const std::wstring& text, wchar_t* buffer, int size) {
    if (buffer == nullptr || size < 1) {
        return;
    }
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = L'\0';
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

/// Adds a picture of a folder to the list, drawn in the size asked for so that it is sharp at every
/// resolution.
void AddFolderImage(HIMAGELIST images, int size, bool isOpen) {
    constexpr COLORREF transparent = RGB(255, 0, 255);
    const HDC screen = GetDC(nullptr);
    const HDC device = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, size, size);
    const HGDIOBJ oldBitmap = SelectObject(device, bitmap);
    const HBRUSH background = CreateSolidBrush(transparent);
    const RECT everything{0, 0, size, size};
    FillRect(device, &everything, background);
    DeleteObject(background);

    // Coordinates in sixteenths of the size.
    const auto draw = [&](std::initializer_list<POINT> outline, COLORREF inside) {
        std::vector<POINT> points;
        for (const POINT& point : outline) {
            points.push_back({MulDiv(point.x, size, 16), MulDiv(point.y, size, 16)});
        }
        const HBRUSH brush = CreateSolidBrush(inside);
        const HPEN pen = CreatePen(PS_SOLID, std::max(1, size / 24), RGB(176, 128, 32));
        const HGDIOBJ oldBrush = SelectObject(device, brush);
        const HGDIOBJ oldPen = SelectObject(device, pen);
        Polygon(device, points.data(), static_cast<int>(points.size()));
        SelectObject(device, oldBrush);
        SelectObject(device, oldPen);
        DeleteObject(brush);
        DeleteObject(pen);
    };
    draw({{1, 3}, {6, 3}, {8, 5}, {14, 5}, {14, 13}, {1, 13}}, RGB(245, 200, 96));
    if (isOpen) {
        draw({{1, 13}, {4, 7}, {15, 7}, {13, 13}}, RGB(255, 226, 150));
    } else {
        draw({{1, 6}, {14, 6}, {14, 13}, {1, 13}}, RGB(255, 217, 122));
    }

    SelectObject(device, oldBitmap);
    ImageList_AddMasked(images, bitmap, transparent);
    DeleteObject(bitmap);
    DeleteDC(device);
    ReleaseDC(nullptr, screen);
}

}  // namespace

ArchiveWindow::ArchiveWindow(ArchiveStore& store, Appearance appearance)
    : store_(store), table_(store), isConcealed_(appearance == Appearance::Concealed) {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    INITCOMMONCONTROLSEX controls{};
    controls.dwSize = sizeof(controls);
    controls.dwICC = ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES;
    InitCommonControlsEx(&controls);

    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &ArchiveWindow::Procedure;
    description.hInstance = instance;
    description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    description.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    description.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    description.lpszClassName = className;
    description.lpszMenuName = MAKEINTRESOURCEW(IDR_MENU);
    RegisterClassExW(&description);  // fails harmlessly for a second window of the process

    const std::wstring caption = L"Archiv-Simulator – " + store.Settings().archives.front();
    window_ =
        CreateWindowExW(0, className, caption.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance, this);
    if (window_ == nullptr) {
        throw Failure(L"Das Fenster kann nicht erstellt werden: " + SystemMessage(GetLastError()));
    }
    SetWindowPos(window_, nullptr, 0, 0, Scaled(1040), Scaled(680),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    store_.SetListener([this](ArchiveStore::Change change, std::int32_t id, std::int32_t folder) {
        OnChange(change, id, folder);
    });
    FillTree();
    if (!store.Warnings().empty()) {
        notice_ = store.Warnings().front();
        if (store.Warnings().size() > 1) {
            notice_ += L" (und " + std::to_wstring(store.Warnings().size() - 1) + L" weitere Hinweise)";
        }
    }
    shownWarnings_ = store.Warnings().size();
    ShowStatus();
    if (appearance == Appearance::Normal) {
        ShowWindow(window_, SW_SHOWNORMAL);
        SetFocus(tree_);
    } else if (appearance == Appearance::Minimized) {
        ShowWindow(window_, SW_SHOWMINNOACTIVE);
    }
}

ArchiveWindow::~ArchiveWindow() {
    store_.SetListener(nullptr);
    if (window_ != nullptr) {
        DestroyWindow(window_);
    }
    if (images_ != nullptr) {
        ImageList_Destroy(images_);
    }
    if (spacer_ != nullptr) {
        ImageList_Destroy(spacer_);
    }
    if (font_ != nullptr) {
        DeleteObject(font_);
    }
}

// --- What automation asks for ---

bool ArchiveWindow::IsInUse() const noexcept {
    return !isConcealed_ && IsWindowVisible(window_) != FALSE && IsIconic(window_) == FALSE;
}

void ArchiveWindow::BringToFront() {
    if (isConcealed_) {
        return;
    }
    // A program in the background may not take the foreground; being topmost for a moment brings it into
    // view.
    constexpr UINT keep = SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE;
    SetWindowPos(window_, HWND_TOPMOST, 0, 0, 0, 0, keep);
    SetWindowPos(window_, HWND_NOTOPMOST, 0, 0, 0, 0, keep);
    SetForegroundWindow(window_);
}

void ArchiveWindow::Minimize() {
    if (!isConcealed_) {
        ShowWindow(window_, SW_SHOWMINNOACTIVE);
    }
}

void ArchiveWindow::Restore() {
    if (!isConcealed_) {
        ShowWindow(window_, IsIconic(window_) != FALSE ? SW_RESTORE : SW_SHOW);
    }
}

void ArchiveWindow::Select(std::int32_t id) {
    ApplyChanges();
    const Entry* entry = store_.FindEntry(id);
    const auto item = items_.find(entry != nullptr ? entry->folder : id);
    if (item == items_.end()) {
        return;
    }
    TreeView_SelectItem(tree_, item->second);
    TreeView_EnsureVisible(tree_, item->second);
    if (entry != nullptr) {
        if (const auto row = table_.RowOf(id)) {
            SelectRow(*row);
        }
    }
    ShowDetails();
}

void ArchiveWindow::Refresh() {
    isEntryChangePending_ = true;
    ApplyChanges();
}

void ArchiveWindow::Notice(std::wstring_view text) {
    notice_ = text;
    ShowStatus();
    if (isConcealed_) {
        PrintErrorLine(text);
    }
}

void ArchiveWindow::SessionsChanged() {
    ShowStatus();
}

/// COM sends the answer from a thread of its own when the call is done, and does not wait for that when the
/// program leaves it. A client that lets go has heard the answer; one that holds on is given turns of this
/// thread instead of time: on a busy machine, both threads are slow.
void ArchiveWindow::Close() {
    constexpr UINT milliseconds = 10;
    turnsToClose_ = 100;
    SetTimer(window_, closeTimer, milliseconds, nullptr);
}

void ArchiveWindow::CloseWhenAnswered() {
    if (DispatchObject::LiveObjects() == 0 || --turnsToClose_ == 0) {
        KillTimer(window_, closeTimer);
        PostMessageW(window_, WM_CLOSE, 0, 0);
    }
}

void ArchiveWindow::Die() {
    if (beforeDeath_) {
        beforeDeath_();
    }
    for (;;) {
        TerminateProcess(GetCurrentProcess(), 3);
    }
}

// --- Messages ---

LRESULT CALLBACK ArchiveWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto* self = static_cast<ArchiveWindow*>(creation->lpCreateParams);
        self->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<ArchiveWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) {
        return DefWindowProcW(window, message, wParam, lParam);
    }
    try {
        return self->Handle(message, wParam, lParam);
    } catch (const std::exception& error) {
        PrintErrorLine(FromUtf8(error.what()));
        return 0;
    }
}

LRESULT ArchiveWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        dpi_ = DpiOf(window_);
        CreateControls();
        ApplyFontAndSizes();
        return 0;
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            Layout();
        }
        return 0;
    case WM_GETMINMAXINFO: {
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        limits->ptMinTrackSize = {Scaled(520), Scaled(360)};
        return 0;
    }
    case WM_DPICHANGED: {
        dpi_ = HIWORD(wParam);
        const auto* area = reinterpret_cast<const RECT*>(lParam);
        Place(window_, *area);
        ApplyFontAndSizes();
        Layout();
        return 0;
    }
    case WM_SETFOCUS:
        SetFocus(tree_);
        return 0;
    case WM_COMMAND:
        return HandleCommand(LOWORD(wParam));
    case WM_NOTIFY:
        return HandleNotification(*reinterpret_cast<NMHDR*>(lParam));
    case WM_TIMER:
        if (wParam == changeTimer) {
            ApplyChanges();
        } else if (wParam == closeTimer) {
            CloseWhenAnswered();
        }
        return 0;
    case WM_SETCURSOR: {
        POINT position{};
        GetCursorPos(&position);
        ScreenToClient(window_, &position);
        const Drag splitter = LOWORD(lParam) == HTCLIENT ? SplitterAt(position) : Drag::None;
        if (splitter == Drag::None) {
            break;
        }
        SetCursor(LoadCursorW(nullptr, splitter == Drag::Vertical ? IDC_SIZEWE : IDC_SIZENS));
        return TRUE;
    }
    case WM_LBUTTONDOWN:
        drag_ = SplitterAt({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (drag_ != Drag::None) {
            SetCapture(window_);
        }
        return 0;
    case WM_MOUSEMOVE:
        if (drag_ != Drag::None) {
            MoveSplitter({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        }
        return 0;
    case WM_LBUTTONUP:
        ReleaseCapture();
        return 0;
    case WM_CAPTURECHANGED:
        drag_ = Drag::None;
        return 0;
    case WM_CLOSE:
        PostQuitMessage(0);
        return 0;
    case WM_NCDESTROY:
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        break;
    default:
        break;
    }
    return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT ArchiveWindow::HandleCommand(int command) {
    switch (command) {
    case IDM_OPEN:
        OpenDocument();
        break;
    case IDM_CLOSE:
        PostMessageW(window_, WM_CLOSE, 0, 0);
        break;
    case IDM_REFRESH:
        Refresh();
        break;
    case IDM_NEXT_PANE:
        FocusNextPane(false);
        break;
    case IDM_PREVIOUS_PANE:
        FocusNextPane(true);
        break;
    default:
        break;
    }
    return 0;
}

LRESULT ArchiveWindow::HandleNotification(NMHDR& notification) {
    switch (notification.code) {
    case TVN_GETDISPINFOW: {
        const TVITEMW& item = reinterpret_cast<NMTVDISPINFOW&>(notification).item;
        if ((item.mask & TVIF_TEXT) != 0) {
            CopyToBuffer(TreeText(static_cast<std::int32_t>(item.lParam)), item.pszText, item.cchTextMax);
        }
        return 0;
    }
    case TVN_SELCHANGEDW:
        ShowFolder(static_cast<std::int32_t>(reinterpret_cast<NMTREEVIEWW&>(notification).itemNew.lParam));
        return 0;
    case LVN_GETDISPINFOW: {
        if (notification.idFrom == listId) {
            const LVITEMW& item = reinterpret_cast<NMLVDISPINFOW&>(notification).item;
            if ((item.mask & LVIF_TEXT) != 0) {
                CopyToBuffer(table_.Cell(static_cast<std::size_t>(item.iItem),
                                         static_cast<std::size_t>(item.iSubItem)),
                             item.pszText, item.cchTextMax);
            }
        }
        return 0;
    }
    case LVN_ODFINDITEMW: {
        const auto& wanted = reinterpret_cast<const NMLVFINDITEMW&>(notification);
        if ((wanted.lvfi.flags & LVFI_STRING) == 0 || wanted.lvfi.psz == nullptr) {
            return -1;
        }
        const auto row =
            table_.FindShortName(wanted.lvfi.psz, static_cast<std::size_t>(std::max(0, wanted.iStart)));
        return row ? static_cast<LRESULT>(*row) : -1;
    }
    case LVN_ITEMCHANGED:
    case LVN_ODSTATECHANGED:
        if (notification.idFrom == listId) {
            ShowDetails();
        }
        return 0;
    case LVN_COLUMNCLICK:
        if (notification.idFrom == listId) {
            SortByColumn(static_cast<std::size_t>(reinterpret_cast<NMLISTVIEW&>(notification).iSubItem));
        }
        return 0;
    case NM_DBLCLK:
    case NM_RETURN:
        if (notification.idFrom == listId) {
            OpenDocument();
        }
        return 0;
    default:
        return 0;
    }
}

bool ArchiveWindow::HandleKeys(MSG& message) {
    static const HACCEL accelerators =
        LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_ACCELERATORS));
    const bool isOurs = message.hwnd == window_ || IsChild(window_, message.hwnd) != FALSE;
    return isOurs && TranslateAcceleratorW(window_, accelerators, &message) != 0;
}

void ArchiveWindow::FocusNextPane(bool backwards) {
    const std::array<HWND, 3> panes{tree_, list_, details_};
    const auto* const current = std::ranges::find(panes, GetFocus());
    const std::size_t index = current == panes.end() ? 0 : static_cast<std::size_t>(current - panes.begin());
    SetFocus(panes[(index + (backwards ? 2 : 1)) % panes.size()]);
}

// --- Layout ---

void ArchiveWindow::CreateControls() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    const auto create = [&](const wchar_t* name, const wchar_t* label, DWORD style, DWORD extended, int id) {
        return CreateWindowExW(extended, name, label, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window_,
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), instance, nullptr);
    };
    tree_ = create(WC_TREEVIEWW, L"Ordner",
                   WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                   WS_EX_CLIENTEDGE, treeId);
    list_ = create(WC_LISTVIEWW, L"Einträge",
                   WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SINGLESEL | LVS_SHOWSELALWAYS,
                   WS_EX_CLIENTEDGE, listId);
    details_ = create(WC_LISTVIEWW, L"Angaben",
                      WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER,
                      WS_EX_CLIENTEDGE, detailsId);
    status_ = create(STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, 0, statusId);
    constexpr DWORD looks = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
    ListView_SetExtendedListViewStyle(list_, looks);
    ListView_SetExtendedListViewStyle(details_, looks);

    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    wchar_t field[] = L"Feld";
    column.pszText = field;
    ListView_InsertColumn(details_, 0, &column);
    wchar_t value[] = L"Wert";
    column.pszText = value;
    ListView_InsertColumn(details_, 1, &column);
}

void ArchiveWindow::ApplyFontAndSizes() {
    const HFONT old = font_;
    font_ = MessageFont(dpi_);
    for (const HWND control : {tree_, list_, details_, status_}) {
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
    }
    if (old != nullptr) {
        DeleteObject(old);
    }

    const int size = Scaled(16);
    if (images_ != nullptr) {
        ImageList_Destroy(images_);
    }
    images_ = ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, 2, 0);
    AddFolderImage(images_, size, false);
    AddFolderImage(images_, size, true);
    TreeView_SetImageList(tree_, images_, TVSIL_NORMAL);
    // A list has no row height of its own; an empty picture of that height gives it one.
    if (spacer_ != nullptr) {
        ImageList_Destroy(spacer_);
    }
    spacer_ = ImageList_Create(1, Scaled(19), ILC_COLOR, 0, 0);
    ListView_SetImageList(list_, spacer_, LVSIL_SMALL);
    ListView_SetImageList(details_, spacer_, LVSIL_SMALL);
    TreeView_SetItemHeight(tree_, static_cast<SHORT>(Scaled(22)));
    ListView_SetColumnWidth(details_, 0, Scaled(170));
    ShowColumns();
}

ArchiveWindow::Area ArchiveWindow::Divide() const {
    RECT client{};
    GetClientRect(window_, &client);
    RECT bar{};
    GetWindowRect(status_, &bar);
    const int margin = Scaled(6);
    const int gap = Scaled(6);
    const int bottom = std::max(margin, static_cast<int>(client.bottom) - Height(bar) - margin);
    const int right = std::max(margin, static_cast<int>(client.right) - margin);
    const int middle = margin + static_cast<int>((right - margin) * treeShare_);
    const int divide = margin + static_cast<int>((bottom - margin) * listShare_);
    Area area{};
    area.tree = {margin, margin, middle, bottom};
    area.verticalSplitter = {middle, margin, middle + gap, bottom};
    area.list = {middle + gap, margin, right, divide};
    area.horizontalSplitter = {middle + gap, divide, right, divide + gap};
    area.details = {middle + gap, divide + gap, right, bottom};
    return area;
}

void ArchiveWindow::Layout() {
    SendMessageW(status_, WM_SIZE, 0, 0);
    const Area area = Divide();
    Place(tree_, area.tree);
    Place(list_, area.list);
    Place(details_, area.details);
    // Room for the scroll bar whether it shows or not, so that it never calls for a second one.
    const int value = Width(area.details) - Scaled(170) - GetSystemMetrics(SM_CXVSCROLL) - Scaled(6);
    ListView_SetColumnWidth(details_, 1, std::max(Scaled(120), value));

    std::array<int, 5> edges{Scaled(110), Scaled(280), Scaled(440), Scaled(570), -1};
    SendMessageW(status_, SB_SETPARTS, edges.size(), reinterpret_cast<LPARAM>(edges.data()));
    ShowStatus();
}

ArchiveWindow::Drag ArchiveWindow::SplitterAt(POINT position) const {
    const Area area = Divide();
    if (PtInRect(&area.verticalSplitter, position) != FALSE) {
        return Drag::Vertical;
    }
    return PtInRect(&area.horizontalSplitter, position) != FALSE ? Drag::Horizontal : Drag::None;
}

void ArchiveWindow::MoveSplitter(POINT position) {
    const Area area = Divide();
    const auto share = [](LONG value, LONG from, LONG to) {
        const double part = static_cast<double>(value - from) / static_cast<double>(std::max(1L, to - from));
        return std::clamp(part, 0.1, 0.85);
    };
    if (drag_ == Drag::Vertical) {
        treeShare_ = share(position.x, area.tree.left, area.list.right);
    } else {
        listShare_ = share(position.y, area.list.top, area.details.bottom);
    }
    Layout();
}

// --- Tree ---

std::wstring ArchiveWindow::TreeText(std::int32_t folder) const {
    const Folder* found = store_.FindFolder(folder);
    if (found == nullptr) {
        return {};
    }
    if (folder == rootId) {
        return store_.Settings().archives.front();
    }
    return found->entries.empty() ? found->name
                                  : found->name + L"  (" + std::to_wstring(found->entries.size()) + L")";
}

HTREEITEM ArchiveWindow::AddTreeItem(std::int32_t folder, HTREEITEM parent, HTREEITEM after) {
    TVINSERTSTRUCTW insert{};
    insert.hParent = parent;
    insert.hInsertAfter = after;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
    insert.item.pszText = LPSTR_TEXTCALLBACKW;
    insert.item.lParam = folder;
    insert.item.iImage = folderImage;
    insert.item.iSelectedImage = openFolderImage;
    auto* const item = TreeView_InsertItem(tree_, &insert);
    items_[folder] = item;
    for (const std::int32_t child : store_.FindFolder(folder)->children) {
        AddTreeItem(child, item, TVI_LAST);
    }
    return item;
}

void ArchiveWindow::FillTree() {
    SendMessageW(tree_, WM_SETREDRAW, FALSE, 0);
    const HTREEITEM root = AddTreeItem(rootId, TVI_ROOT, TVI_LAST);
    TreeView_Expand(tree_, root, TVE_EXPAND);
    SendMessageW(tree_, WM_SETREDRAW, TRUE, 0);
    // Somebody who opens the window wants to see entries.
    const auto hasEntries = [this](const auto& item) {
        return !store_.FindFolder(item.first)->entries.empty();
    };
    const auto first = std::ranges::find_if(items_, hasEntries);
    TreeView_SelectItem(tree_, first == items_.end() ? root : first->second);
}

void ArchiveWindow::AddMissingTreeItem(std::int32_t folder) {
    const Folder* found = store_.FindFolder(folder);
    if (found == nullptr || items_.contains(folder)) {
        return;
    }
    AddMissingTreeItem(found->parent);
    if (items_.contains(folder)) {
        return;  // came along with its parent
    }
    const auto& siblings = store_.FindFolder(found->parent)->children;
    HTREEITEM after = TVI_FIRST;
    for (const std::int32_t sibling : siblings) {
        if (sibling == folder) {
            break;
        }
        if (const auto item = items_.find(sibling); item != items_.end()) {
            after = item->second;
        }
    }
    const HTREEITEM parent = items_.at(found->parent);
    AddTreeItem(folder, parent, after);
    if (found->parent == rootId) {
        TreeView_Expand(tree_, parent, TVE_EXPAND);
    }
}

// --- Changes ---

void ArchiveWindow::OnChange(ArchiveStore::Change change, std::int32_t id, std::int32_t folder) {
    switch (change) {
    case ArchiveStore::Change::FolderAdded:
        addedFolders_.insert(id);
        break;
    case ArchiveStore::Change::FolderRemoved:
        addedFolders_.erase(id);
        removedFolders_.insert(id);
        break;
    case ArchiveStore::Change::EntryAdded:
    case ArchiveStore::Change::EntryChanged:
    case ArchiveStore::Change::EntryRemoved:
        isEntryChangePending_ = isEntryChangePending_ || folder == table_.FolderId();
        break;
    }
    if (!isRefreshPending_) {
        isRefreshPending_ = true;
        const ULONGLONG delay = std::clamp(lastShowing_ * changeDelayFactor, changeDelay, longestChangeDelay);
        SetTimer(window_, changeTimer, static_cast<UINT>(delay), nullptr);
    }
}

void ArchiveWindow::ApplyChanges() {
    const ULONGLONG start = GetTickCount64();
    KillTimer(window_, changeTimer);
    isRefreshPending_ = false;
    store_.TakeOverEdits();
    for (const std::int32_t folder : std::exchange(removedFolders_, {})) {
        if (const auto item = items_.find(folder); item != items_.end()) {
            TreeView_DeleteItem(tree_, item->second);
            items_.erase(item);
        }
    }
    for (const std::int32_t folder : std::exchange(addedFolders_, {})) {
        AddMissingTreeItem(folder);
    }
    InvalidateRect(tree_, nullptr, FALSE);
    if (std::exchange(isEntryChangePending_, false)) {
        const auto selected = SelectedRow();
        const std::int32_t selectedId = selected ? table_.IdAt(*selected) : 0;
        if (table_.Refresh()) {
            ShowColumns();
        }
        ShowRows();
        const auto row = selectedId == 0 ? std::nullopt : table_.RowOf(selectedId);
        if (!row) {
            ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
        } else if (!selected || *row != *selected) {
            SelectRow(*row);
        }
    }
    detailsOf_ = 0;
    ShowDetails();
    ShowNewWarnings();
    ShowStatus();
    UpdateWindow(list_);  // painting counts, too
    lastShowing_ = GetTickCount64() - start;
}

// --- List and details ---

void ArchiveWindow::ShowFolder(std::int32_t folder) {
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    table_.Show(folder);
    isEntryChangePending_ = false;
    ShowColumns();
    ShowRows();
    if (table_.RowCount() > 0) {
        ListView_EnsureVisible(list_, 0, FALSE);
    }
    detailsOf_ = 0;
    ShowDetails();
    ShowStatus();
}

void ArchiveWindow::ShowColumns() {
    SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    while (ListView_DeleteColumn(list_, 0) != FALSE) {
    }
    const auto& columns = table_.Columns();
    for (std::size_t index = 0; index < columns.size(); ++index) {
        std::wstring title = columns[index];
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
        column.fmt = title == L"Betrag" ? LVCFMT_RIGHT : LVCFMT_LEFT;
        column.iSubItem = static_cast<int>(index);
        column.pszText = title.data();
        switch (index) {
        case EntryTable::Number:
            column.cx = Scaled(84);
            break;
        case EntryTable::ShortName:
            column.cx = Scaled(230);
            break;
        case EntryTable::MaskName:
            column.cx = Scaled(90);
            break;
        case EntryTable::Filed:
            column.cx = Scaled(125);
            break;
        default:
            column.cx = Scaled(110);
            break;
        }
        ListView_InsertColumn(list_, static_cast<int>(index), &column);
    }
    SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    ShowSortArrow();
}

void ArchiveWindow::ShowSortArrow() {
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

void ArchiveWindow::ShowRows() {
    ListView_SetItemCountEx(list_, static_cast<int>(table_.RowCount()), LVSICF_NOSCROLL);
    InvalidateRect(list_, nullptr, FALSE);
}

void ArchiveWindow::SortByColumn(std::size_t column) {
    const auto selected = SelectedRow();
    const std::int32_t id = selected ? table_.IdAt(*selected) : 0;
    table_.SortBy(column, column == table_.SortColumn() && !table_.IsDescending());
    ShowSortArrow();
    ShowRows();
    if (const auto row = id == 0 ? std::nullopt : table_.RowOf(id)) {
        SelectRow(*row);
    }
}

void ArchiveWindow::SelectRow(std::size_t row) {
    const int index = static_cast<int>(row);
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_SetItemState(list_, index, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    ListView_EnsureVisible(list_, index, FALSE);
}

std::optional<std::size_t> ArchiveWindow::SelectedRow() const {
    const int row = ListView_GetNextItem(list_, -1, LVNI_SELECTED);
    return row < 0 || static_cast<std::size_t>(row) >= table_.RowCount()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(row));
}

void ArchiveWindow::ShowDetails() {
    const auto row = SelectedRow();
    const std::int32_t id = row ? table_.IdAt(*row) : table_.FolderId();
    if (id == detailsOf_) {
        return;
    }
    detailsOf_ = id;
    SendMessageW(details_, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(details_);
    int index = 0;
    for (auto& [name, value] : Describe(store_, id)) {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = index;
        item.pszText = name.data();
        ListView_InsertItem(details_, &item);
        ListView_SetItemText(details_, index, 1, value.data());
        ++index;
    }
    SendMessageW(details_, WM_SETREDRAW, TRUE, 0);
}

void ArchiveWindow::ShowStatus() {
    const std::array<std::wstring, 5> texts{
        Counted(store_.FolderCount(), L"Ordner", L"Ordner"),
        Counted(store_.EntryCount(), L"Eintrag", L"Einträge") + L" im Archiv",
        Counted(store_.PostboxCount(), L"Dokument", L"Dokumente") + L" im Postkorb",
        program_ == nullptr ? std::wstring() : Counted(program_->sessions, L"Anmeldung", L"Anmeldungen"),
        notice_,
    };
    for (std::size_t part = 0; part < texts.size(); ++part) {
        SendMessageW(status_, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(texts[part].c_str()));
    }
}

/// Files that somebody edited may turn out to be wrong long after the store was opened.
void ArchiveWindow::ShowNewWarnings() {
    while (shownWarnings_ < store_.Warnings().size()) {
        Notice(store_.Warnings()[shownWarnings_++]);
    }
}

void ArchiveWindow::OpenDocument() {
    const auto row = SelectedRow();
    const Entry* entry = row ? store_.FindEntry(table_.IdAt(*row)) : nullptr;
    if (entry == nullptr) {
        return;
    }
    const std::wstring path = store_.DocumentPath(*entry);
    const HINSTANCE result = ShellExecuteW(window_, L"open", path.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    if (reinterpret_cast<INT_PTR>(result) <= 32) {
        Notice(L"Das Dokument " + entry->document + L" kann nicht geöffnet werden.");
    }
}

}  // namespace kandora::simulators
