#pragma once

#include <windows.h>

#include <oaidl.h>

#include <functional>
#include <utility>

#include "interfaces/ComObject.h"

namespace kandora::component_tests {

/// A value of the host's that calls back when its text is asked for.
class CallingValue final : public Undescribed<LentComObject<IDispatch>> {
public:
    explicit CallingValue(std::function<void()> action) : action_(std::move(action)) {}

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        if (member != DISPID_VALUE) {
            return DISP_E_MEMBERNOTFOUND;
        }
        if (auto action = std::exchange(action_, nullptr)) {
            action();
        }
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(L"7.2");
        return S_OK;
    }

    [[nodiscard]] VARIANT AsVariant() {
        VARIANT value{};
        value.vt = VT_DISPATCH;
        value.pdispVal = this;
        return value;
    }

private:
    std::function<void()> action_;
};

}  // namespace kandora::component_tests
