#pragma once

#include <windows.h>

#include <oaidl.h>

#include <filesystem>
#include <string>
#include <vector>

#include "interfaces/ComPtr.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Value.h"
#include "simulators/host/ClientFile.h"
#include "simulators/host/Driver.h"

namespace kandora::simulators {

/// The sample client that is part of the project.
std::filesystem::path SampleClientPath();

/// A late-bound call by name, as the component makes it; `flags` are those of Invoke. Throws the failing
/// HRESULT.
Value CallMember(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments = {},
                 WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET);

/// The same with text arguments passed by reference (VT_BYREF|VT_BSTR).
Value CallByReference(IDispatch* object, const wchar_t* name, const std::vector<std::wstring>& texts);

/// The text of a call's failure: the EXCEPINFO description of an answer that must be DISP_E_EXCEPTION.
std::wstring ErrorTextOf(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments = {});

/// The object in a value.
ComPtr<IDispatch> ObjectOf(const Value& value);

/// The value's text by the platform's conversion.
std::wstring TextOf(const Value& value);

/// The outcomes when every booking of the client is saved in order, without a failure and without a box.
std::vector<Outcome> AllSaved(const ClientFile& client);

/// A small client with one booking per kind.
extern const char* const smallClient;

}  // namespace kandora::simulators
