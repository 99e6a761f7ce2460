#include "interfaces/CodePages.h"
#include "tests/outside/Workplace.h"
#include "tests/outside/WorkplaceProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "Kandora.h"

// Objects that come and go, and what they leave behind.
namespace kandora::outside_tests {
namespace {

/// Runs one of the tests for apartments in a process of its own, at a workplace.
void ExpectInside(const std::wstring& test) {
    const Workplace place;
    const User user;
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    SetEnvironmentVariableW(traceVariable, place.File(L"Gespräch.txt").c_str());
    const Ended ended = RunProgram(self.data(), {L"--gtest_filter=InsideApartments." + test});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    EXPECT_NE(ended.output.find("[  PASSED  ] 1 test."), std::string::npos) << ended.output;
}

TEST(Apartments, HaveStatesOfTheirOwn) {
    ExpectInside(L"HaveStatesOfTheirOwn");
}

TEST(Apartments, ShareAnObjectThatWasHandedOver) {
    ExpectInside(L"ShareAnObjectThatWasHandedOver");
}

TEST(Apartments, ServeCallersWithoutOne) {
    ExpectInside(L"ServeCallersWithoutOne");
}

TEST(Apartments, EndSessionsBeforeTheThreadLeavesCom) {
    ExpectInside(L"EndSessionsBeforeTheThreadLeavesCom");
}

TEST(Apartments, EndUnderTheirCallers) {
    ExpectInside(L"EndUnderTheirCallers");
}

TEST(Apartments, AnswerAtOnceForTheClientThatIsOpen) {
    ExpectInside(L"AnswerAtOnceForTheClientThatIsOpen");
}

TEST(Apartments, KeepErrorsUntilABoxShowsThem) {
    ExpectInside(L"KeepErrorsUntilABoxShowsThem");
}

/// The older client records its errors without raising them: the next error that is raised comes with their
/// frames. Errors of its own end are forgotten.
TEST(OlderClient, IsHeardOfInTheNextError) {
    const Apartment apartment;
    auto older = Component::Built().Create<_OrigELODMS>(CLSID_OrigELODMS, IID__OrigELODMS);
    const auto archive = Component::Built().Create<IDispatch>(CLSID_ELODMS, IID_IDispatch);
    std::wstring frames;
    const auto expectError = [&] {
        frames += L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin";
        const Called called = Call(archive.Get(), L"CheckLogin");
        EXPECT_EQ(called.description, L"Benutzer muss angemeldet sein, um ELO anzumelden.");
        EXPECT_EQ(called.source, frames);
        frames += L" <- ";
    };
    long id = 7;
    EXPECT_EQ(older->AddDokument(Bstr(L"C:\\fehlt.pdf").Get(), &id), S_OK);
    EXPECT_EQ(id, 0);
    frames = L"CArchiv.AddDokument <- ";
    expectError();
    EXPECT_EQ(older->GetParentFolderId(4711, &id), S_OK);
    frames += L"CArchiv.AnmeldenAnElo <- CArchiv.GetParentFolderId <- ";
    expectError();
    older.Reset();
    expectError();
}

constexpr int rounds = 10'000;
/// Bytes. A block left by every round would be more: none takes less than 16.
constexpr std::ptrdiff_t fewBytes = rounds * 8;

/// Bytes in use on all heaps of the process. Not blocks: later versions of wine report many small ones as
/// one.
std::ptrdiff_t BytesInUse() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = std::min<DWORD>(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()),
                                        static_cast<DWORD>(heaps.size()));
    std::ptrdiff_t bytes = 0;
    for (DWORD at = 0; at < count; ++at) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heaps.at(at));
        while (HeapWalk(heaps.at(at), &entry) != FALSE) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
                bytes += static_cast<std::ptrdiff_t>(entry.cbData);
            }
        }
        HeapUnlock(heaps.at(at));
    }
    return bytes;
}

class ComingAndGoing : public testing::TestWithParam<PublicClass> {
protected:
    [[nodiscard]] static ComPtr<IDispatch> Make() {
        return Component::Built().Create<IDispatch>(GuidOf(GetParam().clsid), IID_IDispatch);
    }
};

INSTANTIATE_TEST_SUITE_P(Classes, ComingAndGoing, testing::ValuesIn(PublicClasses()),
                         [](const auto& each) { return Utf8FromText(each.param.name); });

