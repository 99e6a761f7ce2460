#include "tests/component/Host.h"
#include "interfaces/CodePages.h"
#include "tests/support/ComponentWindows.h"
#include "tests/support/Unique.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iostream>
#include <mutex>
#include <regex>
#include <sstream>
#include <thread>

#include "DmsSolution.h"
#include "Kandora.h"

namespace kandora::component_tests {

namespace {

using nlohmann::json;

/// First argument of the process that plays the host.
constexpr const wchar_t* playHost = L"--play-host";

/// The user: reads the boxes that a thread shows, and confirms each one.
class User : test::Unique {
public:
    explicit User(DWORD thread) : threadId_(thread), thread_([this] { Watch(); }) {}
    ~User() {
        ended_ = true;
        thread_.join();
    }

    std::vector<ShownBox> TakeBoxes() {
        const std::lock_guard guard(lock_);
        return std::exchange(boxes_, {});
    }

private:
    void Watch() {
        while (!ended_) {
            EnumThreadWindows(threadId_, LookAt, reinterpret_cast<LPARAM>(this));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    static BOOL CALLBACK LookAt(HWND window, LPARAM self) {
        reinterpret_cast<User*>(self)->Look(window);
        return TRUE;
    }

    void Look(HWND window) {
        if (window == answered_ || IsWindowVisible(window) == FALSE || test::ClassOf(window) != L"#32770") {
            return;
        }
        const HWND prompt = GetDlgItem(window, 0xFFFF);
        const HWND button = FindWindowExW(window, nullptr, L"Button", nullptr);
        if (prompt == nullptr || button == nullptr) {
            return;  // it is still coming up
        }
        {
            const std::lock_guard guard(lock_);
            boxes_.push_back({test::TextOf(window), test::TextOf(prompt)});
        }
        answered_ = window;
        SendMessageW(button, BM_CLICK, 0, 0);
        // Its handle may be given to the next box as soon as this one is gone.
        while (IsWindow(window) != FALSE) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        answered_ = nullptr;
    }

    DWORD threadId_;
    std::atomic<bool> ended_ = false;
    std::mutex lock_;
    std::vector<ShownBox> boxes_;
    HWND answered_ = nullptr;
    std::thread thread_;
};

json ToJson(const VARIANT& value) {
    if (value.vt == VT_EMPTY) {
        return nullptr;
    }
    if (value.vt == VT_BSTR) {
        return Utf8FromText({value.bstrVal == nullptr ? L"" : value.bstrVal, SysStringLen(value.bstrVal)});
    }
    if (value.vt == (VT_ARRAY | VT_VARIANT)) {
        json list = json::array();
        LONG first = 0;
        LONG last = -1;
        SafeArrayGetLBound(value.parray, 1, &first);
        SafeArrayGetUBound(value.parray, 1, &last);
        for (LONG at = first; at <= last; ++at) {
            Value element;
            SafeArrayGetElement(value.parray, &at, element.Receive());
            list.push_back(ToJson(element.Raw()));
        }
        return list;
    }
    return "Wert vom Typ " + std::to_string(value.vt);
}

/// What the host passes with a voucher.
Value Voucher() {
    Value data;
    data.Place()->vt = VT_ARRAY | VT_VARIANT;
    data.Place()->parray = SafeArrayCreateVector(VT_VARIANT, 0, 5);
    LONG at = 0;
    for (Value& element : List(Value::Text(L"1001/1"), Value(), Value::Long(1001), Value::Short(1),
                               Value::Text(L"MU26000001"))) {
        SafeArrayPutElement(data.Raw().parray, &at, element.Place());
        ++at;
    }
    return data;
}

/// One request through the vtable, as a host calls it.
HRESULT Send(DMSProvider* provider, const std::wstring& request, json& result) {
    const Bstr id(L"20260105093000");
    const Value voucher = Voucher();
    const Value version = Value::Text(L"7.2");
    const Value nothing;
    if (request == L"ShowDocument") {
        return provider->ShowDocument(id.Get(), voucher.Raw());
    }
    if (request == L"PrintDocument") {
        return provider->PrintDocument(id.Get(), nothing.Raw());
    }
    if (request == L"SaveDocument") {
        return provider->SaveDocument(id.Get(), voucher.Raw());
    }
    if (request == L"StartProvider") {
        return provider->StartProvider(nothing.Raw());
    }
    if (request == L"FibuVersion") {
        return provider->FibuVersion(version.Raw());
    }
    if (request == L"CreateDocID") {
        Bstr text(L"vorher");
        const HRESULT code = provider->CreateDocID(voucher.Raw(), text.Receive());
        result = Utf8FromText(text.Text());
        return code;
    }
    if (request == L"GetOpenDocInfo") {
        Value value = Value::Text(L"vorher");
        const HRESULT code = provider->GetOpenDocInfo(value.Receive());
        result = ToJson(value.Raw());
        return code;
    }
    if (request == L"SavePendingDocument") {
        return provider->SavePendingDocument(version.Raw(), id.Get(), voucher.Raw());
    }
    if (request == L"GetVirtualPrinterName") {
        Bstr text(L"vorher");
        const HRESULT code = provider->GetVirtualPrinterName(text.Receive());
        result = Utf8FromText(text.Text());
        return code;
    }
    if (request == L"InitProvider") {
        Value value = Value::Text(L"vorher");
        const HRESULT code = provider->InitProvider(nothing.Raw(), value.Receive());
        result = ToJson(value.Raw());
        return code;
    }
    if (request == L"DeleteDocument") {
        return provider->DeleteDocument(id.Get(), voucher.Raw());
    }
    if (request == L"SetDocumentStatus") {
        return provider->SetDocumentStatus(id.Get(), voucher.Raw());
    }
    if (request == L"DocumentChanged") {
        return provider->DocumentChanged(id.Get(), voucher.Raw());
    }
    throw std::invalid_argument("no such request: " + Utf8FromText(request));
}

HRESULT ReadRunning(_ELOProvider* provider, json& result) {
    VARIANT_BOOL running = 7;
    const HRESULT code = provider->get_bRunning(&running);
    result = running == VARIANT_TRUE;
    return code;
}

/// A call of an outside caller, given as "Class Member" and arguments, on an object made for this call. If it
/// fails, the result is the error's source.
HRESULT CallFromOutside(const Component& component, const std::wstring& call, json& result) {
    std::wistringstream words(call);
    std::wstring name;
    std::wstring member;
    words >> name >> member;
    std::vector<Value> arguments;
    for (std::wstring argument; words >> argument;) {
        arguments.push_back(Value::Text(argument));
    }
    const auto& classes = PublicClasses();
    const auto known =
        std::ranges::find_if(classes, [&](const PublicClass& row) { return row.name == name; });
    const auto object = component.Create<IDispatch>(GuidOf(known->clsid), IID_IDispatch);
    const Called called = Invoke(object.Get(), IdOf(object.Get(), member.c_str()),
                                 DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments));
    if (called.outcome != DISP_E_EXCEPTION) {
        return called.outcome;
    }
    result = Utf8FromText(called.source);
    return called.code;
}

void TakeSettings(const fs::path& component, const std::wstring& name) {
    const fs::path settings = fs::path(component).replace_extension(L".ini");
    if (CopyFileW((component.parent_path() / name).c_str(), settings.c_str(), FALSE) == FALSE) {
        throw std::runtime_error("the settings cannot be replaced");
    }
    // The system keeps INI files in memory for a while; this makes it read the file again.
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, settings.c_str());
}

std::wstring Environment(const wchar_t* name) {
    std::array<wchar_t, 256> text{};
    const DWORD length = GetEnvironmentVariableW(name, text.data(), static_cast<DWORD>(text.size()));
    return {text.data(), length};
}

/// Returns the exit code.
int PlayHost(const std::vector<std::wstring>& arguments) {
    const fs::path file = arguments.at(0);
    json answers = json::array();
    {
        const Apartment apartment;
        const Component component(file);
        auto own = component.Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider);
        auto provider = own.As<DMSProvider>(IID_DMSProvider);
        User user(GetCurrentThreadId());
        for (std::size_t at = 1; at < arguments.size(); ++at) {
            const std::wstring& request = arguments[at];
            constexpr std::wstring_view settings = L"settings ";
            constexpr std::wstring_view outside = L"outside ";
            json result;
            HRESULT code = S_OK;
            if (request == L"bRunning") {
                code = ReadRunning(own.Get(), result);
            } else if (request.starts_with(settings)) {
                TakeSettings(file, request.substr(settings.size()));
            } else if (request.starts_with(outside)) {
                code = CallFromOutside(component, request.substr(outside.size()), result);
            } else {
                code = Send(provider.Get(), request, result);
            }
            json boxes = json::array();
            for (const ShownBox& box : user.TakeBoxes()) {
                boxes.push_back({Utf8FromText(box.caption), Utf8FromText(box.text)});
            }
            answers.push_back(
                {{"request", Utf8FromText(request)}, {"code", code}, {"result", result}, {"boxes", boxes}});
        }
    }
    std::cout << answers.dump() << std::flush;
    return 0;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const ShownBox& box) {
    return stream << "[" << Utf8FromText(box.caption) << "] " << Utf8FromText(box.text);
}

Installation::Installation(const std::wstring& name) : name_(name) {
    fs::copy_file(ComponentFile(), Component());
}

void Installation::WriteSettings(const std::string& text) const {
    WriteBytes(folder_.Path() / (name_ + L".ini"), text);
}

std::vector<Answer> Installation::Play(const std::vector<std::wstring>& requests) const {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    std::vector<std::wstring> arguments{playHost, Component().wstring()};
    arguments.insert(arguments.end(), requests.begin(), requests.end());
    const Ended ended = RunProgram(self.data(), arguments);
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    std::vector<Answer> answers;
    for (const json& told : json::parse(ended.output, nullptr, false)) {
        Answer answer{told["request"], told["code"], told["result"], {}};
        for (const json& box : told["boxes"]) {
            answer.boxes.push_back({TextFromUtf8(std::string(box[0])), TextFromUtf8(std::string(box[1]))});
        }
        answers.push_back(std::move(answer));
    }
    EXPECT_EQ(answers.size(), requests.size()) << ended.output;
    answers.resize(requests.size());
    return answers;
}

std::vector<std::wstring> Installation::LogFiles() const {
    std::vector<std::wstring> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.Path())) {
        if (entry.path().extension() == L".log") {
            files.push_back(entry.path().filename().wstring());
        }
    }
    return files;
}

