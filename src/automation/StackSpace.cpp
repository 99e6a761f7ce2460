#include "automation/StackSpace.h"

#include <windows.h>

namespace kandora {

namespace {

constexpr std::size_t otherStack = 512U * 1024;  // bytes

DWORD WINAPI Run(void* work) {
    try {
        (*static_cast<const Work*>(work))();
    } catch (...) {
        return 1;
    }
    return 0;
}

}  // namespace

std::size_t StackLeft() noexcept {
    MEMORY_BASIC_INFORMATION stack{};
    VirtualQuery(&stack, &stack, sizeof stack);
    return reinterpret_cast<std::uintptr_t>(&stack) - reinterpret_cast<std::uintptr_t>(stack.AllocationBase);
}

void OnAnotherStack(Work work) noexcept {
    const HANDLE thread =
        CreateThread(nullptr, otherStack, Run, &work, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread != nullptr) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

}  // namespace kandora
