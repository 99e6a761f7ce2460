#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace kandora::simulators {

/// How long another thread may take to answer.
inline constexpr UINT answerLimitMilliseconds = 5000;

/// Reading windows of another thread. None of these waits for a thread that does not answer.

std::wstring ClassOf(HWND window);

/// The window's text; nothing when its thread does not answer, which it does once it gets back to its
/// messages.
std::optional<std::wstring> TextOf(HWND window);

/// The top-level windows of a thread.
std::vector<HWND> WindowsOf(DWORD threadId);

/// All windows below `parent`, in the order in which they were created.
std::vector<HWND> ChildrenOf(HWND parent);

/// The button that confirms a box: "OK" or "Archivieren" by name, else the default button, else the first
/// one; null when there is no button.
HWND ConfirmingButton(HWND box);

}  // namespace kandora::simulators
