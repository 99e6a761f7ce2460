#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <system_error>

#include <shellapi.h>

#include "interfaces/CodePages.h"
#include "tests/support/BuiltFile.h"
#include "tests/support/Stacks.h"
#include "tests/support/StartedProgram.h"
#include "tools/check/Handle.h"
#include "tools/check/TypeDescriptions.h"

namespace kandora::component_tests {

namespace {

constexpr DWORD programLimit = 180'000;  // milliseconds

/// An empty value of the type, to which `fill` gives its content.
template <class Fill>
Value Filled(VARTYPE type, Fill fill) {
    Value value;
    value.Place()->vt = type;
    fill(*value.Place());
    return value;
}

/// Quoted so that the C library splits the command line back into these arguments.
std::wstring Quoted(const std::wstring& argument) {
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'\\') {
            ++backslashes;
            continue;
        }
        quoted.append(unit == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += unit;
    }
    return quoted.append(backslashes * 2, L'\\') + L"\"";
}

}  // namespace

// Values

Value Value::Text(std::wstring_view text) {
    return Filled(VT_BSTR, [&](VARIANT& value) {
        value.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    });
}
Value Value::Short(short number) {
    return Filled(VT_I2, [&](VARIANT& value) { value.iVal = number; });
}
Value Value::Long(long number) {
    return Filled(VT_I4, [&](VARIANT& value) { value.lVal = number; });
}
Value Value::Double(double number) {
    return Filled(VT_R8, [&](VARIANT& value) { value.dblVal = number; });
}
Value Value::Boolean(bool given) {
    return Filled(VT_BOOL, [&](VARIANT& value) { value.boolVal = given ? VARIANT_TRUE : VARIANT_FALSE; });
}
Value Value::Null() {
    return Filled(VT_NULL, [](VARIANT&) {});
}
Value Value::Missing() {
    return Filled(VT_ERROR, [](VARIANT& value) { value.scode = DISP_E_PARAMNOTFOUND; });
}
Value Value::To(BSTR* text) {
    return Filled(VT_BYREF | VT_BSTR, [&](VARIANT& value) { value.pbstrVal = text; });
}
Value Value::To(long* number) {
    return Filled(VT_BYREF | VT_I4, [&](VARIANT& value) { value.plVal = number; });
}
Value Value::To(VARIANT* other) {
    return Filled(VT_BYREF | VT_VARIANT, [&](VARIANT& value) { value.pvarVal = other; });
}
Value Value::Texts(const std::vector<std::wstring>& texts) {
    return Filled(VT_ARRAY | VT_VARIANT, [&](VARIANT& value) {
        value.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(texts.size()));
        for (LONG at = 0; at < static_cast<LONG>(texts.size()); ++at) {
            Value element = Text(texts[static_cast<std::size_t>(at)]);
            SafeArrayPutElement(value.parray, &at, element.Place());
        }
    });
}

std::wstring Value::AsText() const {
    if (value_.vt != VT_BSTR) {
        ADD_FAILURE() << "a text was expected, not a value of type " << value_.vt;
        return {};
    }
    return {value_.bstrVal == nullptr ? L"" : value_.bstrVal, SysStringLen(value_.bstrVal)};
}

// Calls by name

DISPID IdOf(IDispatch* object, const wchar_t* name) {
    auto* asked = const_cast<LPOLESTR>(name);
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &asked, 1, LOCALE_USER_DEFAULT, &id), S_OK)
        << Utf8FromText(name);
    return id;
}

Called Invoke(IDispatch* object, DISPID member, WORD flags, std::vector<Value> arguments) {
    std::vector<VARIANT> reversed;
    for (std::size_t at = arguments.size(); at > 0; --at) {
        reversed.push_back(arguments[at - 1].Raw());
    }
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    DISPPARAMS parameters{reversed.data(), isPut ? &put : nullptr, static_cast<UINT>(reversed.size()),
                          isPut ? 1U : 0U};
    Called called;
    EXCEPINFO exception{};
    called.outcome =
        object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                       isPut ? nullptr : called.result.Receive(), &exception, &called.wrongArgument);
    called.code = exception.scode;
    const auto take = [](BSTR text) {
        std::wstring taken(text == nullptr ? L"" : text, SysStringLen(text));
        SysFreeString(text);
        return taken;
    };
    called.description = take(exception.bstrDescription);
    called.source = take(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    return called;
}

Called Call(IDispatch* object, const wchar_t* name, std::vector<Value> arguments) {
    return Invoke(object, IdOf(object, name), DISPATCH_METHOD | DISPATCH_PROPERTYGET, std::move(arguments));
}

Called Get(IDispatch* object, const wchar_t* name) {
    return Invoke(object, IdOf(object, name), DISPATCH_PROPERTYGET);
}

Called Put(IDispatch* object, const wchar_t* name, Value value) {
    return Invoke(object, IdOf(object, name), DISPATCH_PROPERTYPUT, List(std::move(value)));
}

void ExpectDescribed(IDispatch* object, const std::wstring& iid) {
    UINT count = 0;
    EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(object->GetTypeInfoCount(nullptr), E_POINTER);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Receive()), S_OK);
    EXPECT_EQ(TextOf(check::TypeAttributes(info.Get())->guid), iid);
    EXPECT_EQ(object->GetTypeInfo(1, LOCALE_USER_DEFAULT, info.Receive()), DISP_E_BADINDEX);
    EXPECT_FALSE(info);
    EXPECT_EQ(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr), E_POINTER);
}

