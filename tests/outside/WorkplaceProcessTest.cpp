#include "tests/outside/WorkplaceProcess.h"
#include "interfaces/CodePages.h"
#include "tests/component/CallingValue.h"
#include "tests/outside/Workplace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <functional>
#include <thread>

#include "DmsSolution.h"
#include "Kandora.h"
#include "tests/support/ModuleHook.h"
#include "tests/support/Unique.h"

// Threads and their states, as an outside caller with several apartments meets them.
namespace kandora::outside_tests {
namespace {

constexpr HRESULT error5 = static_cast<HRESULT>(0x800A0005);
constexpr HRESULT error91 = static_cast<HRESULT>(0x800A005B);

template <class Interface>
ComPtr<Interface> Make(const wchar_t* name) {
    CLSID clsid{};
    ComPtr<Interface> object;
    EXPECT_EQ(CLSIDFromProgID(name, &clsid), S_OK);
    EXPECT_EQ(
        CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), object.ReceiveVoid()),
        S_OK)
        << Utf8FromText(name);
    return object;
}

ComPtr<DMSProvider> Initialised() {
    auto provider = Make<DMSProvider>(L"Kandora.ELOProvider");
    const Value nothing;
    Value result;
    EXPECT_EQ(provider->InitProvider(nothing.Raw(), result.Receive()), S_OK);
    return provider;
}

HRESULT CheckLogin(_ELODMS* archive) {
    Bstr answer;
    const HRESULT outcome = archive->CheckLogin(answer.Receive());
    EXPECT_EQ(answer.Text(), L"");
    return outcome;
}

std::ptrdiff_t Traced(const std::string& beginning) {
    std::array<wchar_t, 1024> file{};
    GetEnvironmentVariableW(traceVariable, file.data(), static_cast<DWORD>(file.size()));
    return std::ranges::count_if(LinesOf(BytesOf(file.data())),
                                 [&](const std::string& line) { return line.starts_with(beginning); });
}
std::ptrdiff_t Logins() {
    return Traced("Login(BSTR& \"Kandora\"");
}
std::ptrdiff_t Logouts() {
    return Traced("Login(BSTR& \"LOGOUT\"");
}

/// A thread beside the test's own, which meanwhile answers calls from there.
class Beside : test::Unique {
public:
    explicit Beside(std::function<void()> body)
        : thread_([this, body = std::move(body)] {
              try {
                  body();
              } catch (const std::exception& error) {
                  ADD_FAILURE() << error.what();
              }
              ended_ = true;
          }) {}
    ~Beside() {
        EXPECT_TRUE(Eventually([this] {
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
                DispatchMessageW(&message);
            }
            return ended_.load();
        }));
        thread_.join();
    }

private:
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

/// An interface on its way to another apartment.
class Parcel {
public:
    template <class Interface>
    explicit Parcel(const ComPtr<Interface>& object) {
        EXPECT_EQ(CoMarshalInterThreadInterfaceInStream(__uuidof(Interface), object.Get(), &stream_), S_OK);
    }
    template <class Interface>
    ComPtr<Interface> Open() {
        ComPtr<Interface> object;
        EXPECT_EQ(CoGetInterfaceAndReleaseStream(stream_, __uuidof(Interface), object.ReceiveVoid()), S_OK);
        return object;
    }

private:
    IStream* stream_ = nullptr;
};

/// What the error boxes say, instead of showing them.
class Boxes {
public:
    Boxes()
        : hook_(GetModuleHandleW(L"Kandora.dll"), "user32.dll", "MessageBoxW",
                reinterpret_cast<void*>(&Note)) {}

    /// The only box since the last question.
    static std::wstring Only() {
        const auto shown = std::exchange(shown_, {});
        return shown.size() == 1 ? shown.front() : std::to_wstring(shown.size()) + L" boxes";
    }

private:
    static int WINAPI Note(HWND, const wchar_t* prompt, const wchar_t*, UINT) {
        shown_.emplace_back(prompt);
        return IDOK;
    }

    static inline std::vector<std::wstring> shown_;
    test::ModuleHook hook_;
};

