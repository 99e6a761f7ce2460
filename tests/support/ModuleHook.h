#pragma once

#include <windows.h>

#include "tests/support/Unique.h"

namespace kandora::test {

/// Puts a function of ours in the place of one that a loaded module imports, for as long as the hook lives.
/// Only that module's own calls are diverted.
class ModuleHook : Unique {
public:
    /// Throws std::runtime_error when the module does not import the function.
    ModuleHook(HMODULE module, const char* library, const char* function, void* replacement);
    ~ModuleHook();

private:
    void** place_ = nullptr;
    void* original_ = nullptr;
};

}  // namespace kandora::test
