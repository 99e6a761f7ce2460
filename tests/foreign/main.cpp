#include <gtest/gtest.h>

#include <windows.h>
#include <shellapi.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include "ForeignTest.h"
#include "Surroundings.h"

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
    std::ofstream(file, std::ios::binary) << told;
    return testing::UnitTest::GetInstance()->ad_hoc_test_result().Failed() ? 1 : 0;
}

}  // namespace
}  // namespace kandora::foreign_tests

int main(int argc, char** argv) {
    using namespace kandora::foreign_tests;
    int count = 0;
    wchar_t** const given = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::vector<std::wstring> arguments(given + 1, given + count);
    LocalFree(given);
    testing::InitGoogleTest(&argc, argv);
    if (arguments.size() == 3 && arguments[0] == playCourse) {
        return PlayIn(kandora::component_tests::Utf8(arguments[1]), arguments[2]);
    }
    return RUN_ALL_TESTS();
}
