#include "automation/BusyServer.h"

#include <algorithm>
#include <atomic>
#include <numeric>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "automation/LateBound.h"
#include "interfaces/Apartment.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"
#include "tests/support/FakeObject.h"
#include "tests/support/ModuleHook.h"
#include "tests/support/Raised.h"
#include "tests/support/VirtualPatience.h"

namespace kandora::test {
namespace {

using PauseList = std::vector<std::uint32_t>;

class BusyServer : public testing::TestWithParam<HRESULT> {
protected:
    Conversation talk;
    Fake archive{"archive", &talk};
    VirtualPatience patience;
};

INSTANTIATE_TEST_SUITE_P(Answers, BusyServer,
                         testing::Values(RPC_E_CALL_REJECTED, RPC_E_SERVERCALL_RETRYLATER,
                                         RPC_E_SERVERCALL_REJECTED,
                                         HRESULT_FROM_WIN32(RPC_S_SERVER_TOO_BUSY)));

TEST_P(BusyServer, IsAskedAgainAfterRisingPauses) {
    archive->Answers(L"AddPostboxFile", 1);
    for (int i = 0; i < 4; ++i) {
        archive->Next(L"AddPostboxFile", Failure::Code(GetParam()));
    }
    Text file = L"C:\\Platzhalter.pdf";
    EXPECT_EQ(archive.AsLateBound().Get(L"AddPostboxFile", ByRef(file)).ToLong(), 1);
    EXPECT_EQ(VirtualPatience::Pauses(), PauseList({10, 20, 40, 80}));
    EXPECT_EQ(talk.Said().size(), 5U);
    EXPECT_EQ(talk.Said().back(), R"(archive.AddPostboxFile(BSTR& "C:\Platzhalter.pdf") -> I4 1)");
}

TEST_P(BusyServer, FailsAfterTenSeconds) {
    archive->Answers(L"MoveToArchive", Failure::Code(GetParam()));
    const RuntimeError error = ErrorOf([&] { archive.AsLateBound().Call(L"MoveToArchive", L"#"); });
    EXPECT_EQ(error.Number(), GetParam());
    const auto& pauses = VirtualPatience::Pauses();
    EXPECT_EQ(std::accumulate(pauses.begin(), pauses.end(), 0U), patienceLimit);
    EXPECT_TRUE(std::is_sorted(pauses.begin(), pauses.end() - 1)) << "the last one is what is left";
    EXPECT_EQ(talk.Said().size(), pauses.size() + 1) << "the last attempt is made when the time is up";
}

TEST_P(BusyServer, TheTimeOfTheCallsThemselvesCounts) {
    archive->Answers(L"Login", [&](Call&) -> Variant {
        VirtualPatience::Pass(4000);
        throw Failure::Code(GetParam());
    });
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(archive.AsLateBound().Get(L"Login")); }).Number(), GetParam());
    EXPECT_EQ(talk.Said().size(), 4U);
}

TEST_F(BusyServer, OtherFailuresAreFinal) {
    for (const HRESULT failure : {E_FAIL, RPC_E_DISCONNECTED, HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE)}) {
        archive->Answers(L"Login", Failure::Code(failure));
        EXPECT_NE(ErrorOf([&] { static_cast<void>(archive.AsLateBound().Get(L"Login")); }).Number(), 0);
    }
    archive->Answers(L"Login", Failure::Scode(RPC_E_CALL_REJECTED, L"said by the archive itself"));
    EXPECT_NE(ErrorOf([&] { static_cast<void>(archive.AsLateBound().Get(L"Login")); }).Number(), 0);
    EXPECT_EQ(VirtualPatience::Pauses(), PauseList({}));
}