// The component

Component::Component(const fs::path& file)
    : module_(LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
    if (module_ == nullptr) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                Utf8FromText(file.wstring()));
    }
}

const Component& Component::Built() {
    static const Component component(ComponentFile());
    return component;
}

HRESULT Component::GetClassObject(REFCLSID clsid, REFIID iid, void** object) const {
    const auto function = reinterpret_cast<decltype(&DllGetClassObject)>(
        reinterpret_cast<void*>(GetProcAddress(module_, "DllGetClassObject")));
    return function(clsid, iid, object);
}

HRESULT Component::CanUnloadNow() const {
    const auto function = reinterpret_cast<decltype(&DllCanUnloadNow)>(
        reinterpret_cast<void*>(GetProcAddress(module_, "DllCanUnloadNow")));
    return function();
}

const std::vector<PublicClass>& PublicClasses() {
    static const std::vector<PublicClass> classes{
        {L"ELOProvider", L"{6129D4B6-648D-4312-890E-F7F9C45BC617}",
         L"{C61A0F87-AADD-4B38-9A38-1ECB7341001B}"},
        {L"ELODMS", L"{6D013511-784A-4599-BD39-AD2204CDC948}", L"{AD130315-5C66-44A0-A02A-F1018089CE29}"},
        {L"OrigELODMS", L"{D9FD4FF2-B19E-4A98-8C50-08EB4BE0F069}", L"{10C2AFB9-BEEA-45BE-8A5B-D08E9555B2C5}"},
        {L"SOKInterface", L"{A4D08778-6744-4999-8E08-417B9DC0971D}",
         L"{8DD8B6E9-A0D2-4B77-89FE-6990C7E3835A}"},
        {L"cUser", L"{2697026E-D92C-4A4D-A030-0DB02C4DD320}", L"{AF090F65-E329-40C0-820A-5FC0D36B80FF}"},
        {L"cBeleg", L"{C6E71054-3657-497A-AE85-352AAAFB57A4}", L"{D35F0BF9-7DB1-4142-B1A7-C4FE7CC03C7F}"},
        {L"cDebiBeleg", L"{236409D5-A13B-4299-B7F4-6471B9FD7D3A}", L"{5000F3E7-DFA6-44F2-BEA8-DDC06A71BCD7}"},
        {L"cKrediBeleg", L"{8E395AAA-D04D-42BA-A62D-A38CAE2DA15E}",
         L"{5BF7AE62-EB89-4584-85DC-616A4C5BCCE9}"},
        {L"cAuswertung", L"{0B4F002C-746C-4AAF-B503-4116B7B09AE9}",
         L"{16D83923-165E-4F07-9FBD-BEE0CC836CB7}"},
    };
    return classes;
}

GUID GuidOf(const wchar_t* text) {
    GUID guid{};
    EXPECT_EQ(CLSIDFromString(text, &guid), S_OK) << Utf8FromText(text);
    return guid;
}

std::wstring TextOf(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

fs::path BinFolder() {
    return test::BuiltFile(L"bin");
}

fs::path ComponentFile() {
    return BinFolder() / L"Kandora.dll";
}

// Programs

Ended RunProgram(const fs::path& program, const std::vector<std::wstring>& arguments) {
    // The pipe is read only until the program ends: a process that Windows itself starts meanwhile (the
    // desktop, say) inherits the other end and may keep it open much longer.
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    Ended ended;
    if (!CreatePipe(&readEnd, &writeEnd, &inherited, 0)) {
        ADD_FAILURE() << "no pipe: " << GetLastError();
        return ended;
    }
    const check::Handle output(readEnd);
    const check::Handle input(writeEnd);
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

    std::wstring commandLine = Quoted(program.wstring());
    for (const std::wstring& argument : arguments) {
        commandLine += L" " + Quoted(argument);
    }
    const auto readAvailable = [&] {
        DWORD available = 0;
        while (PeekNamedPipe(readEnd, nullptr, 0, nullptr, &available, nullptr) && available > 0) {
            std::string bytes(available, '\0');
            DWORD read = 0;
            ReadFile(readEnd, bytes.data(), available, &read, nullptr);
            ended.output.append(bytes, 0, read);
        }
        return !ended.output.empty();
    };
    try {
        test::StartedProgram started({commandLine, writeEnd, writeEnd});
        if (!started.Ends(readAvailable, programLimit)) {
            ADD_FAILURE() << Utf8FromText(commandLine) << " does not end; it is ended by force. Meanwhile:\n"
                          << test::StacksOfAll();
            started.End();
        }
        readAvailable();
        ended.exitCode = started.ExitCode();
    } catch (const std::system_error& error) {
        ADD_FAILURE() << "does not start: " << error.what();
    }
    return ended;
}

fs::path SystemProgram(const wchar_t* name) {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return fs::path(folder.data()) / name;
}

std::vector<std::wstring> OwnArguments() {
    int count = 0;
    wchar_t** const given = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> arguments(given + 1, given + count);
    LocalFree(given);
    return arguments;
}

}  // namespace kandora::component_tests
