#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"
#include "tests/component/OwnProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "DmsSolution.h"
#include "Kandora.h"
#include "tests/support/ModuleHook.h"
#include "tests/support/Unique.h"

// The system refuses the component something: descriptions of its interfaces, memory, storage of its threads.
// The functions that it imports, or the methods of objects that it is given, are diverted.
namespace kandora::component_tests {
namespace {

constexpr HRESULT error7 = static_cast<HRESULT>(0x800A0007);
constexpr HRESULT error70 = static_cast<HRESULT>(0x800A0046);
constexpr HRESULT refused = TYPE_E_CANTLOADLIBRARY;

/// Diverts what the component, and it alone, imports.
class Diverted : public test::ModuleHook {
public:
    template <class Function>
    Diverted(const char* library, const char* name, Function* replacement)
        : ModuleHook(Component::Built().Module(), library, name, reinterpret_cast<void*>(replacement)) {}
};

/// Diverts a method of all objects that share the given one's table of methods.
class DivertedMethod : test::Unique {
public:
    template <class Function>
    DivertedMethod(IUnknown* object, std::size_t position, Function* replacement)
        : place_(*reinterpret_cast<void***>(object) + position), original_(*place_) {
        Store(reinterpret_cast<void*>(replacement));
    }
    ~DivertedMethod() { Store(original_); }

private:
    void Store(void* method) const {
        DWORD protection = 0;
        VirtualProtect(static_cast<void*>(place_), sizeof method, PAGE_READWRITE, &protection);
        *place_ = method;
        VirtualProtect(static_cast<void*>(place_), sizeof method, protection, &protection);
    }

    void** place_;
    void* original_;
};

/// Positions in the tables of methods.
enum class LibraryMethod : std::size_t { GetTypeInfo = 4, GetTypeInfoOfGuid = 6, GetLibAttr = 7 };
enum class InfoMethod : std::size_t {
    GetTypeAttr = 3,
    GetFuncDesc = 5,
    GetRefTypeOfImplType = 8,
    GetRefTypeInfo = 14
};

/// The component's own type library, and a description in it.
struct Described {
    Described() {
        EXPECT_EQ(LoadTypeLibEx(ComponentFile().c_str(), REGKIND_NONE, library.Receive()), S_OK);
        EXPECT_EQ(library->GetTypeInfoOfGuid(IID__cBeleg, info.Receive()), S_OK);
    }
    template <class Function>
    [[nodiscard]] DivertedMethod Without(LibraryMethod method, Function* replacement) const {
        return {library.Get(), static_cast<std::size_t>(method), replacement};
    }
    template <class Function>
    [[nodiscard]] DivertedMethod Without(InfoMethod method, Function* replacement) const {
        return {info.Get(), static_cast<std::size_t>(method), replacement};
    }

    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> info;
};

HRESULT WINAPI LoadNoLibrary(const wchar_t*, REGKIND, ITypeLib** library) {
    *library = nullptr;
    return refused;
}
DWORD WINAPI TellNoFileName(HMODULE, wchar_t*, DWORD) {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
}
HRESULT STDMETHODCALLTYPE FindNoDescription(ITypeLib*, const GUID&, ITypeInfo** info) {
    *info = nullptr;
    return TYPE_E_ELEMENTNOTFOUND;
}
HRESULT STDMETHODCALLTYPE GiveNoAttributes(IUnknown*, void** attributes) {
    *attributes = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT STDMETHODCALLTYPE GiveNoDescription(IUnknown*, UINT, void** description) {
    *description = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT STDMETHODCALLTYPE GiveNoReference(ITypeInfo*, UINT, HREFTYPE*) {
    return TYPE_E_ELEMENTNOTFOUND;
}
HRESULT STDMETHODCALLTYPE FollowNoReference(ITypeInfo*, HREFTYPE, ITypeInfo** info) {
    *info = nullptr;
    return refused;
}
HRESULT WINAPI CallNothing(void*, ULONG_PTR, CALLCONV, VARTYPE, UINT, VARTYPE*, VARIANT**, VARIANT*) {
    return E_OUTOFMEMORY;
}

// In a process of its own: descriptions are kept once they are loaded.
TEST(FreshDescriptions, TellWhyTheyCannotBeHad) {
    const Apartment apartment;
    const auto record = Component::Built().Create<IDispatch>(CLSID_cBeleg, IID_IDispatch);
    ASSERT_TRUE(record);
    const auto expectAll = [&](HRESULT outcome) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(record->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive()), outcome);
        EXPECT_FALSE(info);
        auto* name = const_cast<LPOLESTR>(L"Barcode");
        DISPID id = DISPID_UNKNOWN;
        EXPECT_EQ(record->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), outcome);
        EXPECT_EQ(Invoke(record.Get(), 1, DISPATCH_PROPERTYGET).outcome, outcome);
    };
    {
        const Diverted library("oleaut32.dll", "LoadTypeLibEx", &LoadNoLibrary);
        expectAll(refused);
    }
    {
        const Diverted file("kernel32.dll", "GetModuleFileNameW", &TellNoFileName);
        expectAll(error70);
    }
    {
        const Described described;
        const DivertedMethod search = described.Without(LibraryMethod::GetTypeInfoOfGuid, &FindNoDescription);
        expectAll(TYPE_E_ELEMENTNOTFOUND);
    }
    // None of this is remembered.
    ComPtr<ITypeInfo> info;
    EXPECT_EQ(record->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive()), S_OK);
    EXPECT_EQ(Get(record.Get(), L"Barcode").result.AsText(), L"");
}