/// Hands out an object whose first calls of every kind are turned away.
class ReluctantClass final : public LentComObject<IClassFactory> {
public:
    explicit ReluctantClass(int refusals) : refusals_(refusals) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID interfaceId, void** object) override {
        *object = nullptr;
        return ++asked <= refusals_ ? RPC_E_SERVERCALL_RETRYLATER
                                    : made.Get()->QueryInterface(interfaceId, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    int asked = 0;
    Fake made{"made"};

private:
    int refusals_;
};

TEST_F(BusyServer, MayTurnAwayTheCreationOfAnObject) {
    const Apartment apartment;
    ReluctantClass reluctant(3);
    // Any named class of the system will do: this registration takes precedence over it.
    CLSID clsid{};
    ASSERT_EQ(CLSIDFromProgID(L"Scripting.Dictionary", &clsid), S_OK);
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(clsid, &reluctant, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
    EXPECT_EQ(NewObject(L"Scripting.Dictionary").Pointer(), reluctant.made.Get());
    EXPECT_EQ(reluctant.asked, 4);
    EXPECT_EQ(VirtualPatience::Pauses(), PauseList({10, 20, 40}));
    CoRevokeClassObject(cookie);
}

/// Turns the first calls of both kinds away.
class ReluctantObject final : public Undescribed<LentComObject<IDispatch>> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
        *object = nullptr;
        return ++queried <= 2 ? RPC_E_CALL_REJECTED : LentComObject::QueryInterface(wanted, object);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID* id) override {
        *id = 7;
        return ++named <= 2 ? RPC_E_CALL_REJECTED : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return ++invoked <= 2 ? RPC_E_CALL_REJECTED : S_OK;
    }

    int queried = 0;
    int named = 0;
    int invoked = 0;
};

TEST_F(BusyServer, EveryKindOfCallIsRepeated) {
    ReluctantObject object;
    const Variant value(static_cast<IDispatch*>(&object));
    LateBound(value).Call(L"EloWindow");
    EXPECT_EQ(object.queried, 3);
    EXPECT_EQ(object.named, 3);
    EXPECT_EQ(object.invoked, 3);
}

// Real pauses instead of virtual ones.

TEST(RealPause, TakesItsTime) {
    const std::uint64_t before = BusyPatience().milliseconds();
    BusyPatience().pause(50);  // longer than a step of the clock
    EXPECT_GT(BusyPatience().milliseconds(), before);
}

TEST(RealPause, LetsCallsIn) {
    const Apartment apartment;
    const Fake archive("archive");
    archive->Answers(L"Version", 702);
    IStream* handedOver = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IDispatch, archive.Get(), &handedOver), S_OK);
    std::int32_t answer = 0;
    std::atomic<bool> done = false;
    std::thread caller([&] {
        {
            const Apartment other(COINIT_MULTITHREADED);
            ComPtr<IDispatch> proxy;
            EXPECT_EQ(CoGetInterfaceAndReleaseStream(handedOver, IID_IDispatch, proxy.ReceiveVoid()), S_OK);
            if (proxy) {
                answer = LateBound(proxy.Get()).Get(L"Version").ToLong();
            }
        }
        done = true;
    });
    for (int pause = 0; pause < 6000 && !done; ++pause) {
        BusyPatience().pause(10);
    }
    EXPECT_TRUE(done) << "the other thread waits for this one";
    for (MSG message{}; !done;) {
        PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);
        DispatchMessageW(&message);
    }
    caller.join();
    EXPECT_EQ(answer, 702);
    CoDisconnectObject(archive.Get(), 0);
}

std::vector<DWORD> paused;

void WINAPI NotePause(DWORD milliseconds) {
    paused.push_back(milliseconds);
}
HRESULT WINAPI RefuseToWait(DWORD, DWORD, ULONG, HANDLE*, DWORD*) {
    return CO_E_NOTINITIALIZED;
}
HANDLE WINAPI MakeNoEvent(SECURITY_ATTRIBUTES*, BOOL, BOOL, const wchar_t*) {
    return nullptr;
}

TEST(RealPause, IsMadeWithoutComToo) {
    const HMODULE self = GetModuleHandleW(nullptr);
    const ModuleHook sleep(self, "kernel32.dll", "Sleep", reinterpret_cast<void*>(&NotePause));
    paused.clear();
    {
        const ModuleHook com(self, "ole32.dll", "CoWaitForMultipleHandles",
                             reinterpret_cast<void*>(&RefuseToWait));
        BusyPatience().pause(20);
    }
    EXPECT_EQ(paused, std::vector<DWORD>({20}));
    {
        const ModuleHook event(self, "kernel32.dll", "CreateEventW", reinterpret_cast<void*>(&MakeNoEvent));
        BusyPatience().pause(30);
    }
    EXPECT_EQ(paused, std::vector<DWORD>({20, 30}));
}

}  // namespace
}  // namespace kandora::test
