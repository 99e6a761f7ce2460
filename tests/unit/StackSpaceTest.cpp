#include "automation/StackSpace.h"

#include <array>
#include <cstdint>

#include <gtest/gtest.h>

#include <windows.h>

namespace kandora::test {
namespace {

constexpr std::size_t megabyte = 1024U * 1024;
/// More than any thread's stack.
constexpr std::size_t endless = 1024 * megabyte;

/// The limits of its stack as the system knows them; what they were comes back with the object's end.
class KnownLimits {
public:
    KnownLimits() : limit_(block_.StackLimit), base_(block_.StackBase) {}
    ~KnownLimits() { Set(limit_, base_); }
    KnownLimits(const KnownLimits&) = delete;
    KnownLimits& operator=(const KnownLimits&) = delete;

    void Set(void* limit, void* base) {
        block_.StackLimit = limit;
        block_.StackBase = base;
    }
    [[nodiscard]] void* Base() const { return base_; }

private:
    NT_TIB& block_ = *reinterpret_cast<NT_TIB*>(NtCurrentTeb());
    void* limit_;
    void* base_;
};

TEST(StackSpace, IsAllThatTheSystemHasReserved) {
    EXPECT_TRUE(HasStackFor(0));
    EXPECT_TRUE(HasStackFor(requestStack));
    EXPECT_TRUE(HasStackFor(StackLeft() / 2));
    EXPECT_FALSE(HasStackFor(StackLeft() + megabyte));
    EXPECT_FALSE(HasStackFor(endless));
}

TEST(StackSpace, IsMoreThanWhatHasBeenUsedOnce) {
    KnownLimits known;
    const int here = 0;
    known.Set(const_cast<int*>(&here) - 1024, known.Base());
    EXPECT_TRUE(HasStackFor(requestStack));
    EXPECT_FALSE(HasStackFor(StackLeft() + megabyte));
}

TEST(StackSpace, IsAskedOfTheSystemOnAStackThatItDoesNotKnow) {
    static std::array<char, 16> elsewhere{};
    KnownLimits known;
    for (const std::uintptr_t begin : {reinterpret_cast<std::uintptr_t>(elsewhere.data()), std::uintptr_t{0},
                                       reinterpret_cast<std::uintptr_t>(known.Base())}) {
        known.Set(reinterpret_cast<void*>(begin), reinterpret_cast<void*>(begin + elsewhere.size()));
        EXPECT_TRUE(HasStackFor(requestStack)) << begin;
        EXPECT_FALSE(HasStackFor(StackLeft() + megabyte)) << begin;
    }
}

/// What a fiber of two megabytes finds, and where it goes on.
struct OnAFiber {
    void* thread = nullptr;
    bool hasSome = false;
    bool hasMore = true;

    static void WINAPI Run(void* given) {
        auto* const answers = static_cast<OnAFiber*>(given);
        answers->hasSome = HasStackFor(requestStack);
        answers->hasMore = HasStackFor(3 * megabyte);
        SwitchToFiber(answers->thread);
    }
};

TEST(StackSpace, IsThatOfTheFiberThatRuns) {
    OnAFiber answers;
    answers.thread = ConvertThreadToFiber(nullptr);
    ASSERT_NE(answers.thread, nullptr);
    void* const fiber = CreateFiberEx(megabyte, 2 * megabyte, 0, &OnAFiber::Run, &answers);
    ASSERT_NE(fiber, nullptr);
    SwitchToFiber(fiber);
    DeleteFiber(fiber);
    ConvertFiberToThread();
    EXPECT_TRUE(answers.hasSome);
    EXPECT_FALSE(answers.hasMore);
}

TEST(StackSpace, OfAnotherThreadServesAPieceOfWork) {
    std::uintptr_t there = 0;
    bool hasRoom = false;
    OnAnotherStack([&] {
        const int here = 0;
        there = reinterpret_cast<std::uintptr_t>(&here);
        hasRoom = HasStackFor(requestStack);
    });
    const int here = 0;
    EXPECT_NE(there, 0U);
    EXPECT_NE(there / megabyte, reinterpret_cast<std::uintptr_t>(&here) / megabyte);
    EXPECT_TRUE(hasRoom);
}

}  // namespace
}  // namespace kandora::test
