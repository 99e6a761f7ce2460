#include "automation/StackSpace.h"

#include <windows.h>

namespace kandora {

namespace {

constexpr std::size_t otherStack = std::size_t{512} * 1024;  // bytes

/// The calling thread's block, whose beginning is public. Not by the headers' NtCurrentTeb: compilers take
/// its address for one near null and warn.
const NT_TIB& ThreadBlock() noexcept {
    const NT_TIB* block = nullptr;
#ifdef _WIN64
    asm("movq %%gs:0x30, %0" : "=r"(block));
#else
    asm("movl %%fs:0x18, %0" : "=r"(block));
#endif
    return *block;
}

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

bool HasStackFor(std::size_t bytes) noexcept {
    // What has been used of the stack once stays committed. Whoever is on a stack that the system does not
    // know lies outside these limits.
    const NT_TIB& block = ThreadBlock();
    const auto here = reinterpret_cast<std::uintptr_t>(&bytes);
    const auto committed = reinterpret_cast<std::uintptr_t>(block.StackLimit);
    const bool isHere = here >= committed && here < reinterpret_cast<std::uintptr_t>(block.StackBase);
    return (isHere && here - committed >= bytes) || StackLeft() >= bytes;
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
