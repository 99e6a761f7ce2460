// The least that a COM DLL can be: what loading, class object, creation and release cost without a component.
#include <windows.h>

#include <unknwn.h>

#include <new>

#include "interfaces/ComObject.h"

namespace {

class EmptyObject final : public kandora::ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        auto* const created = new (std::nothrow) EmptyObject;
        if (created == nullptr) {
            return E_OUTOFMEMORY;
        }
        const HRESULT outcome = created->QueryInterface(iid, object);
        created->Release();
        return outcome;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID iid, LPVOID* object) {
    EmptyObject factory;
    return factory.CreateInstance(nullptr, iid, object);
}

STDAPI DllCanUnloadNow() {
    return S_FALSE;
}
