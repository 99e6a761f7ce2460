#include <gtest/gtest.h>

#include "tests/kit/PlayedProgram.h"

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    if (const auto played = kandora::kit_tests::PlayedProgram(count, arguments)) {
        return *played;
    }
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
