#include "simulators/archive/Window.h"

#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>
#include <windowsx.h>

#include <algorithm>
#include <array>
#include <utility>

#include "interfaces/CodePages.h"
#include "simulators/archive/WindowResources.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Output.h"

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

}  // namespace

ArchiveWindow::ArchiveWindow(ArchiveStore& store, Appearance appearance)
    : store_(store), isConcealed_(appearance == Appearance::Concealed), folders_(store), entries_(store),
      details_(store) {
    CreateWindowOf(store.Settings());
    store_.SetListener([this](ArchiveStore::Change change, std::int32_t id, std::int32_t folder) {
        OnChange(change, id, folder);
    });
    folders_.Fill();
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
        SetFocus(folders_.Handle());
    } else if (appearance == Appearance::Minimized) {
        ShowWindow(window_, SW_SHOWMINNOACTIVE);
    }
}

ArchiveWindow::~ArchiveWindow() {
    store_.SetListener(nullptr);
    if (window_ != nullptr) {
        DestroyWindow(window_);
    }
}

void ArchiveWindow::CreateWindowOf(const ArchiveSettings& settings) {
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

    const std::wstring caption = L"Archiv-Simulator – " + settings.archives.front();
    window_ =
        CreateWindowExW(0, className, caption.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance, this);
    if (window_ == nullptr) {
        throw Failure(L"Das Fenster kann nicht erstellt werden: " + SystemMessage(GetLastError()));
    }
    SetWindowPos(window_, nullptr, 0, 0, resolution_.Pixels(1040), resolution_.Pixels(680),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
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
    if (!folders_.Select(entry != nullptr ? entry->folder : id)) {
        return;
    }
    if (entry != nullptr) {
        entries_.Select(id);
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

/// COM sends a call's answer from a thread of its own, and does not wait for it when the program leaves COM.
/// A client that has let go of its object has got the answer. One that holds on is given turns of this thread
/// rather than a time: on a busy machine, both threads are slow.
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
        PrintErrorLine(TextFromUtf8(error.what()));
        return 0;
    }
}

LRESULT ArchiveWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        CreatePanes();
        resolution_ = Resolution::Of(window_);
        Fit();
        return 0;
    case WM_SIZE:
        if (wParam != SIZE_MINIMIZED) {
            Layout();
        }
        return 0;
    case WM_GETMINMAXINFO: {
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        limits->ptMinTrackSize = {resolution_.Pixels(520), resolution_.Pixels(360)};
        return 0;
    }
    case WM_DPICHANGED: {
        resolution_ = Resolution(HIWORD(wParam));
        const auto* area = reinterpret_cast<const RECT*>(lParam);
        Place(window_, *area);
        Fit();
        Layout();
        return 0;
    }
    case WM_SETFOCUS:
        SetFocus(folders_.Handle());
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
    case WM_SETCURSOR:
        if (ShowSplitterCursor(lParam)) {
            return TRUE;
        }
        break;
    case WM_LBUTTONDOWN:
        drag_ = layout_.SplitterAt({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
        if (drag_ != PaneLayout::Splitter::None) {
            SetCapture(window_);
        }
        return 0;
    case WM_MOUSEMOVE:
        if (drag_ != PaneLayout::Splitter::None) {
            layout_.Drag(drag_, {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
            Layout();
        }
        return 0;
    case WM_LBUTTONUP:
        ReleaseCapture();
        return 0;
    case WM_CAPTURECHANGED:
        drag_ = PaneLayout::Splitter::None;
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
    case TVN_GETDISPINFOW:
        folders_.GiveText(reinterpret_cast<NMTVDISPINFOW&>(notification).item);
        return 0;
    case TVN_SELCHANGEDW:
        ShowFolder(static_cast<std::int32_t>(reinterpret_cast<NMTREEVIEWW&>(notification).itemNew.lParam));
        return 0;
    default:
        return notification.idFrom == listId ? HandleEntryNotification(notification) : 0;
    }
}

LRESULT ArchiveWindow::HandleEntryNotification(NMHDR& notification) {
    switch (notification.code) {
    case LVN_GETDISPINFOW:
        entries_.GiveText(reinterpret_cast<NMLVDISPINFOW&>(notification).item);
        break;
    case LVN_ODFINDITEMW:
        return entries_.Find(reinterpret_cast<const NMLVFINDITEMW&>(notification));
    case LVN_ITEMCHANGED:
    case LVN_ODSTATECHANGED:
        ShowDetails();
        break;
    case LVN_COLUMNCLICK:
        entries_.SortBy(static_cast<std::size_t>(reinterpret_cast<NMLISTVIEW&>(notification).iSubItem));
        break;
    case NM_DBLCLK:
    case NM_RETURN:
        OpenDocument();
        break;
    default:
        break;
    }
    return 0;
}

bool ArchiveWindow::HandleKeys(MSG& message) {
    static const HACCEL accelerators =
        LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_ACCELERATORS));
    const bool isOurs = message.hwnd == window_ || IsChild(window_, message.hwnd) != FALSE;
    return isOurs && TranslateAcceleratorW(window_, accelerators, &message) != 0;
}

void ArchiveWindow::FocusNextPane(bool backwards) {
    const std::array<HWND, 3> panes{folders_.Handle(), entries_.Handle(), details_.Handle()};
    const auto* const current = std::ranges::find(panes, GetFocus());
    const std::size_t index = current == panes.end() ? 0 : static_cast<std::size_t>(current - panes.begin());
    SetFocus(panes[(index + (backwards ? 2 : 1)) % panes.size()]);
}

// --- Layout ---

void ArchiveWindow::CreatePanes() {
    folders_.Create(window_, treeId);
    entries_.Create(window_, listId);
    details_.Create(window_, detailsId);
    status_.Create(window_, statusId);
}

void ArchiveWindow::Fit() {
    Font font(resolution_.NewFont());
    for (const HWND control : {folders_.Handle(), entries_.Handle(), details_.Handle(), status_.Handle()}) {
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font.get()), TRUE);
    }
    font_ = std::move(font);
    if (!isConcealed_) {
        folders_.ShowIcons(resolution_);
    }
    folders_.Fit(resolution_);
    details_.Fit(resolution_);
    entries_.Fit(resolution_);
}

