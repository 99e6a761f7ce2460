#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace kandora::simulators {

/// How long another thread may take to answer.
inline constexpr UINT answerLimitMilliseconds = 5000;

/// Windows of another thread. None of these functions hangs when that thread does not answer.

std::wstring ClassOf(HWND window);

/// The window's text; nothing when its thread does not answer in time. It may once it processes messages
/// again.
std::optional<std::wstring> TextOf(HWND window);

/// The top-level windows of a thread.
std::vector<HWND> WindowsOf(DWORD threadId);

/// All windows below `parent`, the front one first; a dialog's controls are in their tab order.
std::vector<HWND> ChildrenOf(HWND parent);

/// The button that confirms a box: "OK" or "Archivieren" by name, else the default button, else the first
/// one; null when there is no button.
HWND ConfirmingButton(HWND box);

}  // namespace kandora::simulators
