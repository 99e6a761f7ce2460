// The least that a COM DLL can be: what loading, class object, creation and release cost without a component.
#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <new>

namespace {

class EmptyObject final : public IClassFactory {
public:
    virtual ~EmptyObject() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *object = known ? this : nullptr;
        if (known) {
            AddRef();
        }
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
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

private:
    std::atomic<ULONG> references_ = 1;
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID iid, LPVOID* object) {
    EmptyObject factory;
    return factory.CreateInstance(nullptr, iid, object);
}

STDAPI DllCanUnloadNow() {
    return S_FALSE;
}
