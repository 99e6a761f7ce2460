#include "tests/component/ComponentSupport.h"
#include "tests/outside/Course.h"
#include "tests/outside/WorkplaceProcess.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    using namespace kandora::outside_tests;
    const std::vector<std::wstring> arguments = kandora::component_tests::OwnArguments();
    if (arguments.size() == 3 && arguments[0] == playCourse) {
        try {
            return PlayCourse(arguments[1], arguments[2]);
        } catch (const std::exception& error) {
            std::cerr << error.what();
            return 1;
        }
    }
    // The others run only in processes that other tests start for them, by name.
    testing::GTEST_FLAG(filter) = insideTests;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
