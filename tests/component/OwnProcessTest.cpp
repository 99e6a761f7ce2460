#include "tests/component/OwnProcess.h"
#include "interfaces/CodePages.h"

#include <gtest/gtest.h>

#include <array>
#include <exception>
#include <thread>

#include "DmsSolution.h"
#include "Kandora.h"

namespace kandora::component_tests {

using namespace std::literals;

Ended RunInside(const wchar_t* tests) {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    Ended ended = RunProgram(self.data(), {L"--gtest_filter="s + tests});
    // A filter that fits no test must not pass for success.
    if (ended.output.find("[  PASSED  ] ") == std::string::npos ||
        ended.output.find("[  PASSED  ] 0 tests") != std::string::npos) {
        ended.exitCode = ~0U;
    }
    return ended;
}

namespace {

constexpr HRESULT error5 = static_cast<HRESULT>(0x800A0005);

/// A new object of a registered class.
template <class Interface>
ComPtr<Interface> Made(const std::wstring& programId, REFIID iid) {
    CLSID clsid{};
    ComPtr<Interface> object;
    EXPECT_EQ(CLSIDFromProgID(programId.c_str(), &clsid), S_OK) << Utf8FromText(programId);
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, object.ReceiveVoid()), S_OK)
        << Utf8FromText(programId);
    return object;
}

/// Lets another thread, in the multithreaded apartment, use an object of this thread through its proxy, while
/// this thread serves the calls.
template <class Interface, class Work>
void InOtherApartment(const ComPtr<Interface>& object, REFIID iid, Work work) {
    ComPtr<IStream> stream;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(iid, object.Get(), stream.Receive()), S_OK);
    IStream* const handedOver = stream.Get();
    handedOver->AddRef();
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread other([&] {
        {
            const Apartment apartment(COINIT_MULTITHREADED);
            ComPtr<Interface> proxy;
            EXPECT_EQ(CoGetInterfaceAndReleaseStream(handedOver, iid, proxy.ReceiveVoid()), S_OK);
            if (proxy) {
                EXPECT_NE(proxy.Get(), object.Get()) << "this is the object itself";
                work(proxy);
            }
        }
        SetEvent(done);
    });
    while (MsgWaitForMultipleObjects(1, &done, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        }
    }
    other.join();
    CloseHandle(done);
}

