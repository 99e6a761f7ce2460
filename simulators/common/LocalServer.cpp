#include "simulators/common/LocalServer.h"

#include <array>
#include <atomic>

#include "interfaces/ComObject.h"
#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

std::atomic<long> serverLocks{0};

class ClassFactory final : public ComObject<IClassFactory> {
public:
    explicit ClassFactory(ClassObject::Maker maker) : maker_(std::move(maker)) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** result) override {
        if (result == nullptr) {
            return E_POINTER;
        }
        *result = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        try {
            const ComPtr<IDispatch> object = maker_();
            return object->QueryInterface(iid, result);
        } catch (...) {
            const HRESULT code = DescribeCurrentException({}).code;
            return code == DISP_E_EXCEPTION ? E_FAIL : code;
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        serverLocks += lock != FALSE ? 1 : -1;
        return S_OK;
    }

private:
    ClassObject::Maker maker_;
};

/// Knows no member. It does not count among the objects of clients.
class Nameless final : public Undescribed<ComObject<IDispatch>> {
public:
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return DISP_E_MEMBERNOTFOUND;
    }
};

/// Throws Failure with what COM does not do.
void RequireServing(HRESULT code, const std::wstring& complaint) {
    if (FAILED(code)) {
        throw Failure(complaint + L": " + SystemMessage(static_cast<unsigned long>(code)));
    }
}

constexpr const wchar_t* classesKey = L"Software\\Classes\\";

/// The views of the registry in which a class may stand; on a 32-bit system both are the same.
constexpr std::array<REGSAM, 2> views{KEY_WOW64_64KEY, KEY_WOW64_32KEY};

struct Root {
    HKEY key;
    const wchar_t* name;
};
const std::array<Root, 2> roots{Root{HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},
                                Root{HKEY_CURRENT_USER, L"HKEY_CURRENT_USER"}};

LSTATUS SetDefaultValue(HKEY root, REGSAM view, const std::wstring& path, const std::wstring& value) {
    HKEY key = nullptr;
    LSTATUS status = RegCreateKeyExW(root, (classesKey + path).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_WRITE | view, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    status = RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                            static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    return status;
}

std::wstring DefaultValue(HKEY root, REGSAM view, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, (classesKey + path).c_str(), 0, KEY_READ | view, &key) != ERROR_SUCCESS) {
        return {};
    }
    wchar_t buffer[128] = {};
    DWORD size = sizeof(buffer) - sizeof(wchar_t);
    DWORD type = 0;
    const LSTATUS status =
        RegQueryValueExW(key, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS && type == REG_SZ ? std::wstring(buffer) : std::wstring();
}

/// Deletes a key with all below it. A key that does not exist is no failure.
LSTATUS DeleteTree(HKEY root, REGSAM view, const std::wstring& path) {
    HKEY key = nullptr;
    const std::wstring full = classesKey + path;
    LSTATUS status = RegOpenKeyExW(root, full.c_str(), 0, KEY_READ | KEY_WRITE | DELETE | view, &key);
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) {
        return ERROR_SUCCESS;
    }
    if (status != ERROR_SUCCESS) {
        return status;
    }
    status = RegDeleteTreeW(key, nullptr);
    RegCloseKey(key);
    if (status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND) {
        status = RegDeleteKeyExW(root, full.c_str(), view, 0);
    }
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

LSTATUS RemoveFrom(HKEY root, const ServerClass& serverClass) {
    const std::wstring id = ToText(serverClass.id);
    LSTATUS result = ERROR_SUCCESS;
    for (const REGSAM view : views) {
        LSTATUS status = DeleteTree(root, view, L"CLSID\\" + id);
        if (status == ERROR_SUCCESS &&
            EqualIgnoringCase(DefaultValue(root, view, serverClass.progId + L"\\CLSID"), id)) {
            status = DeleteTree(root, view, serverClass.progId);
        }
        if (status != ERROR_SUCCESS) {
            result = status;
        }
    }
    return result;
}

LSTATUS WriteTo(HKEY root, const ServerClass& serverClass, const std::wstring& command) {
    const std::wstring id = ToText(serverClass.id);
    const std::array<std::pair<std::wstring, std::wstring>, 5> values{{
        {serverClass.progId, serverClass.description},
        {serverClass.progId + L"\\CLSID", id},
        {L"CLSID\\" + id, serverClass.description},
        {L"CLSID\\" + id + L"\\ProgID", serverClass.progId},
        {L"CLSID\\" + id + L"\\LocalServer32", command},
    }};
    for (const REGSAM view : views) {
        for (const auto& [path, value] : values) {
            const LSTATUS status = SetDefaultValue(root, view, path, value);
            if (status != ERROR_SUCCESS) {
                RemoveFrom(root, serverClass);
                return status;
            }
        }
    }
    return ERROR_SUCCESS;
}

}  // namespace

std::wstring ToText(const CLSID& id) {
    wchar_t buffer[40] = {};
    StringFromGUID2(id, buffer, static_cast<int>(std::size(buffer)));
    return buffer;
}

void RegisterServer(const ServerClass& serverClass, const std::wstring& command) {
    LSTATUS status = ERROR_SUCCESS;
    for (const Root& root : roots) {
        status = WriteTo(root.key, serverClass, command);
        if (status == ERROR_SUCCESS) {
            return;
        }
    }
    throw Failure(L"Die Klasse " + serverClass.progId + L" kann nicht registriert werden: " +
                  SystemMessage(static_cast<unsigned long>(status)));
}

void UnregisterServer(const ServerClass& serverClass) {
    for (const Root& root : roots) {
        const LSTATUS status = RemoveFrom(root.key, serverClass);
        if (status != ERROR_SUCCESS) {
            throw Failure(L"Die Klasse " + serverClass.progId + L" kann unter " + root.name +
                          L" nicht abgemeldet werden: " + SystemMessage(static_cast<unsigned long>(status)));
        }
    }
}

LastingStub::LastingStub() {
    HRESULT code = CreateStreamOnHGlobal(nullptr, TRUE, marshalled_.Receive());
    if (SUCCEEDED(code)) {
        code = CoMarshalInterface(marshalled_.Get(), IID_IDispatch, MakeObject<Nameless>().Get(),
                                  MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG);
    }
    RequireServing(code, L"COM kann anderen Programmen keine Objekte anbieten");
}

LastingStub::~LastingStub() {
    marshalled_->Seek({}, STREAM_SEEK_SET, nullptr);
    CoReleaseMarshalData(marshalled_.Get());
}

ClassObject::ClassObject(const CLSID& id, Maker maker, DWORD context) {
    const ComPtr<ClassFactory> factory = MakeObject<ClassFactory>(std::move(maker));
    RequireServing(CoRegisterClassObject(id, factory.Get(), context, REGCLS_MULTIPLEUSE, &cookie_),
                   L"Die Klasse " + ToText(id) + L" kann COM nicht angeboten werden");
}

ClassObject::~ClassObject() {
    CoRevokeClassObject(cookie_);
}

bool ClassObject::IsLocked() noexcept {
    return serverLocks > 0;
}

}  // namespace kandora::simulators