TEST(Failures, OfADescriptionEndTheCallByName) {
    const Apartment apartment;
    const auto record = Component::Built().Create<IDispatch>(CLSID_cBeleg, IID_IDispatch);
    const DISPID barcode = IdOf(record.Get(), L"Barcode");
    const Described described;
    const auto outcome = [&] { return Invoke(record.Get(), barcode, DISPATCH_PROPERTYGET).outcome; };
    {
        const auto diverted = described.Without(InfoMethod::GetRefTypeOfImplType, &GiveNoReference);
        EXPECT_EQ(outcome(), TYPE_E_ELEMENTNOTFOUND);
    }
    {
        const auto diverted = described.Without(InfoMethod::GetRefTypeInfo, &FollowNoReference);
        EXPECT_EQ(outcome(), refused);
    }
    {
        const auto diverted = described.Without(InfoMethod::GetTypeAttr, &GiveNoAttributes);
        EXPECT_EQ(outcome(), E_OUTOFMEMORY);
    }
    {
        const auto diverted = described.Without(InfoMethod::GetFuncDesc, &GiveNoDescription);
        EXPECT_EQ(outcome(), E_OUTOFMEMORY);
    }
    {
        const Diverted call("oleaut32.dll", "DispCallFunc", &CallNothing);
        EXPECT_EQ(outcome(), E_OUTOFMEMORY);
    }
    EXPECT_EQ(outcome(), S_OK);
}

// Error information

