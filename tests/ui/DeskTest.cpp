#include <gtest/gtest.h>

#include <algorithm>

#include "tests/ui/Desk.h"

namespace kandora::ui_tests {
namespace {

TEST(HostThreads, WorkInTurns) {
    constexpr int rounds = 50;
    std::atomic<int> atWork = 0;
    std::atomic<int> most = 0;
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            most = std::max<int>(most, ++atWork);
            ::Sleep(1);
            --atWork;
            Pause();
        }
    };
    const HostThread first(work);
    const HostThread second(work);
    EXPECT_TRUE(first.Ends());
    EXPECT_TRUE(second.Ends());
    EXPECT_EQ(most, 1);
}

/// The second one works although the first one never ends by itself.
TEST(HostThreads, AreThereAtOnce) {
    std::atomic<int> served = 0;
    const HostThread waiting([&] {
        ServeWindows();
        ++served;
    });
    const HostThread other([&] { ++served; });
    EXPECT_TRUE(other.Ends());
    EXPECT_EQ(served, 1);
    PostThreadMessageW(waiting.Id(), WM_QUIT, 0, 0);
    EXPECT_TRUE(waiting.Ends());
    EXPECT_EQ(served, 2);
}

}  // namespace
}  // namespace kandora::ui_tests
