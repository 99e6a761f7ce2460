// The value that guards the stack, and what happens when a function overruns its own.

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstdint>
#include <set>

#include "tests/component/ToldStackGuard.h"
#include "tests/support/StartedProgram.h"

extern "C" std::uintptr_t __stack_chk_guard;  // NOLINT(bugprone-reserved-identifier): the compiler's name

namespace kandora::component_tests {

int ToldStackGuard() {
    const auto guard = static_cast<std::uint64_t>(__stack_chk_guard);
    return static_cast<int>(static_cast<std::uint32_t>(guard ^ (guard >> 32)));
}

namespace {

constexpr std::size_t placeSize = 16;

/// Writes `size` bytes into a place for fewer. The compiler puts the place next to the guard, with no or some
/// unused bytes between the two.
template <std::size_t size>
[[gnu::noinline, gnu::no_sanitize("undefined")]] void Overrun() {
    std::array<char, placeSize> place{};
    volatile char* const begin = place.data();
    for (std::size_t at = 0; at < size; ++at) {
        begin[at] = 'x';
    }
}

TEST(StackGuardDeathTest, AnOverrunFunctionEndsTheProcess) {
    constexpr auto overrun = static_cast<int>(0xC0000409);  // STATUS_STACK_BUFFER_OVERRUN
    EXPECT_EXIT(Overrun<placeSize + 2 * sizeof(std::uintptr_t)>(), testing::ExitedWithCode(overrun), "");
}

TEST(StackGuardDeathTest, AFullPlaceIsNoOverrun) {
    EXPECT_EXIT(
        {
            Overrun<placeSize>();
            std::exit(34);
        },
        testing::ExitedWithCode(34), "");
}

int GuardOfANewProcess() {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    test::StartedProgram program({L"\"" + std::wstring(self.data()) + L"\" " + tellStackGuard});
    EXPECT_TRUE(program.Ends());
    return static_cast<int>(program.ExitCode());
}

TEST(StackGuard, IsAnotherOneInEachProcess) {
    const std::set<int> told{ToldStackGuard(), GuardOfANewProcess(), GuardOfANewProcess()};
    EXPECT_EQ(told.size(), 3U);
}

TEST(StackGuard, CannotBeCarriedByAText) {
    EXPECT_EQ(__stack_chk_guard & 0xFF, 0U);
    EXPECT_NE(__stack_chk_guard, 0U);
}

}  // namespace
}  // namespace kandora::component_tests
