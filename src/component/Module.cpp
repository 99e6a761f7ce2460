#include "component/Module.h"

#include <atomic>

namespace kandora::module {

namespace {

std::atomic<long> uses = 0;

}  // namespace

void Retain() noexcept {
    ++uses;
}

void Release() noexcept {
    --uses;
}

bool IsUnused() noexcept {
    return uses == 0;
}

void Pin() noexcept {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&Pin), &self);
}

}  // namespace kandora::module