TEST_P(ComingAndGoing, LeavesNothingTenThousandTimes) {
    {
        const Apartment apartment;
        const CLSID clsid = GuidOf(GetParam().clsid);
        for (int warm = 0; warm < 100; ++warm) {
            EXPECT_TRUE(Make());
        }
        const std::ptrdiff_t before = BytesInUse();
        ASSERT_GT(before, 10'000) << "the heaps cannot be walked";
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Component::Built().GetClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid()), S_OK);
        for (int round = 0; round < rounds; ++round) {
            IUnknown* object = nullptr;
            ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)),
                      S_OK);
            ASSERT_EQ(object->Release(), 0U);
        }
        factory.Reset();
        EXPECT_LT(BytesInUse() - before, fewBytes);
        EXPECT_EQ(Component::Built().CanUnloadNow(), S_FALSE) << "this thread's state is still there";
    }
    EXPECT_EQ(Component::Built().CanUnloadNow(), S_OK);
}

/// Calls that succeed and calls that fail, with texts in both directions.
class Calls : public testing::Test {
protected:
    void Succeed() {
        EXPECT_EQ(Put(record_.Get(), L"Barcode", Value::Text(L"MU26000001")).outcome, S_OK);
        EXPECT_EQ(Get(record_.Get(), L"Barcode").result.AsText(), L"MU26000001");
    }
    void Fail() {
        Value path = Value::Text(L"Ablage");
        EXPECT_EQ(Call(archive_.Get(), L"PFadErstellen", List(Value::To(path.Place()))).outcome,
                  DISP_E_EXCEPTION);
        EXPECT_EQ(path.AsText(), L"/Ablage");
        Bstr text(L"Ablage");
        EXPECT_EQ(Call(archive_.Get(), L"PFadErstellen", List(Value::To(text.Place()))).outcome,
                  DISP_E_EXCEPTION);
        EXPECT_EQ(Call(archive_.Get(), L"CheckMaskeVorhanden", List(Value::Text(L"drei"))).outcome,
                  DISP_E_TYPEMISMATCH);
    }

    /// The bytes that `measured` rounds leave in use, after `warmUp` others.
    static std::ptrdiff_t BytesLeftBy(const std::function<void()>& work, int warmUp, int measured) {
        for (int round = 0; round < warmUp; ++round) {
            work();
        }
        const std::ptrdiff_t before = BytesInUse();
        for (int round = 0; round < measured; ++round) {
            work();
        }
        return BytesInUse() - before;
    }

    /// Calls that fail get half the rounds: each hands over the whole record of errors, which is full by
    /// then. One block a round is still noticed. Fewer rounds would say nothing, because what wine 10 itself
    /// has in use varies by 50 KB.
    static constexpr int failingRounds = rounds / 2;
    static_assert(failingRounds * 16 >= fewBytes);
    /// Rounds after which the record is full. A full record drops half of its frames; after a multiple of
    /// these rounds it is as long as before.
    static constexpr int roundsToFill = 1000;

private:
    Apartment apartment_;
    ComPtr<IDispatch> record_ = Component::Built().Create<IDispatch>(CLSID_cBeleg, IID_IDispatch);
    ComPtr<IDispatch> archive_ = Component::Built().Create<IDispatch>(CLSID_ELODMS, IID_IDispatch);
};

TEST_F(Calls, LeaveNothing) {
    EXPECT_LT(BytesLeftBy([this] { Succeed(); }, 100, rounds), fewBytes);
}

TEST_F(Calls, LeaveNothingWhenTheyFail) {
    EXPECT_LT(BytesLeftBy([this] { Fail(); }, roundsToFill, failingRounds), fewBytes);
}

/// The measure itself: one block a round is noticed.
TEST_F(Calls, AreMeasured) {
    const std::ptrdiff_t before = BytesInUse();
    std::vector<BSTR> texts;
    for (int round = 0; round < rounds; ++round) {
        texts.push_back(SysAllocString(L"MU26000001"));
    }
    EXPECT_GT(BytesInUse() - before, fewBytes);
    for (const BSTR text : texts) {
        SysFreeString(text);
    }
}

}  // namespace
}  // namespace kandora::outside_tests
