// The host's metadata, of every kind that an automation value can be and of many that it cannot.

#include <gtest/gtest.h>

#include <iostream>

#include "support/MString.h"
#include "tests/badinput/Requests.h"
#include "tests/badinput/Troublemakers.h"
#include "tests/protocol/ProviderFixture.h"
#include "tools/check/ForwardingPlatform.h"

namespace kandora::test {
namespace {

constexpr const wchar_t* docId = L"20261115011258";

/// What the user and the log saw of a request.
struct Seen {
    int boxes = 0;
    int logged = 0;
    std::string firstBox;
};

Seen Look(const Lines& lines) {
    Seen seen;
    for (const std::string& line : lines) {
        if (line.starts_with("box ")) {
            seen.firstBox = seen.boxes++ == 0 ? line : seen.firstBox;
        }
        seen.logged += line.starts_with("log ") ? 1 : 0;
    }
    return seen;
}

class Metadata : public StartedProviderTest {
protected:
    Metadata() {
        SetIni("Debug", "Test", "True");
        State().settings.gbDebug = true;
        hits = {4711};
        // The document is in the archive, whichever way it is looked for.
        archive->Answers(L"getobjAttrib", [](Call& call) {
            const std::int32_t position = call.LongAt(0) % 20;
            return position == 12 ? Variant(L"1001") : position == 13 ? Variant(L"1") : Variant(docId);
        });
    }

    /// Sends the value with every request. Each writes its line into the log and shows at most one box, which
    /// tells number and procedures; afterwards no error is left in the record.
    void SendEverywhere(const std::string& name, const VARIANT& value) {
        for (const HostRequest& request : RequestsWithMetadata()) {
            request.send(Provider(), docId, Variant(value));
            const Seen seen = Look(talk.Take());
            ASSERT_EQ(seen.logged, 1) << request.name << " with " << name << ": " << seen.firstBox;
            ASSERT_LE(seen.boxes, request.readsMetadata ? 1 : 0) << request.name << " with " << name;
            if (seen.boxes > 0) {
                ASSERT_NE(seen.firstBox.find("| CALLSTACK: "), std::string::npos) << seen.firstBox;
                ASSERT_NE(seen.firstBox.find(std::string("Kandora.") + request.name), std::string::npos)
                    << seen.firstBox;
            }
            ASSERT_EQ(Globals().goErrHandler().lOriginalNumber(), 0) << request.name << " with " << name;
        }
        machine.appended.clear();
        archive->ForgetAsked();
    }
};

TEST_F(Metadata, OfEveryKindIsTakenByEveryRequest) {
    for (const Troublemaker& troublemaker : Troublemakers()) {
        Given given;
        troublemaker.make(given);
        SendEverywhere(troublemaker.name, given.value);
        if (HasFatalFailure()) {
            return;
        }
    }
    RecordProperty("kinds", static_cast<int>(Troublemakers().size()));
    std::cout << Troublemakers().size() << " kinds of metadata with " << RequestsWithMetadata().size()
              << " requests\n";
}

TEST_F(Metadata, MayHoldAnElementOfEveryKind) {
    for (const Troublemaker& troublemaker : Troublemakers()) {
        Given element;
        troublemaker.make(element);
        for (std::size_t at = 0; at < 5; ++at) {
            Given given;
            MakeVoucher(given, at, element.value);
            SendEverywhere(troublemaker.name + " in place " + std::to_string(at), given.value);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_F(Metadata, IsTakenHoweverItComes) {
    Random random(20261121);
    constexpr int times = 3000;
    for (int i = 0; i < times; ++i) {
        Given given;
        if (i % 2 == 0) {
            MakeRandom(given, random);
            SendEverywhere("random value " + std::to_string(i), given.value);
        } else {
            Given element;
            MakeRandom(element, random);
            MakeVoucher(given, Below(random, 5), element.value);
            SendEverywhere("voucher with random value " + std::to_string(i), given.value);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(Metadata, GoodOnesStillWorkAfterwards) {
    Given bad;
    bad.value.vt = VT_BYREF | VT_VARIANT;
    bad.value.pvarVal = &bad.value;
    Provider().SaveDocument(docId, Variant(bad.value));
    talk.Take();
    Provider().SaveDocument(docId, VoucherMetadata());
    const Lines said = talk.Take();
    EXPECT_EQ(Look(said).boxes, 0);
    EXPECT_EQ(Occurrences(said, "archive.MoveToArchive(BSTR \"#800\") -> I4 1"), 1);
}

/// A machine that only counts what is written.
class CountingPlatform final : public check::ForwardingPlatform {
public:
    using ForwardingPlatform::ForwardingPlatform;
    void AppendToFile(const Text& path, const std::string& bytes) override {
        files_ += path.empty() ? 0 : 1;
        endings_ += bytes.ends_with("\r\n") ? 1 : 0;
    }
    [[nodiscard]] int Lines() const { return endings_; }

private:
    int files_ = 0;
    int endings_ = 0;
};

TEST(Tracing, TakesAMillionRandomValues) {
    constexpr int values = 1'000'000;
    constexpr std::uint32_t seed = 4711;
    Conversation talk;
    FakePlatform machine(talk);
    FakeUserInterface screen(talk);
    CountingPlatform counting(machine);
    MGlobals globals(counting, screen);
    const auto provider = std::make_shared<ELOProvider>(globals);
    globals.state.settings.gbDebug = true;
    Random random(seed);
    for (int i = 0; i < values; ++i) {
        Given given;
        MakeRandom(given, random);
        provider->SetDocumentStatus(docId, Variant(given.value));
        ASSERT_EQ(counting.Lines(), i + 1) << "value " << i << " of seed " << seed;
    }
    EXPECT_EQ(talk.Said(), Lines()) << "no box";
    std::cout << values << " random values traced, seed " << seed << "\n";
}

TEST(Rendering, EndsForAListThatHoldsItselfManyTimes) {
    const Fake list("list");
    list->Enumerates({list.AsVariant(), list.AsVariant(), list.AsVariant()});
    const Fake outer("outer");
    outer->Enumerates({list.AsVariant(), list.AsVariant()});
    EXPECT_EQ(Spelled(ToText(outer.AsVariant())), "[[(...), (...), (...)], [(...), (...), (...)]]");
    list->Enumerates({});
    outer->Enumerates({});
}

TEST(Rendering, TellsTheTypeOfAnArrayThatCannotBeRead) {
    Given given;
    given.value.vt = VT_ARRAY | VT_VARIANT;
    SAFEARRAYBOUND bound{5, 0};
    given.value.parray = SafeArrayCreate(VT_UI1, 1, &bound);
    given.value.parray->fFeatures = 0;
    EXPECT_EQ(Spelled(ToText(Variant(given.value))), "(Typ 8204)");
}

}  // namespace
}  // namespace kandora::test
