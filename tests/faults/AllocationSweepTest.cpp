#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <new>

#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

#include "interfaces/ComObject.h"
#include "tests/faults/Sweep.h"
#include "tests/support/PassingMallocSpy.h"
#include "tests/support/Rendering.h"
#include "tests/support/Unique.h"

namespace {

/// Whose memory allocations fail, and when.
struct Scarcity {
    const kandora::test::Conductor* conductor = nullptr;  ///< null: there is plenty
    std::size_t made = 0;
    std::size_t failsFrom = 0;  ///< number of the first that fails (from 1 on); 0: none
    std::size_t failsTo = 0;    ///< number of the last one
};

Scarcity scarcity;

/// Counts an allocation and tells whether it fails. Only what the component asks for counts, not what the
/// fakes need.
bool Fails() {
    if (scarcity.conductor == nullptr || scarcity.conductor->IsOutside()) {
        return false;
    }
    const std::size_t number = ++scarcity.made;
    return number >= scarcity.failsFrom && number <= scarcity.failsTo;
}

void* Allocated(std::size_t size) {
    if (Fails()) {
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

/// The same for automation's own memory: texts and arrays. The program has to be started with the
/// environment variable OANOCACHE set, or texts come out of a cache.
class TextMemory final : public kandora::test::PassingMallocSpy {
public:
    /// A size of 0 makes the allocation fail.
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override { return Fails() ? 0 : size; }
};

TextMemory textMemory;

}  // namespace

void* operator new(std::size_t size) {
    return Allocated(size);
}
void* operator new[](std::size_t size) {
    return Allocated(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace kandora::test {
namespace {

constexpr std::size_t enoughComplaints = 20;

class Summary final : public testing::Environment {
public:
    void SetUp() override { ASSERT_EQ(CoRegisterMallocSpy(&textMemory), S_OK); }
    void TearDown() override { std::cout << "allocation sweep: " << Counts().cases << " cases\n"; }
};

const testing::Environment* const summary = testing::AddGlobalTestEnvironment(new Summary);

/// For as long as it lives, allocations are counted, and those from the first to the last number fail.
class Shortage : Unique {
public:
    Shortage(const Conductor& conductor, std::size_t first, std::size_t last) {
        scarcity = {&conductor, 0, first, last};
    }
    ~Shortage() { scarcity.conductor = nullptr; }
};

/// The request with a shortage; false when an exception reached the host.
bool Ask(Stage& stage, std::size_t first, std::size_t last, Variant& result) {
    const Request request = RequestOf(stage.variation);
    stage.conductor.Begin();
    bool isWell = true;
    try {
        const Shortage shortage(stage.conductor, first, last);
        result = stage.Ask(request);
    } catch (...) {
        isWell = false;
    }
    stage.conductor.End();
    return isWell;
}

std::ptrdiff_t ErrorBoxes(const Stage& stage) {
    return std::ranges::count_if(stage.conductor.boxes, [](const Box& box) {
        return box.IsErrorBox() && !box.prompt.starts_with(L"[0] ");
    });
}

class AllocationSweep : public testing::TestWithParam<Variation> {
protected:
    /// Counts the allocations of the request, and the objects that exist after it was sent twice.
    void Rehearse() {
        const int before = FakeObject::Alive();
        Stage stage(GetParam());
        Variant result;
        ASSERT_TRUE(Ask(stage, 0, 0, result));
        allocations_ = scarcity.made;
        ASSERT_GT(allocations_, 0U);
        ASSERT_TRUE(Ask(stage, 0, 0, result));
        alive_ = FakeObject::Alive() - before;
    }

    Complaints Run(std::size_t first, std::size_t last) {
        Complaints complaints;
        ++Counts().cases;
        std::string story;
        const int before = FakeObject::Alive();
        {
            Stage stage(GetParam());
            const Entries entries = stage.archive.entries;
            stage.archive.filed = 0;
            Variant result;
            if (!Ask(stage, first, last, result)) {
                complaints.emplace_back("an exception reached the host");
            }
            if (scarcity.made < first) {
                complaints.emplace_back("no allocation failed");
            }
            CheckOutcome(stage, entries, first == last, complaints);
            for (const Box& box : stage.conductor.boxes) {
                story += "\n    box " + Quoted(box.prompt);
            }
            CheckRepetition(stage, before, complaints);
        }
        if (FakeObject::Alive() != before) {
            complaints.emplace_back("objects are still referenced");
        }
        if (!complaints.empty()) {
            complaints.insert(complaints.begin(), "allocation " + std::to_string(first) +
                                                      (first == last ? "" : " and all that follow") + story);
        }
        return complaints;
    }

    std::size_t allocations_ = 0;

private:
    static void CheckOutcome(Stage& stage, const Entries& before, bool isOne, Complaints& complaints) {
        const Entries& after = stage.archive.entries;
        const bool isDone = SameContent(after, stage.After(before));
        const bool isUnchanged = SameContent(after, before);
        // A lost allocation can pass for a lost session, and the archive's hits are lost with it.
        const bool isUnfound = SameContent(after, stage.AfterWhenNotFound(before));
        if (!isDone && !isUnchanged && !isUnfound) {
            complaints.push_back("the archive holds\n" + Told(after));
        }
        if (stage.archive.filed > 1) {
            complaints.emplace_back("filed twice");
        }
        CheckBystanders(before, after, complaints);
        CheckNothingIsLeft(stage, complaints);
        const std::ptrdiff_t errors = ErrorBoxes(stage);
        if (errors > 1) {
            complaints.push_back(std::to_string(errors) + " error boxes");
        }
        const bool mustBeTold = isOne && (stage.variation.request == "SaveDocument" ||
                                          stage.variation.request == "PrintDocument");
        if (mustBeTold && !isDone && errors != 1) {
            complaints.emplace_back("not filed, and nobody was told");
        }
    }

    void CheckRepetition(Stage& stage, int aliveBefore, Complaints& complaints) const {
        const Entries before = stage.archive.entries;
        Variant result;
        if (!Ask(stage, 0, 0, result)) {
            complaints.emplace_back("an exception reached the host when the request was repeated");
        }
        if (ErrorBoxes(stage) != 0) {
            complaints.push_back("the repeated request fails: " +
                                 Spelled(stage.conductor.boxes.front().prompt));
        }
        if (!SameContent(stage.archive.entries, stage.After(before))) {
            complaints.push_back("after the repetition the archive holds\n" + Told(stage.archive.entries));
        }
        if (FakeObject::Alive() - aliveBefore != alive_) {
            complaints.push_back(std::to_string(FakeObject::Alive() - aliveBefore) + " objects instead of " +
                                 std::to_string(alive_));
        }
    }

    int alive_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Requests, AllocationSweep, testing::ValuesIn(Variations()),
                         [](const auto& variation) { return variation.param.name; });

TEST_P(AllocationSweep, NothingIsLostAndTheHostIsNotHarmed) {
    Rehearse();
    Complaints all;
    for (std::size_t number = 1; number <= allocations_ && all.size() < enoughComplaints; ++number) {
        for (const std::size_t last : {number, SIZE_MAX}) {
            const Complaints found = Run(number, last);
            all.insert(all.end(), found.begin(), found.end());
        }
    }
    std::string text;
    for (const std::string& complaint : all) {
        text += complaint + "\n";
    }
    EXPECT_TRUE(all.empty()) << text;
}

TEST(AllocationHarness, NoticesThatNothingFails) {
    Stage stage(VariationCalled("Status"));
    Variant result;
    ASSERT_TRUE(Ask(stage, 0, 0, result));
    EXPECT_GT(scarcity.made, 0U) << "the component's allocations are counted";
    EXPECT_TRUE(stage.conductor.boxes.empty());
    ASSERT_TRUE(Ask(stage, 1, 1, result));
    EXPECT_EQ(ErrorBoxes(stage), 1) << "an allocation that fails is told";
}

TEST(AllocationHarness, CountsTheMemoryOfTexts) {
    const Conductor conductor;
    for (const bool isScarce : {false, true}) {
        const Shortage shortage(conductor, isScarce ? 1 : 0, isScarce ? 1 : 0);
        BSTR text = SysAllocString(L"Ein Text");
        EXPECT_EQ(scarcity.made, 1U);
        EXPECT_EQ(text == nullptr, isScarce);
        SysFreeString(text);
    }
}

}  // namespace
}  // namespace kandora::test
