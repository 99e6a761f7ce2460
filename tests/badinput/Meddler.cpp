#include "tests/badinput/Meddler.h"

#include <oleauto.h>

namespace kandora::test {

namespace {

class Meddler final : public IDispatch {
public:
    Meddler(IDispatch* object, Meddling& meddling) : object_(object), meddling_(meddling) {
        object_->AddRef();
    }
    virtual ~Meddler() { object_->Release(); }
    Meddler(const Meddler&) = delete;
    Meddler& operator=(const Meddler&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDispatch;
        *object = isKnown ? static_cast<IDispatch*>(this) : nullptr;
        if (!isKnown) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        return object_->GetTypeInfoCount(count);
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
        return object_->GetTypeInfo(index, locale, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override {
        return object_->GetIDsOfNames(reserved, names, count, locale, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrongArgument) override {
        const HRESULT outcome =
            object_->Invoke(member, reserved, locale, flags, parameters, result, exception, wrongArgument);
        const bool isVictim = meddling_.next++ == meddling_.victim;
        if (FAILED(outcome)) {
            return outcome;
        }
        if (isVictim) {
            meddling_.hadResult = result != nullptr;
            if (FAILED(meddling_.failure)) {
                if (result != nullptr) {
                    VariantClear(result);
                }
                return meddling_.failure;
            }
            if (result != nullptr) {
                VariantClear(result);
                *result = meddling_.answer();
            }
        } else if (result != nullptr && result->vt == VT_DISPATCH && result->pdispVal != nullptr) {
            IDispatch* const standIn = new Meddler(result->pdispVal, meddling_);
            VariantClear(result);
            result->vt = VT_DISPATCH;
            result->pdispVal = standIn;
        }
        return outcome;
    }

private:
    IDispatch* object_;
    Meddling& meddling_;
    ULONG references_ = 1;
};

}  // namespace

LateBound Meddled(const LateBound& object, Meddling& meddling) {
    auto* const standIn = new Meddler(object.Pointer(), meddling);
    LateBound owner(standIn);
    standIn->Release();
    return owner;
}

}  // namespace kandora::test
