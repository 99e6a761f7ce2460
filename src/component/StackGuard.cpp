// The value between a function's arrays and its return address, and the end of a process in which it was
// overwritten. They replace those of the toolchain's library, which asks a provider of cryptography for the
// value (that opens files, registry keys and libraries while the loader holds its lock) and ends the process
// with words for a console.

#include <array>
#include <cstdint>

#include <windows.h>

namespace kandora {

namespace {

/// Spreads each bit over the whole word.
std::uint64_t Mixed(std::uint64_t word) {
    word = (word ^ (word >> 30)) * 0xBF58476D1CE4E5B9;
    word = (word ^ (word >> 27)) * 0x94D049BB133111EB;
    return word ^ (word >> 31);
}

std::uint64_t NumberOf(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

/// Differs from process to process in a way that nobody outside can tell: clocks to their last digit and
/// addresses.
std::uint64_t Chance() {
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    const std::array<std::uint64_t, 6> sources{
        static_cast<std::uint64_t>(counter.QuadPart),
        (static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime,
        __builtin_ia32_rdtsc(),
        (static_cast<std::uint64_t>(GetCurrentProcessId()) << 32) | GetCurrentThreadId(),
        NumberOf(&counter),
        NumberOf(reinterpret_cast<const void*>(&Chance)),
    };
    std::uint64_t chance = 0;
    for (const std::uint64_t source : sources) {
        chance = Mixed(chance + 0x9E3779B97F4A7C15 + source);
    }
    return chance;
}

}  // namespace

}  // namespace kandora

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler's names
extern "C" {

/// Guarded functions compare with it before they return. Never 0.
std::uintptr_t __stack_chk_guard = 0xFF0A0D00;

[[noreturn]] void __stack_chk_fail() {
    // Fast failure: the system ends the process with STATUS_STACK_BUFFER_OVERRUN and asks no handler, whose
    // address may be what was overwritten.
    constexpr int stackCookieFailure = 2;
    asm volatile("movl %0, %%ecx\n\tint $0x29" : : "i"(stackCookieFailure) : "ecx", "memory");
    __builtin_unreachable();
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

/// The lowest byte, which is the first in memory, is 0: a text that is too long ends there and cannot carry
/// the value. The byte above is odd, so that the value is never 0.
__attribute__((constructor(101), no_stack_protector)) void SeedStackGuard() {
    constexpr std::uintptr_t endOfTexts = 0xFF;
    const auto chance = static_cast<std::uintptr_t>(kandora::Chance());
    __stack_chk_guard = (chance | (endOfTexts + 1)) & ~endOfTexts;
}

}  // namespace
