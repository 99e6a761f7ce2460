#pragma once

#include <windows.h>

#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "automation/Platform.h"
#include "automation/Text.h"

namespace kandora {

/// The text as a window can show it: an embedded NUL, which would end it there, becomes a visible "\0".
Text Displayable(const Text& text);

/// The primary screen's resolution as the process is told it: whether that is the real one depends on the
/// host. Asked again for each window.
class ScreenResolution {
public:
    ScreenResolution();

    [[nodiscard]] int XPixels(int twips) const { return MulDiv(twips, x_, twipsPerInch); }
    [[nodiscard]] int YPixels(int twips) const { return MulDiv(twips, y_, twipsPerInch); }
    /// Rounded up, so that so many pixels fit in.
    [[nodiscard]] int YTwips(int pixels) const { return (pixels * twipsPerInch + y_ - 1) / y_; }

    static constexpr int twipsPerInch = 1440;

private:
    int x_ = USER_DEFAULT_SCREEN_DPI;
    int y_ = USER_DEFAULT_SCREEN_DPI;
};

struct FontDeleter {
    using pointer = HFONT;
    void operator()(HFONT font) const noexcept { DeleteObject(font); }
};
using Font = std::unique_ptr<HFONT, FontDeleter>;

/// MS Sans Serif in 9.75 points, the font of all forms.
Font FormFont(const ScreenResolution& screen, bool bold);

/// Remembers where the keyboard was before a window of ours opened, to return it there.
class FocusKeeper {
public:
    FocusKeeper() : active_(GetActiveWindow()), focus_(GetFocus()) {}
    /// With `foreground` false the foreground stays with the program to which the user has turned meanwhile.
    void GiveBack(bool foreground) const noexcept;

private:
    HWND active_;
    HWND focus_;
};

/// Keeps all other windows of the calling thread from input, as long as this object lives.
class OtherWindowsDisabled {
public:
    explicit OtherWindowsDisabled(HWND form);
    ~OtherWindowsDisabled();
    OtherWindowsDisabled(const OtherWindowsDisabled&) = delete;
    OtherWindowsDisabled& operator=(const OtherWindowsDisabled&) = delete;

private:
    std::vector<HWND> windows_;
};

enum class ControlKind { Label, TextBox, MultiLineTextBox, Button, DefaultButton };

/// One control of a form; positions and sizes in twips within the client area.
struct Control {
    int id;  ///< IDOK for the default button (Enter), IDCANCEL for the cancel button (Esc)
    ControlKind kind;
    const wchar_t* text;
    int left;
    int top;
    int width;
    int height;
    int tabIndex;   ///< unique; also the order in depth: the first one lies on top
    int limit = 0;  ///< most characters that can be typed; 0 for the platform's own limit
};

/// A window without an owner, made of standard controls, that the thread waits for.
class Form {
public:
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

protected:
    explicit Form(Platform& platform) : platform_(platform) {}
    virtual ~Form();

    /// Creates the window, still hidden, in the middle of the screen. Raises the platform's error.
    void Load(const Text& caption, int clientWidth, int clientHeight, std::span<const Control> controls);
    /// Left and top edge in pixels; the form is kept within the screen's free area.
    void MoveTo(int left, int top);
    /// Shows the form in the foreground, with the keyboard on the first control, and disables the thread's
    /// other windows.
    void Show();
    /// Returns once the form is hidden or closed; all messages of the thread are processed meanwhile. An
    /// error of a button's procedure closes the form and is raised here.
    void WaitForWindow();
    void Hide();

    [[nodiscard]] bool IsLoaded() const noexcept { return window_ != nullptr; }
    /// Text of a text box; the last one after the form was closed.
    [[nodiscard]] Text TextOf(int id) const;
    void SetText(int id, const Text& text);

    /// A button was clicked, or its key pressed.
    virtual void OnClick(int id) = 0;

private:
    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    bool OnMessage(UINT message, WPARAM wParam);
    void AddControl(const Control& control, const ScreenResolution& screen);
    void ProcessMessages();
    bool TakesKey(MSG& message);
    [[nodiscard]] bool IsVisible() const noexcept { return IsWindowVisible(window_) != FALSE; }
    void KeepTexts(HWND window);
    void EndModal() noexcept;
    void Close() noexcept;

    struct ModalDisplay {
        ModalDisplay(const FocusKeeper& kept, HWND form) : keyboard(kept), others(form) {}
        FocusKeeper keyboard;
        OtherWindowsDisabled others;
    };

    Platform& platform_;
    Font plain_;
    Font bold_;
    HWND window_ = nullptr;
    std::vector<std::pair<int, Text>> texts_;
    std::optional<ModalDisplay> modal_;
    std::exception_ptr failure_;
};

}  // namespace kandora