std::vector<std::wstring> Installation::LogLines() const {
    const std::vector<std::wstring> files = LogFiles();
    std::vector<std::wstring> lines;
    if (files.empty()) {
        return lines;
    }
    EXPECT_EQ(files.size(), 1U);
    const std::wstring name = L"\\d{8}_\\d{6}_" + name_ + L"_" + Environment(L"USERNAME") + L"_" +
                              Environment(L"COMPUTERNAME") + L"_\\.log";
    EXPECT_TRUE(std::regex_match(files[0], std::wregex(name))) << Utf8FromText(files[0]);
    std::string text = BytesOf(folder_.Path() / files[0]);
    const std::regex line(R"((\d\d\.\d\d\.\d{4} \d\d\.\d\d\.\d\d \| )([^\r\n]*)\r\n)");
    std::smatch parts;
    while (std::regex_search(text, parts, line, std::regex_constants::match_continuous)) {
        // The file is written in the ANSI code page.
        lines.push_back(TextFromAnsi(parts[2].str()));
        text = parts.suffix();
    }
    EXPECT_EQ(text, "") << "this is no line";
    return lines;
}

std::optional<int> PlayedHost() {
    std::vector<std::wstring> arguments = OwnArguments();
    if (arguments.empty() || arguments.front() != playHost) {
        return std::nullopt;
    }
    arguments.erase(arguments.begin());
    try {
        return PlayHost(arguments);
    } catch (const std::exception& error) {
        std::cerr << error.what();
        return 1;
    }
}

}  // namespace kandora::component_tests
