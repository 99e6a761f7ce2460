// The functions that the module exports.

#include <algorithm>
#include <cwchar>

#include <windows.h>

#include <olectl.h>

#include "automation/Errors.h"
#include "automation/OwnArithmetic.h"
#include "component/Classes.h"
#include "component/Module.h"
#include "component/Registration.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"

namespace kandora {

namespace {

/// Makes objects of one public class.
class ClassFactory final : public ComObject<IClassFactory> {
public:
    explicit ClassFactory(const PublicClass& row) : row_(row) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        const OwnArithmetic arithmetic;
        try {
            return ComPtr<IUnknown>::Adopt(row_.create())->QueryInterface(iid, object);
        } catch (...) {
            return HresultOf(CurrentNumber());
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        lock != FALSE ? module::Retain() : module::Release();
        return S_OK;
    }

private:
    module::Use use_;
    const PublicClass& row_;
};

}  // namespace

}  // namespace kandora

// Outside of the namespace, as the platform's headers declare them.

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object) {
    using namespace kandora;
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    const auto classes = PublicClasses();
    const auto row =
        std::ranges::find_if(classes, [&](const PublicClass& each) { return each.clsid == clsid; });
    if (row == classes.end()) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    const auto factory = ComPtr<ClassFactory>::Adopt(new (std::nothrow) ClassFactory(*row));
    if (!factory) {
        return E_OUTOFMEMORY;
    }
    const HRESULT outcome = factory->QueryInterface(iid, object);
    if (SUCCEEDED(outcome)) {
        module::Pin();
    }
    return outcome;
}

STDAPI DllCanUnloadNow() {
    return kandora::module::IsUnused() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    return kandora::Register(kandora::RegistrationScope::Machine);
}

STDAPI DllUnregisterServer() {
    return kandora::Unregister(kandora::RegistrationScope::Machine);
}

/// The command line "user" registers for the current user alone, without administrator rights; anything else
/// for the machine.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    using namespace kandora;
    const bool forUser = commandLine != nullptr && _wcsicmp(commandLine, L"user") == 0;
    const RegistrationScope scope = forUser ? RegistrationScope::User : RegistrationScope::Machine;
    return install != FALSE ? Register(scope) : Unregister(scope);
}
