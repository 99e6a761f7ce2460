#pragma once

#include <windows.h>

#include <oaidl.h>

namespace kandora::test {

/// Stands before an object and passes every call on to it; what it does besides, a derived class says. It has
/// no interface but IDispatch, is made with one reference, and keeps one to its object.
class ForwardingDispatch : public IDispatch {
public:
    explicit ForwardingDispatch(IDispatch* object) : object_(object) { object_->AddRef(); }
    virtual ~ForwardingDispatch() { object_->Release(); }
    ForwardingDispatch(const ForwardingDispatch&) = delete;
    ForwardingDispatch& operator=(const ForwardingDispatch&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDispatch;
        *object = isKnown ? static_cast<IDispatch*>(this) : nullptr;
        references_ += isKnown ? 1 : 0;
        return isKnown ? S_OK : E_NOINTERFACE;
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
        return object_->Invoke(member, reserved, locale, flags, parameters, result, exception, wrongArgument);
    }

private:
    IDispatch* object_;
    ULONG references_ = 1;
};

}  // namespace kandora::test