TEST(InsideApartments, KeepErrorsUntilABoxShowsThem) {
    const Apartment apartment;
    const auto provider = Initialised();
    const auto archive = Make<_ELODMS>(L"Kandora.ELODMS");
    const auto older = Make<_OrigELODMS>(L"Kandora.OrigELODMS");
    const auto accounting = Make<_SOKInterface>(L"Kandora.SOKInterface");
    const Boxes boxes;
    const Value nothing;
    const Value tooShort = Value::Texts({L"", L"", L"1001"});
    const Bstr id(L"20260105093000");
    const auto failSilently = [&] {
        long filed = 7;
        EXPECT_EQ(older->AddDokument(Bstr(L"C:\\fehlt.pdf").Get(), &filed), S_OK);
        EXPECT_EQ(filed, 0);
    };
    const auto sourceOf = [](IDispatch* object, const wchar_t* member, std::vector<Value> arguments = {}) {
        return Call(object, member, std::move(arguments)).source;
    };

    // The client has no archive yet.
    failSilently();
    EXPECT_EQ(provider->StartProvider(nothing.Raw()), S_OK);
    EXPECT_EQ(Boxes::Only(),
              L"[0 (5) ]  | ON LINE 0 | CALLSTACK: CArchiv.AddDokument <- Kandora.StartProvider");
    EXPECT_EQ(provider->StartProvider(nothing.Raw()), S_OK);
    EXPECT_EQ(Boxes::Only(), L"[0]  | ON LINE 0 | CALLSTACK: Kandora.StartProvider");

    VARIANT_BOOL done = VARIANT_FALSE;
    EXPECT_EQ(accounting->EinstellungenSchreiben(&done), S_OK);
    EXPECT_EQ(done, VARIANT_TRUE);
    failSilently();
    EXPECT_EQ(provider->SaveDocument(id.Get(), tooShort.Raw()), S_OK);
    EXPECT_EQ(Boxes::Only(), L"[9 (5) ] Der Index liegt ausserhalb des gültigen Bereichs | ON LINE 0 | "
                             L"CALLSTACK: CArchiv.AddDokument <- Kandora.SaveDocument");
    EXPECT_EQ(provider->SaveDocument(id.Get(), tooShort.Raw()), S_OK);
    EXPECT_EQ(Boxes::Only(), L"[9] Der Index liegt ausserhalb des gültigen Bereichs | ON LINE 0 | "
                             L"CALLSTACK: Kandora.SaveDocument");

    // What is raised stays as well.
    ComPtr<IDispatch> client;
    EXPECT_EQ(accounting->get_oSesamFibu(client.Receive()), S_OK);
    Call(client.Get(), L"Inischreiben", List(Value::Short(600), Value::Short(109), Value::Text(L"/fehlt")));
    std::wstring frames = L"ELODMS.LoescheDokument";
    EXPECT_EQ(sourceOf(archive.Get(), L"LoescheDokument", List(Value::Long(9999))), frames);
    frames += L" <- CArchiv.LoescheVerknuepfung";
    EXPECT_EQ(sourceOf(older.Get(), L"LoescheVerknuepfung", List(Value::Long(9999))), frames);
    frames += L" <- SOKInterface.EinstellungenLesen";
    EXPECT_EQ(sourceOf(accounting.Get(), L"EinstellungenLesen"), frames);
    EXPECT_EQ(provider->StartProvider(nothing.Raw()), S_OK);
    EXPECT_EQ(Boxes::Only(),
              L"[5003 (5) ] Der Pfad '/fehlt' ist im Archiv nicht vorhanden\rKorrigieren Sie die "
              L"Sesam-Einstellungen | ON LINE 0 | CALLSTACK: " +
                  frames + L" <- SOKInterface.EinstellungenLesen <- Kandora.StartProvider");
}

/// Runs as soon as the thread processes messages, which it does during its calls only.
class Meanwhile : test::Unique {
public:
    explicit Meanwhile(std::function<void()> action)
        : window_(CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                  nullptr)) {
        action_ = std::move(action);
        SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Answer));
        PostMessageW(window_, WM_APP, 0, 0);
    }
    ~Meanwhile() {
        DestroyWindow(window_);
        EXPECT_FALSE(action_) << "nothing entered";
        action_ = nullptr;
    }

private:
    static LRESULT CALLBACK Answer(HWND window, UINT message, WPARAM first, LPARAM second) {
        if (message != WM_APP) {
            return DefWindowProcW(window, message, first, second);
        }
        if (const auto action = std::exchange(action_, nullptr)) {
            action();
        }
        return 0;
    }

    static inline std::function<void()> action_;
    HWND window_;
};

