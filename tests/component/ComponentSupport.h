#pragma once

#include <windows.h>

#include <oaidl.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/Text.h"
#include "interfaces/Apartment.h"
#include "interfaces/ComPtr.h"
#include "tests/support/TemporaryFolder.h"

/// What the tests of the built component share: owners for COM's values, calls by name, folders, other
/// programs.
namespace kandora::component_tests {

namespace fs = std::filesystem;
using test::BytesOf;
using test::Eventually;
using test::TemporaryFolder;
using test::WriteBytes;

/// Owns a BSTR.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::wstring_view text)
        : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Bstr() { SysFreeString(text_); }
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    Bstr& operator=(Bstr&&) = delete;
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    [[nodiscard]] BSTR Get() const { return text_; }
    BSTR* Receive() {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    /// The place itself, for an argument that is read and written.
    BSTR* Place() { return &text_; }
    [[nodiscard]] std::wstring Text() const { return {text_ == nullptr ? L"" : text_, SysStringLen(text_)}; }

private:
    BSTR text_ = nullptr;
};

/// Owns a VARIANT.
class Value {
public:
    Value() { VariantInit(&value_); }
    ~Value() { VariantClear(&value_); }
    Value(Value&& other) noexcept : value_(std::exchange(other.value_, VARIANT{})) {}
    Value& operator=(Value&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    static Value Text(std::wstring_view text);
    static Value Short(short number);
    static Value Long(long number);
    static Value Double(double number);
    static Value Boolean(bool given);
    static Value Null();
    /// "Not given", as scripts pass an argument that is left out.
    static Value Missing();
    /// References; what they refer to stays the caller's.
    static Value To(BSTR* text);
    static Value To(long* number);
    static Value To(VARIANT* other);
    /// An array from 0 of the texts.
    static Value Texts(const std::vector<std::wstring>& texts);

    [[nodiscard]] VARTYPE Type() const { return value_.vt; }
    [[nodiscard]] const VARIANT& Raw() const { return value_; }
    VARIANT* Place() { return &value_; }
    VARIANT* Receive() {
        VariantClear(&value_);
        return &value_;
    }
    /// The text that the value holds, which must be one.
    [[nodiscard]] std::wstring AsText() const;

private:
    VARIANT value_;
};

/// How a call by name went.
struct Called {
    HRESULT outcome = E_UNEXPECTED;
    Value result;
    SCODE code = 0;  ///< of the error information
    std::wstring description;
    std::wstring source;
    UINT wrongArgument = 77;  ///< stays 77 unless told
};

DISPID IdOf(IDispatch* object, const wchar_t* name);
/// Arguments in their order; `flags` as DISPATCH_METHOD.
Called Invoke(IDispatch* object, DISPID member, WORD flags, std::vector<Value> arguments = {});
Called Call(IDispatch* object, const wchar_t* name, std::vector<Value> arguments = {});
Called Get(IDispatch* object, const wchar_t* name);
/// Passes the new value under the name DISPID_PROPERTYPUT, as scripting languages do.
Called Put(IDispatch* object, const wchar_t* name, Value value);

/// Expects the object to describe itself by this interface alone.
void ExpectDescribed(IDispatch* object, const std::wstring& iid);

/// A list of values, which cannot be copied as an initializer list would.
template <class... Items>
std::vector<Value> List(Items&&... items) {
    std::vector<Value> list;
    (list.push_back(std::forward<Items>(items)), ...);
    return list;
}

/// The built component, loaded by its path.
class Component {
public:
    static const Component& Built();
    explicit Component(const fs::path& file);

    [[nodiscard]] HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    [[nodiscard]] HRESULT CanUnloadNow() const;
    /// A new object of the class; empty when it cannot be made.
    template <class Interface>
    [[nodiscard]] ComPtr<Interface> Create(REFCLSID clsid, REFIID iid) const {
        ComPtr<IClassFactory> factory;
        ComPtr<Interface> object;
        if (SUCCEEDED(GetClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid()))) {
            factory->CreateInstance(nullptr, iid, object.ReceiveVoid());
        }
        return object;
    }
    [[nodiscard]] HMODULE Module() const { return module_; }

private:
    HMODULE module_;
};

/// The public classes by name.
struct PublicClass {
    const wchar_t* name;
    const wchar_t* clsid;
    const wchar_t* iid;  ///< of the default interface
};
const std::vector<PublicClass>& PublicClasses();
GUID GuidOf(const wchar_t* text);
std::wstring TextOf(REFGUID guid);

/// The folder with the built files, and one of them.
fs::path BinFolder();
fs::path ComponentFile();

/// How another program ended.
struct Ended {
    DWORD exitCode = ~0U;
    std::string output;  ///< standard output and errors
};
/// Runs a program to its end, which must come within minutes.
Ended RunProgram(const fs::path& program, const std::vector<std::wstring>& arguments);
/// A program of the system, of this process's bitness.
fs::path SystemProgram(const wchar_t* name);

/// The arguments that this program was started with, itself left out.
std::vector<std::wstring> OwnArguments();

}  // namespace kandora::component_tests
