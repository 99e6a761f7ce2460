#include <iostream>

#include <gtest/gtest.h>

#include "tests/faults/Sweep.h"

namespace kandora::test {
namespace {

/// Reports at the end of the program what it did.
class Summary final : public testing::Environment {
public:
    void TearDown() override {
        std::cout << "fault sweep: " << Counts().cases << " cases\n";
        for (const auto& [what, times] : Counts().halfDone) {
            std::cout << "    " << what << ": " << times << "\n";
        }
    }
};

const testing::Environment* const summary = testing::AddGlobalTestEnvironment(new Summary);

class FaultSweep : public testing::TestWithParam<Variation> {};

INSTANTIATE_TEST_SUITE_P(Requests, FaultSweep, testing::ValuesIn(Variations()),
                         [](const auto& variation) { return variation.param.name; });

TEST_P(FaultSweep, NothingIsLostAndTheHostIsNotHarmed) {
    Sweep sweep(GetParam());
    const Complaints clean = sweep.Rehearse();
    ASSERT_TRUE(clean.empty()) << Joined(clean);
    const Complaints complaints = sweep.RunAll();
    EXPECT_TRUE(complaints.empty()) << Joined(complaints);
}

}  // namespace
}  // namespace kandora::test
