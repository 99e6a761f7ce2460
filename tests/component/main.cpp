#include "Host.h"
#include "Inside.h"

#include <gtest/gtest.h>

#include <shellapi.h>

#include <iostream>

namespace {

std::vector<std::wstring> Arguments() {
    int count = 0;
    wchar_t** const given = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> arguments(given + 1, given + count);
    LocalFree(given);
    return arguments;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kandora::component_tests;
    std::vector<std::wstring> arguments = Arguments();
    if (!arguments.empty() && arguments.front() == playHost) {
        try {
            arguments.erase(arguments.begin());
            return PlayHost(arguments);
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
