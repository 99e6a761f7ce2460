#include "ui/Form.h"

#include <algorithm>
#include <cwchar>

#include "automation/Errors.h"
#include "automation/WindowsPlatform.h"

namespace kandora {

namespace {

constexpr wchar_t className[] = L"KandoraForm";
constexpr const wchar_t* fontName = L"MS Sans Serif";
/// 9.75 points.
constexpr int fontHeightTwips = 195;
constexpr std::uint32_t waitMilliseconds = 10;  // between two looks at the message queue

[[noreturn]] void RaiseLastError() {
    const DWORD error = GetLastError();
    throw RuntimeError(NumberOf(error == 0 ? E_FAIL : HRESULT_FROM_WIN32(error)));
}

/// The class has the platform's own procedure and the form's procedure belongs to each window, so that a
/// class which an earlier load of this module left behind serves as well as a new one.
void RegisterFormClass() {
    WNDCLASSEXW form{};
    form.cbSize = sizeof(form);
    form.lpfnWndProc = DefDlgProcW;
    form.cbWndExtra = DLGWINDOWEXTRA;
    form.hInstance = OwnModule();
    form.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    form.lpszClassName = className;
    if (RegisterClassExW(&form) == 0 && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) {
        RaiseLastError();
    }
}

/// A dialog template without controls, in the layout that the platform prescribes.
struct alignas(DWORD) EmptyTemplate {
    DLGTEMPLATE header{};
    WORD menu = 0;
    wchar_t windowClass[std::size(className)] = {};
    WORD title = 0;

    EmptyTemplate() {
        header.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_NOIDLEMSG;
        header.dwExtendedStyle = WS_EX_CONTROLPARENT;
        std::ranges::copy(className, windowClass);
    }
};
static_assert(offsetof(EmptyTemplate, windowClass) == 20);

RECT FreeArea() {
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    return area;
}

struct WindowKind {
    const wchar_t* windowClass;
    DWORD style;
    DWORD extendedStyle;
    bool bold;
};

WindowKind WindowKindOf(ControlKind kind) {
    constexpr DWORD tabStop = WS_TABSTOP;
    switch (kind) {
    case ControlKind::TextBox:
        return {L"EDIT", tabStop | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, false};
    case ControlKind::MultiLineTextBox:
        return {L"EDIT", tabStop | ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN, WS_EX_CLIENTEDGE, false};
    case ControlKind::Button:
        return {L"BUTTON", tabStop | BS_PUSHBUTTON, 0, true};
    case ControlKind::DefaultButton:
        return {L"BUTTON", tabStop | BS_DEFPUSHBUTTON, 0, true};
    case ControlKind::Label:
        break;
    }
    return {L"STATIC", SS_LEFT | SS_NOPREFIX, 0, true};
}

bool IsTextBox(const Control& control) {
    return control.kind == ControlKind::TextBox || control.kind == ControlKind::MultiLineTextBox;
}

struct WindowSearch {
    HWND form;
    std::vector<HWND>& found;
    std::exception_ptr failure;
};

Text CurrentText(HWND window, int id) {
    const HWND control = GetDlgItem(window, id);
    Text text(static_cast<std::size_t>(GetWindowTextLengthW(control)), L'\0');
    // One more for the NUL: every text object has room for it.
    text.resize(
        static_cast<std::size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()) + 1)));
    return text;
}

BOOL CALLBACK CollectEnabled(HWND window, LPARAM parameter) noexcept {
    auto& search = *reinterpret_cast<WindowSearch*>(parameter);
    try {
        if (window != search.form && IsWindowVisible(window) && IsWindowEnabled(window)) {
            search.found.push_back(window);
        }
        return TRUE;
    } catch (...) {
        search.failure = std::current_exception();
        return FALSE;
    }
}

}  // namespace

Text Displayable(const Text& text) {
    return Replaced(text, TextView(L"\0", 1), L"\\0");
}

