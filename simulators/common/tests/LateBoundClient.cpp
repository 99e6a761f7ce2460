#include "simulators/common/tests/LateBoundClient.h"

#include <algorithm>
#include <iterator>

namespace kandora::simulators {

CallResult LateBoundClient::Invoke(const wchar_t* member, WORD flags,
                                   const std::vector<VARIANT>& arguments) const {
    CallResult result;
    DISPID id = 0;
    std::wstring name = member;
    LPOLESTR names[] = {name.data()};
    result.code = object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(result.code)) {
        return result;
    }
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPID putId = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    if ((flags & DISPATCH_PROPERTYPUT) != 0) {
        parameters.rgdispidNamedArgs = &putId;
        parameters.cNamedArgs = 1;
    }
    VARIANT answer;
    VariantInit(&answer);
    EXCEPINFO exception{};
    result.code = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &answer, &exception,
                                  &result.argumentError);
    result.value = Value::CopyOf(answer);
    VariantClear(&answer);
    result.number = exception.scode;
    result.description = FromBstr(exception.bstrDescription);
    result.source = FromBstr(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    return result;
}

CallResult LateBoundClient::Call(const wchar_t* member, std::initializer_list<Value> arguments) const {
    std::vector<VARIANT> raw;
    std::ranges::transform(arguments, std::back_inserter(raw),
                           [](const Value& argument) { return argument.Get(); });
    return Invoke(member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, raw);
}

CallResult LateBoundClient::Get(const wchar_t* member) const {
    return Invoke(member, DISPATCH_PROPERTYGET, {});
}

CallResult LateBoundClient::Put(const wchar_t* member, const Value& value) const {
    return Invoke(member, DISPATCH_PROPERTYPUT, {value.Get()});
}

}  // namespace kandora::simulators
