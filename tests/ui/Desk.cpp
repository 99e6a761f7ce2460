#include "tests/ui/Desk.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "automation/Errors.h"

namespace kandora::ui_tests {

namespace {

std::mutex turns;
/// The turn of the calling thread, when that is a host's.
thread_local std::unique_lock<std::mutex>* ownTurn = nullptr;

BOOL CALLBACK Collect(HWND window, LPARAM parameter) {
    reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

std::vector<HWND> WindowsOf(DWORD thread) {
    std::vector<HWND> windows;
    EnumThreadWindows(thread, Collect, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

}  // namespace

void Pause() {
    if (ownTurn != nullptr) {
        ownTurn->unlock();
    }
    ::Sleep(1);
    if (ownTurn != nullptr) {
        ownTurn->lock();
    }
}

void ServeWindows() {
    MSG message{};
    while (message.message != WM_QUIT) {
        if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == FALSE) {
            Pause();
        } else {
            DispatchMessageW(&message);
        }
    }
}

bool RunsUnderWine() {
    const HMODULE platform = GetModuleHandleW(L"ntdll.dll");
    return platform != nullptr && GetProcAddress(platform, "wine_get_version") != nullptr;
}

LocalTime DeskPlatform::Now() {
    if (clockFails) {
        throw RuntimeError(errors::internal);
    }
    return now;
}

void DeskPlatform::Sleep(std::uint32_t milliseconds) {
    if (milliseconds != 10) {
        otherWait_ = true;
    }
    Pause();
    ++waits_;
}

HostThread::HostThread(std::function<void()> body) {
    std::mutex mutex;
    std::condition_variable started;
    bool ready = false;
    thread_ = std::thread([&, this, work = std::move(body)] {
        {
            const std::lock_guard lock(mutex);
            // Gives the thread its message queue, so that messages can be posted to it.
            MSG message{};
            PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
            id_ = GetCurrentThreadId();
            ready = true;
            started.notify_one();
        }
        std::unique_lock turn(turns);
        ownTurn = &turn;
        try {
            work();
        } catch (const std::exception& error) {
            ADD_FAILURE() << "The host's thread ended in an exception: " << error.what();
        }
        ended_ = true;
    });
    std::unique_lock lock(mutex);
    started.wait(lock, [&] { return ready; });
}

HostThread::~HostThread() {
    for (int round = 0; !ended_; ++round) {
        // For a body that waits for the message to quit.
        if (round % 100 == 99) {
            PostThreadMessageW(id_, WM_QUIT, 0, 0);
        }
        for (const HWND window : WindowsOf(id_)) {
            if (IsWindowVisible(window) && IsWindowEnabled(window)) {
                PostMessageW(window, WM_CLOSE, 0, 0);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    thread_.join();
}

bool HostThread::Ends() const {
    return Eventually([this] { return ended_.load(); });
}

HWND HostThread::Window(const wchar_t* windowClass, const std::wstring& caption, bool withKeyboard) const {
    HWND found = nullptr;
    const bool shown = Eventually([&] {
        for (const HWND window : WindowsOf(id_)) {
            if (IsWindowVisible(window) != FALSE && IsWindowEnabled(window) != FALSE &&
                ClassOf(window) == windowClass && TextIn(window) == caption) {
                found = window;
                return !withKeyboard || GetAncestor(Focus(), GA_ROOT) == window;
            }
        }
        return false;
    });
    return shown ? found : nullptr;
}

HWND HostThread::Focus() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof(info);
    return GetGUIThreadInfo(id_, &info) ? info.hwndFocus : nullptr;
}

HostWindow::HostWindow(const wchar_t* caption) {
    WNDCLASSEXW own{};
    own.cbSize = sizeof(own);
    own.lpfnWndProc = Procedure;
    own.hInstance = GetModuleHandleW(nullptr);
    own.lpszClassName = L"HostWindow";
    own.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    RegisterClassExW(&own);
    window_ = CreateWindowExW(0, L"HostWindow", caption, WS_OVERLAPPEDWINDOW, 10, 10, 500, 300, nullptr,
                              nullptr, own.hInstance, nullptr);
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    field_ = CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE, 10, 10, 200, 25, window_, nullptr,
                             own.hInstance, nullptr);
    ShowWindow(window_, SW_SHOWNORMAL);
    SetForegroundWindow(window_);
    SetFocus(field_);
}

HostWindow::~HostWindow() {
    DestroyWindow(window_);
}

LRESULT CALLBACK HostWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const own = reinterpret_cast<HostWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (own != nullptr) {
        if (message == WM_PAINT) {
            ++own->paintings_;
        }
        if (message == WM_APP && own->onRequest) {
            own->onRequest();
            return 0;
        }
        if (message == WM_CLOSE) {
            return 0;
        }
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

void Behind::Show(const std::function<void()>& show) {
    const HostWindow own(L"Fibu");
    window = own.Handle();
    show();
    isEnabledAgain = IsWindowEnabled(own.Handle()) != FALSE;
    hasKeyboardAgain = GetFocus() == own.Field();
}

std::vector<HWND> ControlsOf(HWND window) {
    std::vector<HWND> controls;
    for (HWND control = GetWindow(window, GW_CHILD); control != nullptr;
         control = GetWindow(control, GW_HWNDNEXT)) {
        controls.push_back(control);
    }
    return controls;
}

std::vector<HWND> ControlsOf(HWND window, const wchar_t* windowClass) {
    std::vector<HWND> controls = ControlsOf(window);
    std::erase_if(controls, [&](HWND control) { return ClassOf(control) != windowClass; });
    return controls;
}

ShownForm::ShownForm(const HostThread& host, const wchar_t* caption, bool withKeyboard)
    : form(host.Window(L"KandoraForm", caption, withKeyboard)), cancel(ButtonOf(form, L"Abbrechen")) {}

HWND ButtonOf(HWND window, const std::wstring& caption) {
    for (const HWND button : ControlsOf(window, L"Button")) {
        if (TextIn(button) == caption) {
            return button;
        }
    }
    return nullptr;
}

std::wstring ClassOf(HWND window) {
    std::wstring name(256, L'\0');
    name.resize(static_cast<std::size_t>(GetClassNameW(window, name.data(), static_cast<int>(name.size()))));
    return name;
}

std::wstring TextIn(HWND window) {
    std::wstring text(4096, L'\0');
    DWORD_PTR length = 0;
    const LRESULT answered = SendMessageTimeoutW(
        window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_NORMAL, 60000, &length);
    text.resize(answered == 0 ? 0 : length);
    return text;
}

void Type(HWND control, const std::wstring& text) {
    for (const wchar_t character : text) {
        PostMessageW(control, WM_CHAR, character, 1);
    }
}

void Press(HWND control, WPARAM key) {
    PostMessageW(control, WM_KEYDOWN, key, 1);
    PostMessageW(control, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

void Click(HWND button) {
    PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    PostMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
}

}  // namespace kandora::ui_tests
