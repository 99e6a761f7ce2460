#pragma once

#include <oaidl.h>

#include <filesystem>
#include <string>
#include <vector>

#include "interfaces/ComPtr.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Value.h"
#include "simulators/host/ClientFile.h"
#include "simulators/host/Driver.h"

namespace kandora::simulators::testing {

/// A folder of its own, gone with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::wstring& name) const { return path_ / name; }

    /// Writes a file (UTF-8), with the folders above it.
    std::filesystem::path Write(const std::wstring& name, const std::string& content) const;

private:
    std::filesystem::path path_;
};

std::string ReadFile(const std::filesystem::path& path);

/// The sample client that is part of the project.
std::filesystem::path SampleClientPath();

/// A late-bound call by name, as the component makes it; `flags` are those of Invoke. Throws the failing
/// HRESULT.
Value Call(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments = {},
           WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET);

/// The same with text arguments passed by reference (VT_BYREF|VT_BSTR).
Value CallByReference(IDispatch* object, const wchar_t* name, const std::vector<std::wstring>& texts);

/// The text of a call's failure: the EXCEPINFO description of an answer that must be DISP_E_EXCEPTION.
std::wstring FailureOf(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments = {});

/// The object in a value.
ComPtr<IDispatch> ObjectOf(const Value& value);

/// The value's text by the platform's conversion.
std::wstring TextOf(const Value& value);

/// What a driver that saves every booking of the client tells, in their order: no failure, no box.
std::vector<Outcome> AllSaved(const ClientFile& client);

/// The message of the Failure that `work` throws; empty when it throws none.
template <class Work>
std::wstring MessageOf(Work work) {
    try {
        work();
    } catch (const Failure& failure) {
        return failure.Message();
    }
    return {};
}

/// A small client with one booking per kind.
extern const char* const smallClient;

}  // namespace kandora::simulators::testing
