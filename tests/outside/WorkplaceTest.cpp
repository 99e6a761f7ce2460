#include "tests/outside/Workplace.h"
#include "tests/outside/Course.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>

// What one case does to its programs must not affect the next one.
namespace kandora::outside_tests {
namespace {

std::vector<std::string> FailuresOf(const std::function<void()>& body) {
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        body();
    }
    std::vector<std::string> failures;
    for (int at = 0; at < results.size(); ++at) {
        failures.emplace_back(results.GetTestPartResult(at).message());
    }
    return failures;
}

void ExpectWholeCourse() {
    const Workplace place;
    const User user;
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const Ended course =
        RunProgram(self.data(), {playCourse, throughVtable, place.File(L"Beleg.pdf").wstring()});
    EXPECT_EQ(course.exitCode, 0U);
    EXPECT_TRUE(course.output.ends_with("Ende\r\n")) << course.output;
    EXPECT_GT(place.Traced("Login("), 0) << "another archive was asked";
}

TEST(WorkplaceItself, LeavesNothingOfADirtyCaseToTheNextOne) {
    const std::vector<std::string> failures = FailuresOf([] {
        Workplace place;
        place.ArchiveProgram().Kill();
        place.AccountingProgram().Freeze();
        place.LosePatience();
    });
    ASSERT_EQ(failures.size(), 1U) << Joined(failures);
    EXPECT_NE(failures[0].find("HostSimulator.exe does not end; it is ended by force"), std::string::npos)
        << failures[0];
    ExpectWholeCourse();
}

}  // namespace
}  // namespace kandora::outside_tests