HRESULT WINAPI MakeNoErrorInformation(ICreateErrorInfo** created) {
    *created = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT STDMETHODCALLTYPE AnswerToNothing(IUnknown*, REFIID, void** object) {
    *object = nullptr;
    return E_NOINTERFACE;
}

TEST(Failures, AreToldWithoutInformationToo) {
    const Apartment apartment;
    const auto client = Component::Built().Create<_ELODMS>(CLSID_ELODMS, IID__ELODMS);
    const auto expectFailure = [&](const char* when, HRESULT informed) {
        Bstr result;
        EXPECT_EQ(client->CheckLogin(result.Receive()), static_cast<HRESULT>(0x800A0005)) << when;
        ComPtr<IErrorInfo> info;
        EXPECT_EQ(GetErrorInfo(0, info.Receive()), informed) << when;
    };
    expectFailure("as usual", S_OK);
    {
        const Diverted information("oleaut32.dll", "CreateErrorInfo", &MakeNoErrorInformation);
        expectFailure("without memory for it", S_FALSE);
        const Called called = Call(client.Get(), L"CheckLogin");
        EXPECT_EQ(called.outcome, static_cast<HRESULT>(0x800A0005))
            << "the bare code goes to a caller by name";
        EXPECT_EQ(called.description, L"");
    }
    ComPtr<ICreateErrorInfo> created;
    ASSERT_EQ(CreateErrorInfo(created.Receive()), S_OK);
    {
        const DivertedMethod query(created.Get(), 0, &AnswerToNothing);
        expectFailure("when it cannot be left", S_FALSE);
    }
    expectFailure("as usual again", S_OK);
}

TEST(Failures, AreToldToACallerWhoDoesNotWantToKnow) {
    const Apartment apartment;
    const auto client = Component::Built().Create<IDispatch>(CLSID_ELODMS, IID_IDispatch);
    const DISPID login = IdOf(client.Get(), L"CheckLogin");
    DISPPARAMS none{};
    EXPECT_EQ(client->Invoke(login, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, nullptr,
                             nullptr),
              DISP_E_EXCEPTION);
    // Nor need a caller take the position of the wrong argument, or a result.
    const DISPID search = IdOf(client.Get(), L"FindSageDocumentByID");
    Value wrong = Value::Null();
    DISPPARAMS one{wrong.Place(), nullptr, 1, 0};
    EXPECT_EQ(client->Invoke(search, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &one, nullptr, nullptr,
                             nullptr),
              DISP_E_TYPEMISMATCH);
    Value empty = Value::Text(L"");
    DISPPARAMS path{empty.Place(), nullptr, 1, 0};
    EXPECT_EQ(client->Invoke(IdOf(client.Get(), L"PFadErstellen"), IID_NULL, LOCALE_USER_DEFAULT,
                             DISPATCH_METHOD, &path, nullptr, nullptr, nullptr),
              S_OK);
}

// Threads

HRESULT WINAPI RefuseToTell(IInitializeSpy*, ULARGE_INTEGER*) {
    return E_OUTOFMEMORY;
}

IInitializeSpy* seenSpy = nullptr;

HRESULT WINAPI SeeSpy(IInitializeSpy* spy, ULARGE_INTEGER* cookie) {
    seenSpy = spy;
    return CoRegisterInitializeSpy(spy, cookie);
}

TEST(Failures, ToLearnOfAThreadsEndPreventObjects) {
    std::thread([] {
        const Apartment apartment;
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Component::Built().GetClassObject(CLSID_ELODMS, IID_IClassFactory, factory.ReceiveVoid()),
                  S_OK);
        auto* object = reinterpret_cast<void*>(1);
        {
            const Diverted spy("ole32.dll", "CoRegisterInitializeSpy", &RefuseToTell);
            EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), error7);
            EXPECT_EQ(object, nullptr);
        }
        ComPtr<IUnknown> made;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, made.ReceiveVoid()), S_OK);
    }).join();
    EXPECT_EQ(Component::Built().CanUnloadNow(), S_OK);
}

