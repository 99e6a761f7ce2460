#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <utility>

#include "interfaces/CodePages.h"
#include "simulators/common/LocalServer.h"
#include "tests/component/ComponentSupport.h"
#include "tests/model/Programs.h"
#include "tests/support/Unique.h"

#include "DmsSolution.h"
#include "Kandora.h"

/// The built component in this process, with an archive and an accounting that are in it too.
namespace kandora::stress_tests {

using component_tests::Bstr;
using component_tests::Component;
using component_tests::Value;
using test::TemporaryFolder;
using test::WriteBytes;
namespace fs = std::filesystem;

/// Confirms each message box and cancels each dialog of this thread as soon as it comes up.
class ImpatientUser : test::Unique {
public:
    ImpatientUser() : hook_(SetWindowsHookExW(WH_CBT, Look, nullptr, GetCurrentThreadId())) {}
    ~ImpatientUser() { UnhookWindowsHookEx(hook_); }

    static long Answered() { return answered; }
    /// What the latest box said.
    static std::string Latest() {
        const std::lock_guard guard(lock);
        return Utf8FromText(std::exchange(latest, {}));
    }

private:
    static LRESULT CALLBACK Look(int code, WPARAM wParam, LPARAM lParam) {
        if (code == HCBT_ACTIVATE) {
            auto* const window = reinterpret_cast<HWND>(wParam);
            std::array<wchar_t, 64> name{};
            GetClassNameW(window, name.data(), static_cast<int>(name.size()));
            ++answered;
            if (std::wcscmp(name.data(), L"#32770") == 0) {
                std::array<wchar_t, 1024> text{};
                GetDlgItemTextW(window, 0xFFFF, text.data(), static_cast<int>(text.size()));
                const std::lock_guard guard(lock);
                latest = text.data();
                PostMessageW(window, WM_COMMAND, IDOK, 0);
            } else {
                PostMessageW(window, WM_CLOSE, 0, 0);
            }
        }
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }

    static inline std::atomic<long> answered = 0;
    static inline std::mutex lock;
    static inline std::wstring latest;
    HHOOK hook_;
};

/// Registers the name of a class, for as long as it lives. COM finds the class itself in this process.
class Registered : test::Unique {
public:
    explicit Registered(const wchar_t* progId) {
        if (SUCCEEDED(CLSIDFromProgID(progId, &id))) {
            return;  // another test's registration serves as well
        }
        EXPECT_EQ(CoCreateGuid(&id), S_OK);
        key_ = std::wstring(L"Software\\Classes\\") + progId;
        const std::wstring text = component_tests::TextOf(id);
        // For the machine, or for the user who may not do that.
        for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            root_ = root;
            if (RegSetKeyValueW(root, (key_ + L"\\CLSID").c_str(), nullptr, REG_SZ, text.c_str(),
                                static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS) {
                return;
            }
        }
        ADD_FAILURE() << "cannot be registered: " << Utf8FromText(progId);
    }
    ~Registered() {
        if (!key_.empty()) {
            RegDeleteTreeW(root_, key_.c_str());
        }
    }

    CLSID id{};

private:
    std::wstring key_;
    HKEY root_ = nullptr;
};

/// An installed component and everything around it.
class Place {
public:
    Place() {
        fs::copy_file(component_tests::ComponentFile(), Library());
        WriteBytes(folder_.Path() / L"Platzhalter.pdf", "%PDF");
        WriteBytes(folder_.Path() / L"Kandora.ini", OneHeadEach());
        for (std::size_t client = 0; client < ledger.clients.size(); ++client) {
            accounting.options[client] = OptionsFor(L"/Sesam/" + Decimal(static_cast<std::int64_t>(client)));
        }
    }

