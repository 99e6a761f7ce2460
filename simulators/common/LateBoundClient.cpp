#include "simulators/common/LateBoundClient.h"

#include <objbase.h>

#include <algorithm>
#include <filesystem>

#include "simulators/common/Files.h"

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

TemporaryDirectory::TemporaryDirectory() {
    wchar_t base[MAX_PATH] = {};
    GetTempPathW(static_cast<DWORD>(std::size(base)), base);
    // Process numbers come again; a directory that an ended test left must not be met.
    GUID unique{};
    CoCreateGuid(&unique);
    path_ = std::wstring(base) + L"simulator-" + std::to_wstring(unique.Data1) + L"-" +
            std::to_wstring(unique.Data2);
    CreateDirectories(path_);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(path_), ignored);
}

std::wstring TemporaryDirectory::Write(std::wstring_view name, std::string_view content) const {
    std::wstring path = *this / name;
    WriteFileAtomically(path, content);
    return path;
}

}  // namespace kandora::simulators
