#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "interfaces/ComPtr.h"
#include "simulators/common/Unicode.h"
#include "simulators/common/Value.h"

namespace kandora::simulators {

/// How a late-bound call ended.
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

}  // namespace kandora::simulators
