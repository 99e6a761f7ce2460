#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <vector>

#include "interfaces/CodePages.h"
#include "tests/foreign/ForeignSurroundings.h"
#include "tests/foreign/PlayCourse.h"

namespace kandora::foreign_tests {
namespace {

/// Returns 0 when everything that the surroundings expect has come true.
int PlayIn(const std::string& name, const fs::path& file) {
    const auto surroundings =
        std::ranges::find_if(AllSurroundings(), [&](const Surroundings& each) { return each.name == name; });
    if (surroundings == AllSurroundings().end() && name != littleStack) {
        return 2;
    }
    std::string told;
    {
        Stage stage;
        told = name == littleStack ? SendOnLittleStack(stage) : surroundings->play(stage);
    }
    test::WriteBytes(file, told);
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}

}  // namespace
}  // namespace kandora::foreign_tests

int main(int argc, char** argv) {
    using namespace kandora::foreign_tests;
    const std::vector<std::wstring> arguments = kandora::component_tests::OwnArguments();
    testing::InitGoogleTest(&argc, argv);
    if (arguments.size() == 3 && arguments[0] == playCourse) {
        return PlayIn(kandora::Utf8FromText(arguments[1]), arguments[2]);
    }
    return RUN_ALL_TESTS();
}