ScreenResolution::ScreenResolution() {
    if (const HDC screen = GetDC(nullptr)) {
        x_ = GetDeviceCaps(screen, LOGPIXELSX);
        y_ = GetDeviceCaps(screen, LOGPIXELSY);
        ReleaseDC(nullptr, screen);
    }
}

Font FormFont(const ScreenResolution& screen, bool bold) {
    return Font(CreateFontW(-screen.YPixels(fontHeightTwips), 0, 0, 0, bold ? FW_BOLD : FW_NORMAL, FALSE,
                            FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                            DEFAULT_QUALITY, DEFAULT_PITCH | FF_DONTCARE, fontName));
}

void FocusKeeper::GiveBack(bool foreground) const noexcept {
    if (IsWindowVisible(active_) && IsWindowEnabled(active_)) {
        if (!foreground || !SetForegroundWindow(active_)) {
            SetActiveWindow(active_);
        }
        if (focus_ == active_ || IsChild(active_, focus_)) {
            SetFocus(focus_);
        }
    }
}

OtherWindowsDisabled::OtherWindowsDisabled(HWND form) {
    WindowSearch search{form, windows_, nullptr};
    EnumThreadWindows(GetCurrentThreadId(), CollectEnabled, reinterpret_cast<LPARAM>(&search));
    if (search.failure) {
        std::rethrow_exception(search.failure);
    }
    for (const HWND window : windows_) {
        EnableWindow(window, FALSE);
    }
}

OtherWindowsDisabled::~OtherWindowsDisabled() {
    // Backwards, so that the front window comes last and is what the platform finds when it looks for one to
    // activate.
    std::for_each(windows_.rbegin(), windows_.rend(), [](HWND window) { EnableWindow(window, TRUE); });
}

Form::~Form() {
    EndModal();
    if (window_ != nullptr) {
        SetWindowLongPtrW(window_, DWLP_USER, 0);
        DestroyWindow(window_);
    }
}

void Form::Load(const Text& caption, int clientWidth, int clientHeight, std::span<const Control> controls) {
    const ScreenResolution screen;
    plain_ = FormFont(screen, false);
    bold_ = FormFont(screen, true);
    RegisterFormClass();
    const EmptyTemplate form;
    if (CreateDialogIndirectParamW(OwnModule(), &form.header, nullptr, Procedure,
                                   reinterpret_cast<LPARAM>(this)) == nullptr) {
        RaiseLastError();
    }
    SetWindowTextW(window_, Displayable(caption).c_str());

    RECT frame{0, 0, screen.XPixels(clientWidth), screen.YPixels(clientHeight)};
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongW(window_, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongW(window_, GWL_EXSTYLE)));
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    SetWindowPos(window_, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    const RECT area = FreeArea();
    MoveTo((area.left + area.right - width) / 2, (area.top + area.bottom - height) / 2);

    texts_.clear();
    std::vector<Control> inTabOrder(controls.begin(), controls.end());
    std::ranges::sort(inTabOrder, {}, &Control::tabIndex);
    for (const Control& control : inTabOrder) {
        AddControl(control, screen);
        if (IsTextBox(control)) {
            texts_.emplace_back(control.id, Text());
        }
    }
    SendMessageW(window_, DM_SETDEFID, IDOK, 0);
}

void Form::AddControl(const Control& control, const ScreenResolution& screen) {
    const WindowKind kind = WindowKindOf(control.kind);
    const int left = screen.XPixels(control.left);
    const int top = screen.YPixels(control.top);
    // A label may reach under a text box: clipping keeps it from painting over it.
    const HWND window =
        CreateWindowExW(kind.extendedStyle, kind.windowClass, control.text,
                        WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | kind.style, left, top,
                        screen.XPixels(control.left + control.width) - left,
                        screen.YPixels(control.top + control.height) - top, window_,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(control.id)), OwnModule(), nullptr);
    if (window == nullptr) {
        RaiseLastError();
    }
    SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>((kind.bold ? bold_ : plain_).get()), FALSE);
    if (control.limit > 0) {
        SendMessageW(window, EM_SETLIMITTEXT, static_cast<WPARAM>(control.limit), 0);
    }
}

