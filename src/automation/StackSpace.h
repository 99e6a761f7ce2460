#pragma once

#include <cstddef>

#include "automation/Work.h"

namespace kandora {

/// Bytes that are left of the calling thread's stack, the few pages at its end that the system keeps
/// included.
std::size_t StackLeft() noexcept;

/// True when at least so much of it is left. Quicker to tell than how much it is.
bool HasStackFor(std::size_t bytes) noexcept;

/// Bytes of the stack that a request needs, those of the system's functions (a message box, say) included.
inline constexpr std::size_t requestStack = std::size_t{64} * 1024;
/// Bytes that must be left when nested values are followed further.
inline constexpr std::size_t nestingStack = std::size_t{32} * 1024;

/// Runs a piece of work on a thread with a stack of its own, while the calling one waits; its errors are
/// lost. Does nothing when there is no such thread to be had.
void OnAnotherStack(Work work) noexcept;

}  // namespace kandora
