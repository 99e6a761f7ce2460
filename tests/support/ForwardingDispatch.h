#pragma once

#include <windows.h>

#include <oaidl.h>

#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"

namespace kandora::test {

/// Stands before an object and passes every call on to it; derived classes add to that. It has no interface
/// but IDispatch, is made with one reference, and keeps one to its object.
class ForwardingDispatch : public ComObject<IDispatch> {
public:
    explicit ForwardingDispatch(IDispatch* object) : object_(object) {}

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
    ComPtr<IDispatch> object_;
};

}  // namespace kandora::test