void ArchiveWindow::Layout() {
    status_.Fit(resolution_);
    const int margin = resolution_.Pixels(6);
    RECT bounds{};
    GetClientRect(window_, &bounds);
    bounds.bottom -= status_.TakenHeight();
    InflateRect(&bounds, -margin, -margin);
    layout_.Divide(bounds, margin);
    Place(folders_.Handle(), layout_.Folders());
    Place(entries_.Handle(), layout_.Entries());
    Place(details_.Handle(), layout_.Details());
    details_.FitColumns(Width(layout_.Details()));
    ShowStatus();
}

bool ArchiveWindow::ShowSplitterCursor(LPARAM lParam) const {
    POINT position{};
    GetCursorPos(&position);
    ScreenToClient(window_, &position);
    const auto splitter =
        LOWORD(lParam) == HTCLIENT ? layout_.SplitterAt(position) : PaneLayout::Splitter::None;
    if (splitter == PaneLayout::Splitter::None) {
        return false;
    }
    SetCursor(LoadCursorW(nullptr, splitter == PaneLayout::Splitter::Vertical ? IDC_SIZEWE : IDC_SIZENS));
    return true;
}

// --- What it shows ---

void ArchiveWindow::OnChange(ArchiveStore::Change change, std::int32_t id, std::int32_t folder) {
    switch (change) {
    case ArchiveStore::Change::FolderAdded:
        folders_.NoteAdded(id);
        break;
    case ArchiveStore::Change::FolderRemoved:
        folders_.NoteRemoved(id);
        break;
    case ArchiveStore::Change::EntryAdded:
    case ArchiveStore::Change::EntryChanged:
    case ArchiveStore::Change::EntryRemoved:
        isEntryChangePending_ = isEntryChangePending_ || folder == entries_.FolderId();
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
    folders_.ShowChanges();
    if (std::exchange(isEntryChangePending_, false)) {
        entries_.ShowChanges();
    }
    details_.Forget();
    ShowDetails();
    ShowNewWarnings();
    ShowStatus();
    UpdateWindow(entries_.Handle());  // painting counts, too
    lastShowing_ = GetTickCount64() - start;
}

void ArchiveWindow::ShowFolder(std::int32_t folder) {
    entries_.Show(folder);
    isEntryChangePending_ = false;
    details_.Forget();
    ShowDetails();
    ShowStatus();
}

void ArchiveWindow::ShowDetails() {
    details_.Show(entries_.SelectedId().value_or(entries_.FolderId()));
}

void ArchiveWindow::ShowStatus() {
    status_.Show(store_, program_, notice_);
}

/// Files that somebody edited may turn out to be wrong long after the store was opened.
void ArchiveWindow::ShowNewWarnings() {
    while (shownWarnings_ < store_.Warnings().size()) {
        Notice(store_.Warnings()[shownWarnings_++]);
    }
}

void ArchiveWindow::OpenDocument() {
    const auto id = entries_.SelectedId();
    const Entry* entry = id ? store_.FindEntry(*id) : nullptr;
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