TEST(InsideApartments, AnswerAtOnceForTheClientThatIsOpen) {
    const Apartment apartment;
    const auto provider = Initialised();
    const auto own = provider.As<_ELOProvider>(IID__ELOProvider);
    const auto accounting = Make<_SOKInterface>(L"Kandora.SOKInterface");
    const auto archive = Make<_ELODMS>(L"Kandora.ELODMS");
    ComPtr<IDispatch> client;
    EXPECT_EQ(accounting->get_oSesamFibu(client.Receive()), S_OK);
    VARIANT_BOOL done = VARIANT_FALSE;
    EXPECT_EQ(accounting->EinstellungenSchreiben(&done), S_OK);
    EXPECT_EQ(done, VARIANT_TRUE);

    const auto turn = [&](const wchar_t* archiveOn) {
        Call(client.Get(), L"Inischreiben",
             List(Value::Short(600), Value::Short(100), Value::Text(archiveOn)));
    };
    const auto expectAnswers = [&](bool isOn) {
        const Value nothing;
        Bstr id;
        EXPECT_EQ(provider->CreateDocID(nothing.Raw(), id.Receive()), S_OK);
        EXPECT_EQ(id.Text().size(), isOn ? 14U : 0U);
        Bstr printer;
        EXPECT_EQ(provider->GetVirtualPrinterName(printer.Receive()), S_OK);
        EXPECT_EQ(printer.Text(), isOn ? L"ELO Drucker" : L"");
        Value info;
        EXPECT_EQ(provider->GetOpenDocInfo(info.Receive()), S_OK);
        EXPECT_EQ(info.Type() == VT_EMPTY, !isOn);
    };
    const auto expectBothAnswers = [&] {
        turn(L"true");
        expectAnswers(true);
        turn(L"False");
        expectAnswers(false);
    };
    expectBothAnswers();
    const std::ptrdiff_t logins = Logins();

    // While a traced value calls back: the version is traced before the first start.
    EXPECT_EQ(own->put_bRunning(VARIANT_FALSE), S_OK);
    CallingValue version(expectBothAnswers);
    EXPECT_EQ(provider->FibuVersion(version.AsVariant()), S_OK);
    EXPECT_EQ(own->put_bRunning(VARIANT_TRUE), S_OK);

    // While an outside caller's dialog is open. Its session is its own, and so are the folders that it has
    // read.
    turn(L"true");
    expectAnswers(true);
    {
        const Meanwhile meanwhile(expectBothAnswers);
        Bstr id(L"D1");
        EXPECT_EQ(archive->SaveAuswertung(id.Place()), S_OK);
        EXPECT_EQ(id.Text(), L"D1") << "the argument is as it was";
    }
    EXPECT_EQ(Logins(), logins + 1);
    EXPECT_EQ(Logouts(), 0);
}

TEST(InsideApartments, HaveStatesOfTheirOwn) {
    const Apartment apartment;
    const auto provider = Initialised();
    const auto archive = Make<_ELODMS>(L"Kandora.ELODMS");
    EXPECT_EQ(CheckLogin(archive.Get()), S_OK);
    EXPECT_EQ(Logins(), 2) << "the provider's session and the outside caller's own one";
    {
        const Beside thread([] {
            const Apartment other;
            const auto elsewhere = Make<_ELODMS>(L"Kandora.ELODMS");
            EXPECT_EQ(CheckLogin(elsewhere.Get()), error5) << "nobody has read settings here";
            auto own = Make<_ELOProvider>(L"Kandora.ELOProvider");
            VARIANT_BOOL running = VARIANT_TRUE;
            EXPECT_EQ(own->get_bRunning(&running), S_OK);
            EXPECT_EQ(running, VARIANT_FALSE);
            EXPECT_EQ(Logins(), 2);
            const auto otherProvider = Initialised();
            EXPECT_EQ(CheckLogin(elsewhere.Get()), S_OK);
            EXPECT_EQ(Logins(), 4);
        });
    }
    EXPECT_EQ(Logouts(), 2) << "both sessions of the other thread, none of this one";
    EXPECT_EQ(CheckLogin(archive.Get()), S_OK);
    EXPECT_EQ(Logins(), 4);
}

TEST(InsideApartments, ShareAnObjectThatWasHandedOver) {
    const Apartment apartment;
    const auto provider = Initialised();
    const auto archive = Make<_ELODMS>(L"Kandora.ELODMS");
    Parcel parcel(archive);
    const Beside thread([&] {
        const Apartment other;
        const auto elsewhere = parcel.Open<_ELODMS>();
        EXPECT_EQ(CheckLogin(elsewhere.Get()), S_OK) << "the settings are those of the object's thread";
        Bstr path(L" Ablage/Hier ");
        Bstr answer;
        EXPECT_EQ(elsewhere->PFadErstellen(path.Place(), answer.Receive()), S_OK);
        EXPECT_EQ(path.Text(), L"/Ablage/Hier");
        long mask = 77;
        EXPECT_EQ(elsewhere->CheckMaskeVorhanden(&mask, answer.Receive()), S_OK);
        EXPECT_EQ(answer.Text(), L"Die Ablagemaske Nr. 77 ist nicht vorhanden");
        EXPECT_EQ(elsewhere->LoescheDokument(9999), error5);
        const Called called = Call(elsewhere.Get(), L"LoescheDokument", List(Value::Long(9999)));
        EXPECT_EQ(called.code, error5);
        EXPECT_EQ(called.description, L"Konnte Dokument nicht löschen: -5");
        EXPECT_EQ(called.source, L"ELODMS.LoescheDokument <- ELODMS.LoescheDokument") << "the frames of both";
        ComPtr<IDispatch> session;
        EXPECT_EQ(elsewhere->get_oElo(session.Receive()), S_OK);
        EXPECT_EQ(Call(session.Get(), L"LookupDelimiter").result.AsText(), L"¶");
    });
}

