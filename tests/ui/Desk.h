#pragma once

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/CErrHandler.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Unique.h"
#include "tests/support/UnneededPlatform.h"
#include "ui/WindowsUserInterface.h"

/// The user at the desk: finds the windows that another thread shows, reads them, types and clicks.
namespace kandora::ui_tests {

using test::Eventually;

/// Lets the other hosts' threads work. Each of them works, from its start to its end, only while all the
/// others are in here. Two that lay out text in the same font at the same moment would crash the process:
/// wine then frees its cache of the font's glyphs but keeps it in its list. Windows lay out text when they
/// are made, filled, painted, activated and closed, which no order of a test's own steps could keep apart. A
/// message box, which has the platform's own message loop, makes all others wait until it is closed.
void Pause();

/// Processes the calling thread's messages until one tells it to end, with a pause whenever there are none.
void ServeWindows();

bool RunsUnderWine();

/// A clock that stands still, and waits that are counted.
class DeskPlatform final : public test::UnneededPlatform {
public:
    LocalTime now{2026, 3, 5, 10, 20, 30};
    bool clockFails = false;

    LocalTime Now() override;
    void Sleep(std::uint32_t milliseconds) override;

    [[nodiscard]] int Waits() const { return waits_; }
    [[nodiscard]] bool AllWaitsWere10Milliseconds() const { return !otherWait_; }

private:
    std::atomic<int> waits_ = 0;
    std::atomic<bool> otherWait_ = false;
};

/// What a host's thread works with: the component's user interface on a machine that is a fake.
struct Office {
    DeskPlatform platform;
    WindowsUserInterface userInterface{platform, [this]() -> CErrHandler& { return errors; }};
    CErrHandler errors{userInterface, LocalTime{}};
};

/// A thread as the host's: the body runs on it while the test plays the user. Whatever it still shows when
/// this object dies is closed.
class HostThread : test::Unique {
public:
    explicit HostThread(std::function<void()> body);
    ~HostThread();

    [[nodiscard]] DWORD Id() const { return id_; }
    /// Waits for the body's end; false when it does not come.
    [[nodiscard]] bool Ends() const;
    /// The window with class and caption, as soon as the thread shows it and, unless told otherwise, has the
    /// keyboard in it; null when that never happens.
    [[nodiscard]] HWND Window(const wchar_t* windowClass, const std::wstring& caption,
                              bool withKeyboard = true) const;
    [[nodiscard]] HWND MessageBoxWindow(const std::wstring& caption) const {
        return Window(L"#32770", caption);
    }
    /// The window that has the keyboard.
    [[nodiscard]] HWND Focus() const;

private:
    std::atomic<bool> ended_ = false;
    DWORD id_ = 0;
    std::thread thread_;
};

/// A window that the host itself shows, with a text box that has the keyboard. Lives on the thread that makes
/// it.
class HostWindow : test::Unique {
public:
    explicit HostWindow(const wchar_t* caption);
    ~HostWindow();

    [[nodiscard]] HWND Handle() const { return window_; }
    [[nodiscard]] HWND Field() const { return field_; }
    [[nodiscard]] int Paintings() const { return paintings_; }
    /// Called when the window gets the message WM_APP.
    std::function<void()> onRequest;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND window_ = nullptr;
    HWND field_ = nullptr;
    std::atomic<int> paintings_ = 0;
};

/// What happens to the host's own window while something is shown before it.
struct Behind {
    std::atomic<HWND> window = nullptr;
    bool isEnabledAgain = false;
    bool hasKeyboardAgain = false;

    /// On the host's thread: shows it over a window of the host.
    void Show(const std::function<void()>& show);
};

/// A form of the component as the user sees it.
struct ShownForm {
    HWND form;
    HWND cancel;

    /// Waits for the form with this caption.
    explicit ShownForm(const HostThread& host, const wchar_t* caption, bool withKeyboard = true);
};

/// Direct children, the front one first, which is also their tab order.
std::vector<HWND> ControlsOf(HWND window);
std::vector<HWND> ControlsOf(HWND window, const wchar_t* windowClass);
HWND ButtonOf(HWND window, const std::wstring& caption);
std::wstring ClassOf(HWND window);
std::wstring TextIn(HWND window);

void Type(HWND control, const std::wstring& text);
void Press(HWND control, WPARAM key);
void Click(HWND button);

}  // namespace kandora::ui_tests