void Form::MoveTo(int left, int top) {
    RECT frame{};
    GetWindowRect(window_, &frame);
    const RECT area = FreeArea();
    const int furthestLeft = area.right - (frame.right - frame.left);
    const int furthestTop = area.bottom - (frame.bottom - frame.top);
    SetWindowPos(window_, nullptr, std::max<int>(area.left, std::min(left, furthestLeft)),
                 std::max<int>(area.top, std::min(top, furthestTop)), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Form::Show() {
    const FocusKeeper keyboard;
    // Where the platform refuses the foreground, the user at least sees the form on top of all windows.
    SetWindowPos(window_, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
    SetWindowPos(window_, HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    SetForegroundWindow(window_);
    const HWND first = GetNextDlgTabItem(window_, nullptr, FALSE);
    SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
    modal_.emplace(keyboard, window_);
}

void Form::WaitForWindow() {
    while (IsVisible() && !failure_) {
        ProcessMessages();
        platform_.Sleep(waitMilliseconds);
    }
    EndModal();
    if (failure_) {
        Close();
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
}

void Form::ProcessMessages() {
    MSG message{};
    while (IsVisible() && !failure_ && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // The thread's own message loop has to see it too.
            PostQuitMessage(static_cast<int>(message.wParam));
            Close();
        } else if (!TakesKey(message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

bool Form::TakesKey(MSG& message) {
    // A multi-line text box would answer Esc by closing the form, which is not what the cancel button does.
    if (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE && IsChild(window_, message.hwnd)) {
        SendMessageW(window_, WM_COMMAND, IDCANCEL, reinterpret_cast<LPARAM>(GetDlgItem(window_, IDCANCEL)));
        return true;
    }
    return IsDialogMessageW(window_, &message) != FALSE;
}

INT_PTR CALLBACK Form::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_INITDIALOG) {
        reinterpret_cast<Form*>(lParam)->window_ = window;
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        return FALSE;
    }
    auto* const form = reinterpret_cast<Form*>(GetWindowLongPtrW(window, DWLP_USER));
    if (form == nullptr) {
        return FALSE;
    }
    try {
        return form->OnMessage(message, wParam) ? TRUE : FALSE;
    } catch (...) {
        if (!form->failure_) {
            form->failure_ = std::current_exception();
        }
        return TRUE;
    }
}

bool Form::OnMessage(UINT message, WPARAM wParam) {
    switch (message) {
    case WM_COMMAND:
        if (HIWORD(wParam) == BN_CLICKED) {
            OnClick(LOWORD(wParam));
            return true;
        }
        return false;
    case WM_CLOSE:
        Close();
        return true;
    case WM_DESTROY:
        KeepTexts(std::exchange(window_, nullptr));
        return false;
    default:
        return false;
    }
}

void Form::Hide() {
    EndModal();
    ShowWindow(window_, SW_HIDE);
}

void Form::Close() noexcept {
    EndModal();
    DestroyWindow(window_);
}

void Form::EndModal() noexcept {
    // Before the form goes: otherwise the platform would find all windows of this thread disabled and
    // activate another program's.
    if (modal_) {
        const FocusKeeper keyboard = modal_->keyboard;
        modal_.reset();
        keyboard.GiveBack(GetForegroundWindow() == window_);
    }
}

void Form::KeepTexts(HWND window) {
    for (auto& [id, text] : texts_) {
        text = CurrentText(window, id);
    }
}

Text Form::TextOf(int id) const {
    if (IsLoaded()) {
        return CurrentText(window_, id);
    }
    const auto kept = std::ranges::find(texts_, id, &std::pair<int, Text>::first);
    return kept == texts_.end() ? Text() : kept->second;
}

void Form::SetText(int id, const Text& text) {
    SetDlgItemTextW(window_, id, Displayable(text).c_str());
}

}  // namespace kandora