TEST(ThreadWatch, ChangesNothingOfWhatItSees) {
    std::thread([] {
        const Apartment apartment;
        {
            const Diverted spy("ole32.dll", "CoRegisterInitializeSpy", &SeeSpy);
            EXPECT_TRUE(Component::Built().Create<IUnknown>(CLSID_cBeleg, IID_IUnknown));
        }
        ASSERT_NE(seenSpy, nullptr);
        auto* object = reinterpret_cast<void*>(1);
        EXPECT_EQ(seenSpy->QueryInterface(IID_IDispatch, &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(seenSpy->QueryInterface(IID_IUnknown, &object), S_OK);
        EXPECT_EQ(object, seenSpy);
        seenSpy->Release();
        EXPECT_EQ(seenSpy->PreInitialize(COINIT_APARTMENTTHREADED, 1), S_OK);
        EXPECT_EQ(seenSpy->PostInitialize(RPC_E_CHANGED_MODE, COINIT_MULTITHREADED, 1), RPC_E_CHANGED_MODE);
        EXPECT_EQ(seenSpy->PostUninitialize(1), S_OK);
    }).join();
    EXPECT_EQ(Component::Built().CanUnloadNow(), S_OK);
}

std::atomic<int> slotsAsked = 0;

DWORD WINAPI FindNoSlot() {
    ++slotsAsked;
    return TLS_OUT_OF_INDEXES;
}

// In a process of its own: the slot serves all threads and is taken only once.
TEST(FreshThreads, NeedASlot) {
    const Apartment apartment;
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(Component::Built().GetClassObject(CLSID_cBeleg, IID_IClassFactory, factory.ReceiveVoid()),
              S_OK);
    const Diverted slots("kernel32.dll", "TlsAlloc", &FindNoSlot);
    for (int round = 0; round < 2; ++round) {
        auto* object = reinterpret_cast<void*>(1);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), error7);
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_GE(slotsAsked, 1);
}

// Memory

/// The component's allocations that succeed before one fails; below 0, all succeed.
std::atomic<int> allocationsLeft = -1;

void* AllocateAtMost(std::size_t size) {
    // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): asked first, counted then
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) {
        return nullptr;
    }
    return std::malloc(size);
}

bool TellsOfMemory(const Called& called) {
    return called.outcome == S_OK || called.outcome == E_OUTOFMEMORY || called.outcome == error7 ||
           (called.outcome == DISP_E_EXCEPTION && called.code == error7);
}

/// Makes an object and uses it by name; true when everything succeeded.
bool UseAnObject(REFCLSID clsid, const wchar_t* member, std::vector<Value> arguments) {
    const Apartment apartment;
    ComPtr<IClassFactory> factory;
    Called made;
    made.outcome = Component::Built().GetClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid());
    EXPECT_TRUE(TellsOfMemory(made)) << made.outcome;
    EXPECT_EQ(static_cast<bool>(factory), made.outcome == S_OK);
    if (!factory) {
        return false;
    }
    ComPtr<IDispatch> object;
    made.outcome = factory->CreateInstance(nullptr, IID_IDispatch, object.ReceiveVoid());
    EXPECT_TRUE(TellsOfMemory(made)) << made.outcome;
    EXPECT_EQ(static_cast<bool>(object), made.outcome == S_OK);
    if (!object) {
        return false;
    }
    auto* name = const_cast<LPOLESTR>(member);
    DISPID id = DISPID_UNKNOWN;
    made.outcome = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    EXPECT_TRUE(TellsOfMemory(made)) << made.outcome;
    if (made.outcome != S_OK) {
        return false;
    }
    const Called called =
        Invoke(object.Get(), id, DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments));
    EXPECT_TRUE(TellsOfMemory(called)) << called.outcome << " " << called.code;
    return called.outcome == S_OK;
}

// In a process of its own, so that everything is made for the first time.
TEST(FreshMemory, MayEndAnywhere) {
    const Component& component = Component::Built();
    const Diverted memory("msvcrt.dll", "malloc", &AllocateAtMost);
    int failures = 0;
    const auto exhaust = [&](REFCLSID clsid, const wchar_t* member, auto&& arguments) {
        // Each number is tried twice: what is made once for the process asks for memory only the first time,
        // and the allocation behind it would otherwise never be the one that fails.
        for (int round = 0; round < 20'000; ++round) {
            const int allowed = round / 2;
            allocationsLeft = allowed;
            const bool succeeded = UseAnObject(clsid, member, arguments());
            const bool wasEnough = allocationsLeft.exchange(-1) >= 0;
            EXPECT_EQ(component.CanUnloadNow(), S_OK) << "held after failure " << allowed;
            if (wasEnough) {
                EXPECT_TRUE(succeeded);
                return;
            }
            ++failures;
        }
        ADD_FAILURE() << "no end of allocations";
    };
    exhaust(CLSID_ELODMS, L"PFadErstellen", [] { return List(Value::Text(L"")); });
    exhaust(CLSID_ELOProvider, L"bRunning", [] { return std::vector<Value>(); });
    EXPECT_GT(failures, 20);
}

