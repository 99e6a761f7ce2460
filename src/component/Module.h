#pragma once

#include <windows.h>

namespace kandora::module {

/// Counts what keeps the module loaded: objects, locks of the host and thread states.
void Retain() noexcept;
void Release() noexcept;
[[nodiscard]] bool IsUnused() noexcept;

/// Keeps the module loaded until the process ends. Each unloading would leak a slot of thread storage of the
/// C++ library, and a process has few of them.
void Pin() noexcept;

/// Retains the module for as long as it lives.
class Use {
public:
    Use() noexcept { Retain(); }
    ~Use() { Release(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
};

}  // namespace kandora::module
