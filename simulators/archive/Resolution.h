#pragma once

#include <windows.h>

namespace kandora::simulators {

/// How finely the screen shows a window.
class Resolution {
public:
    Resolution() = default;
    explicit Resolution(UINT dpi) noexcept : dpi_(dpi) {}
    /// That of the screen on which the window stands.
    static Resolution Of(HWND window);

    /// The length here of what takes `usual` pixels at 96 dots per inch.
    [[nodiscard]] int Pixels(int usual) const noexcept {
        return MulDiv(usual, static_cast<int>(dpi_), USER_DEFAULT_SCREEN_DPI);
    }
    /// The system's font for texts in windows. The caller deletes it.
    [[nodiscard]] HFONT NewFont() const;

private:
    UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
};

}  // namespace kandora::simulators
