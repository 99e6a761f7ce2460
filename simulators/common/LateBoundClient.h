#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "simulators/common/DispatchObject.h"

/// Helpers for tests of automation objects: a late-bound client and a directory that goes when the test ends.
namespace kandora::simulators {

/// What a late-bound call brought.
struct CallResult {
    HRESULT code = S_OK;
    Value value;
    std::int32_t number = 0;   ///< EXCEPINFO's code
    std::wstring description;  ///< EXCEPINFO's text
    std::wstring source;
    UINT argumentError = 99;  ///< 99 when the callee left it alone

    std::int32_t Long() const { return value.ConvertedTo(VT_I4).Get().lVal; }
    std::wstring Text() const { return FromBstr(value.ConvertedTo(VT_BSTR).Get().bstrVal); }
};

/// Drives an object through IDispatch alone, as a script would.
class LateBoundClient {
public:
    explicit LateBoundClient(IDispatch* object) : object_(object) {}

    IDispatch* Object() const noexcept { return object_.Get(); }

    /// Asks for the member's id and calls it; arguments in call order.
    CallResult Invoke(const wchar_t* member, WORD flags, const std::vector<VARIANT>& arguments) const;
    CallResult Call(const wchar_t* member, std::initializer_list<Value> arguments = {}) const;
    CallResult Get(const wchar_t* member) const;
    CallResult Put(const wchar_t* member, const Value& value) const;

private:
    ComPtr<IDispatch> object_;
};

/// A new, empty directory below the system's one for temporary files.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::wstring& Path() const noexcept { return path_; }
    /// The path of something in it.
    std::wstring operator/(std::wstring_view name) const { return path_ + L"\\" + std::wstring(name); }
    /// Writes a file there and answers its path.
    std::wstring Write(std::wstring_view name, std::string_view content) const;

private:
    std::wstring path_;
};

/// The message of the Failure that the action throws; empty when it throws none.
template <class Action>
std::wstring FailureOf(Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (const Failure& failure) {
        return failure.Message();
    }
    return {};
}

}  // namespace kandora::simulators