// In a process of its own: descriptions are kept once they are loaded.
TEST(FreshLibraries, NeedMemory) {
    const Apartment apartment;
    const auto record = Component::Built().Create<IDispatch>(CLSID_cBeleg, IID_IDispatch);
    ASSERT_TRUE(record);
    const Diverted memory("msvcrt.dll", "malloc", &AllocateAtMost);
    auto* name = const_cast<LPOLESTR>(L"Barcode");
    DISPID id = DISPID_UNKNOWN;
    HRESULT outcome = error7;
    int failures = 0;
    for (int round = 0; outcome == error7 && round < 200; ++round) {
        allocationsLeft = round / 2;  // twice, for the same reason as above
        outcome = record->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
        allocationsLeft = -1;
        failures += outcome == error7 ? 1 : 0;
    }
    EXPECT_EQ(outcome, S_OK);
    EXPECT_GE(failures, 3) << "the place of all descriptions, the file's name, the description's entry";
}

TEST(Failures, OfMemoryLeaveARecordAsItWas) {
    const Apartment apartment;
    const auto record = Component::Built().Create<_cBeleg>(CLSID_cBeleg, IID__cBeleg);
    const Bstr before(L"MU26000001");
    ASSERT_EQ(record->put_Barcode(before.Get()), S_OK);
    const Bstr longer(L"a barcode for which the record has to ask for memory");
    {
        const Diverted memory("msvcrt.dll", "malloc", &AllocateAtMost);
        allocationsLeft = 0;
        const HRESULT outcome = record->put_Barcode(longer.Get());
        allocationsLeft = -1;
        EXPECT_EQ(outcome, error7);
    }
    Bstr barcode;
    EXPECT_EQ(record->get_Barcode(barcode.Receive()), S_OK);
    EXPECT_EQ(barcode.Text(), before.Text());
}

std::vector<std::wstring> boxesShown;

int WINAPI NoteBox(HWND, const wchar_t* prompt, const wchar_t*, UINT) {
    boxesShown.emplace_back(prompt);
    return IDOK;
}

TEST(Failures, OfMemoryForARequestsArgumentsEndInABox) {
    const Apartment apartment;
    const auto provider = Component::Built().Create<DMSProvider>(CLSID_ELOProvider, IID_DMSProvider);
    ASSERT_TRUE(provider);
    const Bstr id(L"20260105093000");
    const Value data = Value::Texts({L"1001/1", L"", L"1001", L"1", L"MU26000001"});
    boxesShown.clear();
    {
        const Diverted boxes("user32.dll", "MessageBoxW", &NoteBox);
        const Diverted memory("msvcrt.dll", "malloc", &AllocateAtMost);
        allocationsLeft = 0;
        const HRESULT outcome = provider->SaveDocument(id.Get(), data.Raw());
        allocationsLeft = -1;
        EXPECT_EQ(outcome, S_OK);
    }
    ASSERT_EQ(boxesShown.size(), 1U);
    EXPECT_EQ(boxesShown.front(),
              L"[7] Nicht genügend Arbeitsspeicher | ON LINE 0 | CALLSTACK: Kandora.SaveDocument");
}

TEST(Failures, InAFreshProcessAreToldToo) {
    // NOLINTNEXTLINE(misc-const-correctness): not everywhere, as the next lines say
    std::vector<const wchar_t*> groups{L"FreshDescriptions.*", L"FreshLibraries.*", L"FreshMemory.*"};
#ifndef _WIN64
    // The 64-bit C++ runtime needs a slot of its own for the very first error that is raised.
    groups.push_back(L"FreshThreads.*");
#endif
    for (const wchar_t* tests : groups) {
        const Ended ended = RunInside(tests);
        EXPECT_EQ(ended.exitCode, 0U) << Utf8FromText(tests) << "\n" << ended.output;
    }
}

}  // namespace
}  // namespace kandora::component_tests
