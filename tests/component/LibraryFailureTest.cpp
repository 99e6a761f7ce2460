// How failures that the C++ library raises itself end in the component: as errors with a number, without
// texts of the library's own.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "automation/Errors.h"
#include "tests/component/ToldStackGuard.h"

namespace kandora::component_tests {
namespace {

/// The number under which the component tells of what the action raises.
template <class Action>
std::int32_t Told(Action&& action) {
    try {
        action();
    } catch (...) {
        return CurrentError().Number();
    }
    return 0;
}

constexpr std::size_t tooMuch = std::numeric_limits<std::size_t>::max();

TEST(LibraryFailures, OfMemoryAreTheMissingMemory) {
    EXPECT_EQ(Told([] { static_cast<void>(std::allocator<int>().allocate(tooMuch / 2)); }), 7);
    EXPECT_EQ(Told([] { static_cast<void>(std::allocator<int>().allocate(tooMuch / 4 + 2)); }), 7);
    EXPECT_EQ(Told([] { std::__throw_bad_alloc(); }), 7);
    EXPECT_EQ(Told([] { std::__throw_bad_array_new_length(); }), 7);
}

TEST(LibraryFailures, OfUseAreInternalErrors) {
    EXPECT_EQ(Told([] { std::vector<int>().reserve(tooMuch); }), errors::internal);
    EXPECT_EQ(Told([] { static_cast<void>(std::wstring().at(1)); }), errors::internal);
    EXPECT_EQ(Told([] { std::function<void()>()(); }), errors::internal);
    EXPECT_EQ(Told([] { std::__throw_logic_error("never seen"); }), errors::internal);
}

void EndQuietly(int /*signal*/) {
    std::exit(33);
}

TEST(LibraryFailuresDeathTest, EndingTheProcessTellsNothing) {
    EXPECT_EXIT(
        {
            std::signal(SIGABRT, EndQuietly);
            std::terminate();
        },
        testing::ExitedWithCode(33), "^$");
}

}  // namespace
}  // namespace kandora::component_tests

int main(int argc, char** argv) {
    if (argc == 2 && std::wstring(kandora::component_tests::tellStackGuard) ==
                         std::wstring(argv[1], argv[1] + std::strlen(argv[1]))) {
        return kandora::component_tests::ToldStackGuard();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
