#include <gtest/gtest.h>

#include "interfaces/Apartment.h"
#include "tests/support/FakeObject.h"

namespace {

/// When a test ends, neither it nor the component that it drove may still hold a fake.
class LeakCheck final : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(kandora::test::FakeObject::Alive() - before_, 0)
            << "automation objects are still referenced";
        before_ = kandora::test::FakeObject::Alive();
    }

    int before_ = 0;
};

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): a program that gets no COM ends
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    const kandora::Apartment apartment;
    return RUN_ALL_TESTS();
}
