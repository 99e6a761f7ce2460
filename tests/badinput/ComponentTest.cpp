// The built component behind its vtable and behind calls by name, with everything that a caller can pass; and
// in surroundings that are not as they should be.

#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"
#include "tests/component/Host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cwchar>
#include <iostream>
#include <thread>

#include <shellapi.h>

#include "DmsSolution.h"
#include "Kandora.h"
#include "tests/badinput/Troublemakers.h"
#include "tests/support/Unique.h"

namespace kandora::component_tests {
namespace {

using test::Given;
using test::MakeRandom;
using test::Troublemaker;
using test::Troublemakers;

constexpr std::string_view switchedOffAndTraced = "[Debug]\r\nTest=True\r\n[Archiv]\r\nArchivAktiv=False\r\n";

/// Closes every box that the thread shows, and counts them.
class BoxCounter : test::Unique {
public:
    BoxCounter() : threadId_(GetCurrentThreadId()), thread_([this] { Watch(); }) {}
    ~BoxCounter() {
        ended_ = true;
        thread_.join();
    }

    [[nodiscard]] int Boxes() const { return boxes_; }

private:
    void Watch() {
        while (!ended_) {
            EnumThreadWindows(threadId_, LookAt, reinterpret_cast<LPARAM>(this));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    static BOOL CALLBACK LookAt(HWND window, LPARAM self) {
        std::array<wchar_t, 16> name{};
        GetClassNameW(window, name.data(), static_cast<int>(name.size()));
        if (std::wstring_view(name.data()) == L"#32770" && IsWindowVisible(window) != FALSE) {
            ++reinterpret_cast<BoxCounter*>(self)->boxes_;
            PostMessageW(window, WM_COMMAND, IDOK, 0);
        }
        return TRUE;
    }

    DWORD threadId_;
    std::atomic<bool> ended_ = false;
    std::atomic<int> boxes_ = 0;
    std::thread thread_;
};

/// Environment variable with the path of the component that the tests of its vtable load.
constexpr const wchar_t* installedVariable = L"KANDORA_INSTALLED";

/// A traced component in this process. Another process has installed it, because a process cannot remove what
/// it has loaded.
class Vtable : public testing::Test {
protected:
    static const Component& Loaded() {
        static const Component component = [] {
            std::wstring file(512, L'\0');
            file.resize(
                GetEnvironmentVariableW(installedVariable, file.data(), static_cast<DWORD>(file.size())));
            return Component(file);
        }();
        return component;
    }
    void SetUp() override {
        own_ = Loaded().Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider);
        ASSERT_TRUE(own_);
        host_ = own_.As<DMSProvider>(IID_DMSProvider);
        Value result;
        ASSERT_EQ(host_->InitProvider(Value().Raw(), result.Receive()), S_OK);
    }
    void TearDown() override { EXPECT_EQ(boxes_.Boxes(), 0); }

    /// Every request that takes a value, through the vtable.
    void SendEverywhere(const VARIANT& value, const std::string& name) {
        const Bstr id(L"20260105093000");
        Bstr text;
        Value result;
        const std::array<HRESULT, 11> outcomes{host_->ShowDocument(id.Get(), value),
                                               host_->PrintDocument(id.Get(), value),
                                               host_->SaveDocument(id.Get(), value),
                                               host_->StartProvider(value),
                                               host_->FibuVersion(value),
                                               host_->CreateDocID(value, text.Receive()),
                                               host_->SavePendingDocument(value, id.Get(), value),
                                               host_->InitProvider(value, result.Receive()),
                                               host_->DeleteDocument(id.Get(), value),
                                               host_->SetDocumentStatus(id.Get(), value),
                                               host_->DocumentChanged(id.Get(), value)};
        for (std::size_t at = 0; at < outcomes.size(); ++at) {
            ASSERT_EQ(outcomes.at(at), S_OK) << "request " << at << " with " << name;
        }
        ASSERT_EQ(result.Type(), VT_EMPTY) << name;
        ASSERT_EQ(text.Text(), L"") << name;
    }

    Apartment apartment_;
    BoxCounter boxes_;
    ComPtr<_ELOProvider> own_;
    ComPtr<DMSProvider> host_;
};

TEST_F(Vtable, TakesMetadataOfEveryKind) {
    for (const Troublemaker& troublemaker : Troublemakers()) {
        Given given;
        troublemaker.make(given);
        SendEverywhere(given.value, troublemaker.name);
        if (HasFatalFailure()) {
            return;
        }
    }
    std::cout << Troublemakers().size() << " kinds of metadata\n";
}

TEST_F(Vtable, TakesRandomMetadata) {
    test::Random random(99);
    for (int i = 0; i < 500; ++i) {
        Given given;
        MakeRandom(given, random);
        SendEverywhere(given.value, "random value " + std::to_string(i));
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(Vtable, TakesDocumentIdsOfEveryKind) {
    const Value data = Value::Text(L"x");
    const std::array<std::wstring, 5> ids{std::wstring(), std::wstring(L"a\0b", 3),
                                          std::wstring(100'000, L'7'), std::wstring(L"\xD800"),
                                          std::wstring(L"\xDFFF\xD800\xFFFF")};
    for (const std::wstring& text : ids) {
        const Bstr id(text);
        EXPECT_EQ(host_->SaveDocument(id.Get(), data.Raw()), S_OK);
        EXPECT_EQ(host_->SetDocumentStatus(id.Get(), data.Raw()), S_OK);
    }
    EXPECT_EQ(host_->SaveDocument(nullptr, data.Raw()), S_OK);
    EXPECT_EQ(host_->ShowDocument(nullptr, data.Raw()), S_OK);
    EXPECT_EQ(host_->SavePendingDocument(data.Raw(), nullptr, data.Raw()), S_OK);
}

TEST_F(Vtable, TakesNoPlaceForItsResult) {
    const Value data;
    EXPECT_EQ(host_->CreateDocID(data.Raw(), nullptr), S_OK);
    EXPECT_EQ(host_->GetOpenDocInfo(nullptr), S_OK);
    EXPECT_EQ(host_->GetVirtualPrinterName(nullptr), S_OK);
    EXPECT_EQ(host_->InitProvider(data.Raw(), nullptr), S_OK);
}

/// True for the outcomes of a call by name that a caller can deal with.
bool IsAnswer(HRESULT outcome) {
    constexpr auto answers = std::to_array<HRESULT>(
        {S_OK, DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE, DISP_E_PARAMNOTOPTIONAL,
         DISP_E_EXCEPTION, DISP_E_MEMBERNOTFOUND, DISP_E_BADPARAMCOUNT, E_INVALIDARG, E_OUTOFMEMORY});
    return std::ranges::find(answers, outcome) != answers.end();
}

/// A call with arguments exactly as they are, even if Value could not hold them.
HRESULT InvokeRaw(IDispatch* object, DISPID member, WORD flags, VARIANT* arguments, UINT count,
                  bool isNamed) {
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{arguments, isNamed ? &put : nullptr, count, isNamed ? 1U : 0U};
    Value result;
    EXCEPINFO exception{};
    UINT wrong = 0;
    const HRESULT outcome = object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                           isNamed ? nullptr : result.Receive(), &exception, &wrong);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    return outcome;
}

TEST_F(Vtable, AnswersCallsByNameWithArgumentsOfEveryKind) {
    for (IDispatch* const face :
         {static_cast<IDispatch*>(own_.Get()), static_cast<IDispatch*>(host_.Get())}) {
        const DISPID save = IdOf(face, L"SaveDocument");
        const DISPID status = IdOf(face, L"SetDocumentStatus");
        for (const Troublemaker& troublemaker : Troublemakers()) {
            Given first;
            Given second;
            troublemaker.make(first);
            troublemaker.make(second);
            std::array<VARIANT, 2> arguments{first.value, second.value};
            for (const DISPID member : {save, status}) {
                const HRESULT outcome =
                    InvokeRaw(face, member, DISPATCH_METHOD, arguments.data(), arguments.size(), false);
                ASSERT_TRUE(IsAnswer(outcome)) << troublemaker.name << ": 0x" << std::hex << outcome;
            }
        }
    }
}

TEST_F(Vtable, AssignsPropertiesOfEveryKind) {
    const auto record = Loaded().Create<IDispatch>(CLSID_cBeleg, IID_IDispatch);
    ASSERT_TRUE(record);
    for (const Troublemaker& troublemaker : Troublemakers()) {
        Given given;
        troublemaker.make(given);
        const HRESULT running =
            InvokeRaw(own_.Get(), IdOf(own_.Get(), L"bRunning"), DISPATCH_PROPERTYPUT, &given.value, 1, true);
        ASSERT_TRUE(IsAnswer(running)) << troublemaker.name << ": 0x" << std::hex << running;
        const HRESULT barcode = InvokeRaw(record.Get(), IdOf(record.Get(), L"Barcode"), DISPATCH_PROPERTYPUT,
                                          &given.value, 1, true);
        ASSERT_TRUE(IsAnswer(barcode)) << troublemaker.name << ": 0x" << std::hex << barcode;
    }
}

// Surroundings

/// Changes an environment variable for as long as it lives. Programs started meanwhile inherit the value.
class EnvironmentVariable : test::Unique {
public:
    EnvironmentVariable(const wchar_t* name, const std::wstring& value) : name_(name) {
        before_.resize(GetEnvironmentVariableW(name, before_.data(), static_cast<DWORD>(before_.size())));
        SetEnvironmentVariableW(name, value.c_str());
    }
    ~EnvironmentVariable() { SetEnvironmentVariableW(name_, before_.c_str()); }

private:
    const wchar_t* name_;
    std::wstring before_ = std::wstring(512, L'\0');
};

TEST(ComponentInAHost, TakesWhateverItIsGiven) {
    const Installation installation;
    installation.WriteSettings(std::string(switchedOffAndTraced));
    const EnvironmentVariable installed(installedVariable, installation.Component().wstring());
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const Ended ended = RunProgram(self.data(), {L"--gtest_filter=Vtable.*"});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    EXPECT_NE(ended.output.find("[  PASSED  ] 6 tests"), std::string::npos) << ended.output;
    // Each test has a thread state, and with it a log, of its own.
    const std::vector<std::wstring> files = installation.LogFiles();
    EXPECT_TRUE(std::ranges::any_of(files, [&](const std::wstring& file) {
        return BytesOf(installation.Folder() / file).find("DMSProvider_DocumentChanged") != std::string::npos;
    }));
}

class Surroundings : public testing::Test {
protected:
    Installation installation_;
};

TEST_F(Surroundings, WithOddNamesLeaveTheLogReadable) {
    for (const std::wstring& name :
         {std::wstring(L"MUSTER\\anna:1|2*3?"), std::wstring(300, L'u'), std::wstring(L"..\\..\\x")}) {
        const EnvironmentVariable user(L"USERNAME", name);
        const EnvironmentVariable computer(L"COMPUTERNAME", name);
        const Installation installation;
        installation.WriteSettings(std::string(switchedOffAndTraced));
        const std::vector<Answer> answers = installation.Play({L"InitProvider", L"SaveDocument"});
        for (const Answer& answer : answers) {
            EXPECT_EQ(answer.code, S_OK);
            EXPECT_EQ(answer.boxes, std::vector<ShownBox>()) << answer.request;
        }
        const std::vector<std::wstring> files = installation.LogFiles();
        ASSERT_EQ(files.size(), 1U) << Utf8FromText(name.substr(0, 20));
        EXPECT_EQ(files[0].find_first_of(L"\\/:*?\"<>|"), std::wstring::npos);
        EXPECT_NE(BytesOf(installation.Folder() / files[0]).find("DMSProvider_SaveDocument"),
                  std::string::npos);
    }
}

TEST_F(Surroundings, WhereTheLogCannotBeWrittenAreToldInABoxEach) {
    const EnvironmentVariable user(L"USERNAME", L"u");
    const EnvironmentVariable computer(L"COMPUTERNAME", L"c");
    installation_.WriteSettings(std::string(switchedOffAndTraced));
    // A log is named after the second; folders with the names of the next 300 are in its way.
    SYSTEMTIME now{};
    GetLocalTime(&now);
    FILETIME moment{};
    SystemTimeToFileTime(&now, &moment);
    ULARGE_INTEGER ticks{};
    ticks.LowPart = moment.dwLowDateTime;
    ticks.HighPart = moment.dwHighDateTime;
    for (int second = 0; second < 300; ++second) {
        const FILETIME then{ticks.LowPart, ticks.HighPart};
        SYSTEMTIME time{};
        FileTimeToSystemTime(&then, &time);
        std::array<wchar_t, 64> name{};
        swprintf(name.data(), name.size(), L"%04d%02d%02d_%02d%02d%02d_Kandora_u_c_.log", time.wYear,
                 time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond);
        fs::create_directory(installation_.Folder() / name.data());
        ticks.QuadPart += 10'000'000;
    }
    const std::vector<Answer> answers =
        installation_.Play({L"InitProvider", L"FibuVersion", L"SaveDocument", L"GetVirtualPrinterName"});
    for (std::size_t at = 0; at < answers.size(); ++at) {
        EXPECT_EQ(answers[at].code, S_OK);
        // The first two are always traced before a successful start. The setting for more tracing is never
        // read.
        ASSERT_EQ(answers[at].boxes.size(), at < 2 ? 1U : 0U) << answers[at].request;
    }
    EXPECT_EQ(answers[0].boxes[0].caption, L"Kandora");
    EXPECT_NE(answers[0].boxes[0].text.find(L"CALLSTACK: Kandora.InitProvider"), std::wstring::npos);
}

TEST_F(Surroundings, WithAnUnreadableSettingsFileAreToldInOneBox) {
    const fs::path settings = installation_.Folder() / L"Kandora.ini";
    const auto boxes = [&] {
        const std::vector<Answer> answers = installation_.Play({L"InitProvider", L"SaveDocument"});
        EXPECT_EQ(answers[0].code, S_OK);
        EXPECT_EQ(answers[1].code, S_OK);
        EXPECT_EQ(answers[1].boxes, std::vector<ShownBox>());
        return answers[0].boxes;
    };
    fs::create_directory(settings);
    EXPECT_EQ(boxes().size(), 1U) << "a folder";
    fs::remove(settings);
    installation_.WriteSettings(std::string(switchedOffAndTraced));
    const HANDLE locked =
        CreateFileW(settings.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    EXPECT_EQ(boxes().size(), 1U) << "locked by another program";
    CloseHandle(locked);
    EXPECT_EQ(boxes(), std::vector<ShownBox>()) << "free again";
}

TEST_F(Surroundings, TellNoPasswordWhateverFails) {
    // Complete but for one setting at a time, up to the archive, which is not there.
    const std::string password = "geheim-4711";
    std::string good =
        "[Debug]\r\nTest=True\r\n[Archiv]\r\nArchivAktiv=True\r\nEloPrinterFile=x\r\nArchivname=A\r\n"
        "Treuhand=False\r\nSagePFad=S\r\n[Maske]\r\n";
    for (const char* const mask : {"Struktur", "Belege", "Auswertung", "Debi", "Kredi"}) {
        good += std::string(mask) + "=1\r\n";
    }
    for (const char* const section : {"IndexBelege", "IndexDebi", "IndexKredi", "IndexAuswertungen"}) {
        good += "[" + std::string(section) + "]\r\n";
        for (const char* const key :
             {"Barcode", "BelegNr", "BelegIndex", "Belegstatus", "SesamDocID", "Valutadatum", "Betrag",
              "Rechnungsdatum", "OPNr", "PKNr", "AdressNr", "Kundenname", "Kundenort", "Listenbeschreibung",
              "DatumVon", "DatumBis"}) {
            good += std::string(key) + "=1\r\n";
        }
    }
    good += "[Login]\r\nELOUSERNAME=anna\r\nELOPW=" + password + "\r\nELOKUERZEL=an\r\n";
    const std::vector<std::pair<std::string, std::string>> changes{
        {"", ""},
        {"ELOUSERNAME=anna", "ELOUSERNAME="},
        {"ELOKUERZEL=an", ""},
        {"Kredi=1", "Kredi=" + std::string("x")},
        {"Treuhand=False", "Treuhand=" + std::string("nie")}};
    for (const auto& [from, to] : changes) {
        const Installation installation;
        std::string settings = good;
        if (!from.empty()) {
            settings.replace(settings.find(from), from.size(), to);
        }
        installation.WriteSettings(settings);
        const std::vector<Answer> answers = installation.Play(
            {L"InitProvider", L"SaveDocument", L"ShowDocument", L"PrintDocument", L"StartProvider"});
        EXPECT_EQ(answers[0].boxes.size(), 1U) << from;
        for (const Answer& answer : answers) {
            for (const ShownBox& box : answer.boxes) {
                EXPECT_EQ(box.text.find(TextFromUtf8(password)), std::wstring::npos) << box;
                EXPECT_EQ(box.caption.find(TextFromUtf8(password)), std::wstring::npos) << box;
            }
        }
        for (const std::wstring& file : installation.LogFiles()) {
            EXPECT_EQ(BytesOf(installation.Folder() / file).find(password), std::string::npos);
        }
    }
}

}  // namespace
}  // namespace kandora::component_tests

int main(int argc, char** argv) {
    using namespace kandora::component_tests;
    if (const auto played = PlayedHost()) {
        return *played;
    }
    // These run only in the process that another test starts for them, by name.
    testing::GTEST_FLAG(filter) = "-Vtable.*";
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