/// The objects of a thread in the multithreaded apartment live in an apartment that COM keeps for them.
TEST(InsideApartments, ServeCallersWithoutOne) {
    const Beside thread([] {
        const Apartment free(COINIT_MULTITHREADED);
        const auto archive = Make<_ELODMS>(L"Kandora.ELODMS");
        EXPECT_EQ(CheckLogin(archive.Get()), error5);
        const auto provider = Initialised();
        EXPECT_EQ(CheckLogin(archive.Get()), S_OK);
        const auto record = Make<_cBeleg>(L"Kandora.cBeleg");
        EXPECT_EQ(record->put_Barcode(Bstr(L"MU1").Get()), S_OK);
        Bstr barcode;
        EXPECT_EQ(record->get_Barcode(barcode.Receive()), S_OK);
        EXPECT_EQ(barcode.Text(), L"MU1");
    });
}

/// Its own references outlive the thread's stay in COM. The sessions end while COM still works.
TEST(InsideApartments, EndSessionsBeforeTheThreadLeavesCom) {
    ComPtr<_ELODMS> archive;
    ComPtr<_OrigELODMS> older;
    ComPtr<_SOKInterface> accounting;
    {
        const Apartment apartment;
        const auto provider = Initialised();
        archive = Make<_ELODMS>(L"Kandora.ELODMS");
        EXPECT_EQ(CheckLogin(archive.Get()), S_OK);
        older = Make<_OrigELODMS>(L"Kandora.OrigELODMS");
        VARIANT_BOOL exists = VARIANT_TRUE;
        EXPECT_EQ(older->IsDokumentVorhanden(9999, &exists), S_OK);
        accounting = Make<_SOKInterface>(L"Kandora.SOKInterface");
        ComPtr<IDispatch> client;
        EXPECT_EQ(accounting->get_oSesamFibu(client.Receive()), S_OK);
        EXPECT_TRUE(client);
        EXPECT_EQ(Logins(), 3);
        EXPECT_EQ(Logouts(), 0);
    }
    EXPECT_EQ(Logouts(), 2);
    EXPECT_EQ(Traced("clickon(BSTR \"M:Beenden\")"), 1);
    Bstr answer;
    EXPECT_EQ(archive->CheckLogin(answer.Receive()), error91) << "there is nothing to work with any more";
    archive.Reset();
    older.Reset();
    accounting.Reset();
    EXPECT_EQ(Logouts(), 2);
    EXPECT_EQ(Logins(), 3);
}

/// Another apartment still holds the objects when their thread ends.
TEST(InsideApartments, EndUnderTheirCallers) {
    const Apartment apartment;
    std::vector<ComPtr<IDispatch>> objects;
    std::vector<Parcel> parcels;
    std::atomic<bool> isMade = false;
    std::atomic<bool> mayEnd = false;
    {
        const Beside thread([&] {
            const Apartment other;
            const auto provider = Initialised();
            for (const PublicClass& each : PublicClasses()) {
                parcels.emplace_back(Make<IDispatch>((std::wstring(L"Kandora.") + each.name).c_str()));
            }
            isMade = true;
            EXPECT_TRUE(Eventually([&] {
                MSG message;
                while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
                    DispatchMessageW(&message);
                }
                return mayEnd.load();
            }));
        });
        EXPECT_TRUE(Eventually([&] { return isMade.load(); }));
        for (Parcel& parcel : parcels) {
            objects.push_back(parcel.Open<IDispatch>());
        }
        EXPECT_EQ(Call(objects[1].Get(), L"CheckLogin").result.AsText(), L"");
        EXPECT_EQ(Logins(), 2);
        mayEnd = true;
    }
    EXPECT_EQ(Logouts(), 2);
    for (ComPtr<IDispatch>& object : objects) {
        UINT count = 0;
        EXPECT_TRUE(FAILED(object->GetTypeInfoCount(&count))) << "the object's apartment is gone";
        object.Reset();
    }
}

}  // namespace
}  // namespace kandora::outside_tests
