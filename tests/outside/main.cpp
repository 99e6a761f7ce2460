#include "Course.h"
#include "Inside.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <shellapi.h>

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    using namespace kandora::outside_tests;
    int count = 0;
    wchar_t** const given = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::vector<std::wstring> arguments(given + 1, given + count);
    LocalFree(given);
    if (arguments.size() == 3 && arguments[0] == playCourse) {
        try {
            return PlayCourse(arguments[1], arguments[2]);
        } catch (const std::exception& error) {
            std::cerr << error.what();
            return 1;
        }
    }
    // They are told by name in the processes that other tests start for them.
    testing::GTEST_FLAG(filter) = insideTests;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
