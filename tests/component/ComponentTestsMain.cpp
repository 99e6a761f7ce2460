#include "tests/component/Host.h"
#include "tests/component/OwnProcess.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    using namespace kandora::component_tests;
    if (const auto played = PlayedHost()) {
        return *played;
    }
    // The others run only in processes that other tests start for them, by name.
    testing::GTEST_FLAG(filter) = insideTests;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