    /// A client's options with its folders below `top`, which are made in the archive.
    std::map<int, Text> OptionsFor(const Text& top) {
        std::map<int, Text> all{{100, L"True"},
                                {105, (folder_.Path() / L"Platzhalter.pdf").wstring()},
                                {109, top + L"/Buchungen"},
                                {110, top + L"/Auswertungen"},
                                {111, top + L"/Debi"},
                                {112, top + L"/Kredi"}};
        for (const int option : {109, 110, 111, 112}) {
            archive.CreateFolders(all[option]);
        }
        return all;
    }

    [[nodiscard]] fs::path Library() const { return folder_.Path() / L"Kandora.dll"; }

    model_tests::Faults faults;
    model_tests::Ledger ledger;
    model_tests::Archive archive{faults};
    model_tests::Accounting accounting{faults, ledger};
    Registered archiveName{L"ELO.professional"};
    Registered accountingName{L"FibuNT.Mandant"};

private:
    /// The text of an INI file: each section has one heading with all its keys below.
    static std::string OneHeadEach() {
        std::string text;
        std::string section;
        for (const model_tests::IniKey& each : model_tests::SuitableSettings()) {
            if (each.section != section) {
                section = each.section;
                text += "[" + section + "]\r\n";
            }
            text += each.key + "=" + each.value + "\r\n";
        }
        return text;
    }

    TemporaryFolder folder_{TemporaryFolder::Removal::ByTheNext};
};

/// A host's stay in an apartment: both programs' classes, and a provider that has read its settings.
class Stay {
public:
    /// `accounting` replaces the place's own when it is not null.
    Stay(Place& place, const Component& component, model_tests::Accounting* accounting = nullptr)
        : archive_(
              place.archiveName.id, [&place] { return model_tests::NewSession(place.archive); },
              CLSCTX_INPROC_SERVER),
          accounting_(
              place.accountingName.id,
              [used = accounting == nullptr ? &place.accounting : accounting] {
                  return model_tests::NewClient(*used);
              },
              CLSCTX_INPROC_SERVER) {
        auto own = component.Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider);
        provider_ = own.As<DMSProvider>(IID_DMSProvider);
        const Value nothing;
        Value result;
        EXPECT_EQ(provider_->InitProvider(nothing.Raw(), result.Receive()), S_OK);
        EXPECT_EQ(ImpatientUser::Latest(), "");
    }

    [[nodiscard]] std::wstring NewDocumentId() {
        const Value nothing;
        Bstr id;
        EXPECT_EQ(provider_->CreateDocID(nothing.Raw(), id.Receive()), S_OK);
        return id.Text();
    }

    void Send(int which, const model_tests::Booking& booking) {
        const Bstr id(booking.docId);
        const Value data = Value::Texts({L"1", L"", booking.number, booking.index, booking.barcode});
        const Value nothing;
        Value answer;
        Bstr text;
        HRESULT outcome = E_UNEXPECTED;
        constexpr std::array ofDocuments{&DMSProvider::SaveDocument, &DMSProvider::DocumentChanged,
                                         &DMSProvider::DeleteDocument, &DMSProvider::ShowDocument};
        switch (which) {
        case 0:
        case 1:
        case 2:
        case 3:
            outcome =
                (provider_.Get()->*ofDocuments.at(static_cast<std::size_t>(which)))(id.Get(), data.Raw());
            break;
        case 4:
            outcome = provider_->CreateDocID(data.Raw(), text.Receive());
            break;
        case 5:
            outcome = provider_->GetOpenDocInfo(answer.Receive());
            break;
        case 6:
            outcome = provider_->StartProvider(nothing.Raw());
            break;
        case 7:
            outcome = provider_->PrintDocument(id.Get(), nothing.Raw());
            break;
        default:
            outcome = provider_->InitProvider(nothing.Raw(), answer.Receive());
            break;
        }
        EXPECT_EQ(outcome, S_OK) << "request " << which;
    }

private:
    simulators::ClassObject archive_;
    simulators::ClassObject accounting_;
    ComPtr<DMSProvider> provider_;
};

}  // namespace kandora::stress_tests
