#pragma once

#include <windows.h>

#include <oaidl.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the tests of the built component share: owners for COM's values, calls by name, folders, other
/// programs.
namespace kandora::component_tests {

namespace fs = std::filesystem;

/// Owns one reference.
template <class Interface>
class Ptr {
public:
    Ptr() = default;
    explicit Ptr(Interface* owned) : object_(owned) {}
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ptr& operator=(Ptr&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    Ptr(const Ptr&) = delete;
    Ptr& operator=(const Ptr&) = delete;
    ~Ptr() { Reset(); }

    void Reset() {
        if (Interface* const object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }
    [[nodiscard]] Interface* Get() const { return object_; }
    Interface* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }
    /// For functions that deliver a reference.
    Interface** Receive() {
        Reset();
        return &object_;
    }
    void** ReceiveVoid() { return reinterpret_cast<void**>(Receive()); }
    /// Empty when the object does not answer to the identifier.
    template <class Other>
    [[nodiscard]] Ptr<Other> As(REFIID iid) const {
        Ptr<Other> other;
        object_->QueryInterface(iid, other.ReceiveVoid());
        return other;
    }

private:
    Interface* object_ = nullptr;
};

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
    /// "Not given", as scripts pass a left out argument.
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
/// The new value goes under the name DISPID_PROPERTYPUT, as languages do it.
Called Put(IDispatch* object, const wchar_t* name, Value value);

/// Makes a list of what cannot be copied.
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
    [[nodiscard]] Ptr<Interface> Create(REFCLSID clsid, REFIID iid) const {
        Ptr<IClassFactory> factory;
        Ptr<Interface> object;
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

/// COM on the calling thread for as long as it lives.
class Apartment {
public:
    explicit Apartment(DWORD kind = COINIT_APARTMENTTHREADED);
    ~Apartment();
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// An empty folder that goes with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

void WriteAnsi(const fs::path& file, const std::string& bytes);
std::string ReadBytes(const fs::path& file);

/// How another program ended.
struct Ended {
    DWORD exitCode = ~0U;
    std::string output;  ///< standard output and errors
};
/// Runs a program to its end, which must come within minutes.
Ended RunProgram(const fs::path& program, const std::vector<std::wstring>& arguments);
/// A program of the system, of this process's bitness.
fs::path SystemProgram(const wchar_t* name);

std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view utf8);

/// Waits until the condition holds; false when it does not come to hold in a minute.
bool Eventually(const std::function<bool()>& condition);

}  // namespace kandora::component_tests