TEST(Unloading, IsPossibleOnlyBeforeTheFirstUse) {
    const fs::path file = ComponentFile();
    const auto isLoaded = [&] { return GetModuleHandleW(file.c_str()) != nullptr; };
    HMODULE module = LoadLibraryW(file.c_str());
    ASSERT_NE(module, nullptr);
    ASSERT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(isLoaded());

    const Component component(file);
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(component.GetClassObject(CLSID_NULL, IID_IClassFactory, factory.ReceiveVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    ASSERT_EQ(component.GetClassObject(CLSID_cBeleg, IID_IClassFactory, factory.ReceiveVoid()), S_OK);
    factory.Reset();
    EXPECT_EQ(component.CanUnloadNow(), S_OK);
    for (int round = 0; round < 3; ++round) {
        FreeLibrary(component.Module());
    }
    EXPECT_TRUE(isLoaded());
    // And it still works.
    const Apartment apartment;
    EXPECT_TRUE(component.Create<_cBeleg>(CLSID_cBeleg, IID__cBeleg));
}

TEST(RegisteredClasses, AreMadeByTheirProgramIds) {
    const Apartment apartment;
    for (const PublicClass& each : PublicClasses()) {
        for (const std::wstring& programId : {L"Kandora."s + each.name, L"Kandora."s + each.name + L".1"}) {
            CLSID clsid{};
            EXPECT_EQ(CLSIDFromProgID(programId.c_str(), &clsid), S_OK);
            EXPECT_EQ(TextOf(clsid), each.clsid);
            EXPECT_TRUE(Made<IUnknown>(programId, GuidOf(each.iid))) << Utf8FromText(programId);
        }
    }
}

TEST(RegisteredClasses, CrossApartments) {
    const Apartment apartment;
    const auto own = Made<_ELOProvider>(L"Kandora.ELOProvider", IID__ELOProvider);
    InOtherApartment(own.As<DMSProvider>(IID_DMSProvider), IID_DMSProvider,
                     [](const ComPtr<DMSProvider>& provider) {
                         const Value nothing;
                         const Value version = Value::Text(L"7.2");
                         const Value data = Value::Texts({L"1001/1", L"", L"1001", L"1", L"MU26000001"});
                         const Bstr id(L"20260105093000");
                         Value result = Value::Text(L"vorher");
                         EXPECT_EQ(provider->FibuVersion(version.Raw()), S_OK);
                         EXPECT_EQ(provider->InitProvider(nothing.Raw(), result.Receive()), S_OK);
                         EXPECT_EQ(result.Type(), VT_EMPTY);
                         EXPECT_EQ(provider->StartProvider(nothing.Raw()), S_OK);
                         EXPECT_EQ(provider->SaveDocument(id.Get(), data.Raw()), S_OK);
                         EXPECT_EQ(provider->SavePendingDocument(nothing.Raw(), id.Get(), data.Raw()), S_OK);
                         Bstr text(L"vorher");
                         EXPECT_EQ(provider->CreateDocID(data.Raw(), text.Receive()), S_OK);
                         EXPECT_EQ(text.Text(), L"");
                         EXPECT_EQ(provider->GetOpenDocInfo(result.Receive()), S_OK);
                         EXPECT_EQ(result.Type(), VT_EMPTY);
                         EXPECT_EQ(Call(provider.Get(), L"GetVirtualPrinterName").result.AsText(), L"");
                     });
    InOtherApartment(own, IID__ELOProvider, [](const ComPtr<_ELOProvider>& provider) {
        VARIANT_BOOL running = 7;
        EXPECT_EQ(provider->get_bRunning(&running), S_OK);
        EXPECT_EQ(running, VARIANT_TRUE);
    });
}

TEST(RegisteredRecords, CrossApartments) {
    const Apartment apartment;
    const auto record = Made<_cKrediBeleg>(L"Kandora.cKrediBeleg", IID__cKrediBeleg);
    record->put_Kundenname(Bstr(L"Rösterei Drei Kannen GmbH").Get());
    InOtherApartment(record, IID__cKrediBeleg, [](const ComPtr<_cKrediBeleg>& proxy) {
        Bstr text;
        EXPECT_EQ(proxy->get_Kundenname(text.Receive()), S_OK);
        EXPECT_EQ(text.Text(), L"Rösterei Drei Kannen GmbH");
        EXPECT_EQ(proxy->put_Barcode(Bstr(L"vor\0nach"s).Get()), S_OK);
        EXPECT_EQ(Get(proxy.Get(), L"Barcode").result.AsText(), L"vor\0nach"s);
    });
    Bstr barcode;
    EXPECT_EQ(record->get_Barcode(barcode.Receive()), S_OK);
    EXPECT_EQ(barcode.Text(), L"vor\0nach"s);
}

TEST(RegisteredErrors, CrossApartments) {
    const Apartment apartment;
    const auto client = Made<_ELODMS>(L"Kandora.ELODMS", IID__ELODMS);
    InOtherApartment(client, IID__ELODMS, [](const ComPtr<_ELODMS>& proxy) {
        Bstr path(L" Sesam ");
        Bstr result;
        EXPECT_EQ(proxy->PFadErstellen(path.Place(), result.Receive()), error5);
        EXPECT_EQ(path.Text(), L"/Sesam") << "by-reference arguments come back from a failing call too";
        EXPECT_EQ(proxy->PFadErstellen(Bstr(L"").Place(), result.Receive()), S_OK);
        EXPECT_EQ(result.Text(), L"Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ");
    });
}

TEST(HostInterface, IsUnknownUnlessRegistered) {
    const Apartment apartment;
    const auto provider = Made<IUnknown>(L"Kandora.ELOProvider", IID_IUnknown);
    EXPECT_FALSE(provider.As<IUnknown>(GuidOf(foreignInterface)));
    EXPECT_FALSE(provider.As<IUnknown>(GUID_NULL));
    EXPECT_TRUE(provider.As<DMSProvider>(IID_DMSProvider));
}

TEST(HostInterface, IsAnsweredOnceRegistered) {
    const Apartment apartment;
    const auto provider = Made<IUnknown>(L"Kandora.ELOProvider", IID_IUnknown);
    const auto foreign = provider.As<DMSProvider>(GuidOf(foreignInterface));
    ASSERT_TRUE(foreign);
    EXPECT_EQ(foreign.Get(), provider.As<DMSProvider>(IID_DMSProvider).Get());
    EXPECT_EQ(foreign.As<IUnknown>(IID_IUnknown).Get(), provider.Get());
    Bstr name(L"vorher");
    EXPECT_EQ(foreign->GetVirtualPrinterName(name.Receive()), S_OK);
    EXPECT_EQ(name.Text(), L"");
    // No other class has it.
    const auto record = Made<IUnknown>(L"Kandora.cBeleg", IID_IUnknown);
    EXPECT_FALSE(record.As<IUnknown>(GuidOf(foreignInterface)));
}

}  // namespace
}  // namespace kandora::component_tests
