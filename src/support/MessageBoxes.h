#pragma once

#include "automation/Replaceable.h"
#include "automation/Text.h"

namespace kandora {

/// Caption of every box that has none of its own.
inline constexpr const wchar_t* applicationTitle = L"Kandora";

/// Styles of a message box, with the platform's own values; they are added up.
namespace boxstyle {
inline constexpr int okOnly = 0;
inline constexpr int critical = 16;
inline constexpr int exclamation = 48;
inline constexpr int information = 64;
inline constexpr int systemModal = 4096;
}  // namespace boxstyle

/// What this floor needs of the user interface.
class MessageBoxes : public Replaceable {
public:
    /// Shows a message box that belongs to no window, in the foreground, and waits until the user has closed
    /// it.
    virtual void ShowMessage(const Text& prompt, int style, const Text& caption) = 0;
};

}  // namespace kandora
