#include "component/Dispatch.h"

#include <vector>

#include "automation/Errors.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "interfaces/ComPtr.h"

namespace kandora {

namespace {

/// The view of a dual interface as its vtable is: results as arguments, HRESULT as the return type.
HRESULT VtableView(ITypeInfo* description, ITypeInfo** view) {
    HREFTYPE reference = 0;
    const HRESULT found = description->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
    return FAILED(found) ? found : description->GetRefTypeInfo(reference, view);
}

class FunctionDescription {
public:
    explicit FunctionDescription(ITypeInfo* info) : info_(info) {}
    ~FunctionDescription() { Reset(); }
    FunctionDescription(const FunctionDescription&) = delete;
    FunctionDescription& operator=(const FunctionDescription&) = delete;

    /// Finds the member in the form that the flags ask for.
    HRESULT Find(DISPID member, WORD flags) {
        TYPEATTR* attributes = nullptr;
        if (const HRESULT outcome = info_->GetTypeAttr(&attributes); FAILED(outcome)) {
            return outcome;
        }
        const UINT count = attributes->cFuncs;
        info_->ReleaseTypeAttr(attributes);
        for (UINT i = 0; i < count; ++i) {
            Reset();
            if (const HRESULT outcome = info_->GetFuncDesc(i, &function_); FAILED(outcome)) {
                return outcome;
            }
            if (function_->memid == member && (static_cast<WORD>(function_->invkind) & flags) != 0) {
                return S_OK;
            }
        }
        return DISP_E_MEMBERNOTFOUND;
    }

    const FUNCDESC* operator->() const noexcept { return function_; }

private:
    void Reset() {
        if (function_ != nullptr) {
            info_->ReleaseFuncDesc(function_);
            function_ = nullptr;
        }
    }

    ITypeInfo* info_;
    FUNCDESC* function_ = nullptr;
};

/// No caller's references to Variants lead as deep; one that refers to itself has no end.
constexpr int deepestReference = 16;

/// Follows references to Variants down to the value that is meant. What leads nowhere is returned as it is
/// and cannot be converted to anything.
VARIANT* Meant(VARIANT* value) {
    for (int depth = 0;
         depth < deepestReference && value->vt == (VT_BYREF | VT_VARIANT) && value->pvarVal != nullptr;
         ++depth) {
        value = value->pvarVal;
    }
    return value;
}

/// One argument on its way into the vtable and, by reference, back.
class DispatchArgument {
public:
    /// `declared` is the parameter's type, or the type that it points to when `byReference`.
    HRESULT Take(VARIANT* given, VARTYPE declared, bool byReference) {
        given_ = given;
        byReference_ = byReference;
        const VARIANT* const meant = Meant(given);
        if (declared == VT_VARIANT) {
            passed_ = *meant;  // stays the caller's
            return S_OK;
        }
        if (meant->vt == VT_ERROR && meant->scode == DISP_E_PARAMNOTFOUND) {
            return DISP_E_PARAMNOTOPTIONAL;
        }
        Variant copy(*meant);
        const HRESULT converted = VariantChangeTypeEx(value_.Receive(), copy.Receive(), LOCALE_USER_DEFAULT,
                                                      VARIANT_ALPHABOOL, declared);
        if (FAILED(converted)) {
            return converted;
        }
        passed_ = value_.Raw();
        if (byReference) {
            before_ = value_;
            passed_.vt = static_cast<VARTYPE>(declared | VT_BYREF);
            passed_.byref = &value_.Receive()->byref;
        }
        return S_OK;
    }

    VARIANT* Passed() noexcept { return &passed_; }

    /// Stores the text that the callee left in a by-reference argument where the caller keeps it, if a text
    /// can be kept there; no member changes anything else. What the callee did not change stays as it was
    /// given: a script's number must not become a text because the member takes one.
    void CopyBack() {
        if (!byReference_ || (given_->vt & VT_BYREF) == 0 || !IsChanged()) {
            return;
        }
        VARIANT* const meant = Meant(given_);
        if (meant->vt == (VT_BYREF | VT_BSTR)) {
            SysFreeString(*meant->pbstrVal);
            *meant->pbstrVal = value_.Detach().bstrVal;
        } else if ((meant->vt & VT_BYREF) == 0) {
            VariantClear(meant);
            *meant = value_.Detach();
        }
    }

private:
    [[nodiscard]] bool IsChanged() const {
        const VARIANT& now = value_.Raw();
        return now.vt == VT_BSTR && TextOf(now.bstrVal) != TextOf(before_.Raw().bstrVal);
    }

    VARIANT* given_ = nullptr;
    bool byReference_ = false;
    Variant value_;
    Variant before_;  ///< of an argument by reference
    VARIANT passed_{};
};

HRESULT ExceptionOf(HRESULT outcome, EXCEPINFO* exception) {
    ComPtr<IErrorInfo> info;
    if (exception == nullptr || GetErrorInfo(0, info.Receive()) != S_OK) {
        return exception == nullptr ? DISP_E_EXCEPTION : outcome;
    }
    *exception = {};
    exception->scode = outcome;
    info->GetDescription(&exception->bstrDescription);
    info->GetSource(&exception->bstrSource);
    return DISP_E_EXCEPTION;
}

bool IsPut(WORD flags) {
    return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
}

bool NamedArgumentsFit(WORD flags, const DISPPARAMS& parameters) {
    return parameters.cNamedArgs == 0 || (IsPut(flags) && parameters.cNamedArgs == 1 &&
                                          parameters.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT);
}

HRESULT InvokeChecked(ITypeInfo* description, void* object, DISPID member, WORD flags, DISPPARAMS& parameters,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) {
    if (!NamedArgumentsFit(flags, parameters)) {
        return DISP_E_NONAMEDARGS;
    }
    ComPtr<ITypeInfo> view;
    if (const HRESULT outcome = VtableView(description, view.Receive()); FAILED(outcome)) {
        return outcome;
    }
    FunctionDescription function(view.Get());
    if (const HRESULT outcome = function.Find(member, flags); FAILED(outcome)) {
        return outcome;
    }
    const auto count = static_cast<UINT>(function->cParams);
    const bool hasResult =
        count > 0 && (function->lprgelemdescParam[count - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
    if (parameters.cArgs != count - (hasResult ? 1U : 0U)) {
        return DISP_E_BADPARAMCOUNT;
    }

    std::vector<DispatchArgument> arguments(parameters.cArgs);
    std::vector<VARTYPE> types(count);
    std::vector<VARIANT*> values(count);
    for (UINT i = 0; i < parameters.cArgs; ++i) {
        const TYPEDESC& type = function->lprgelemdescParam[i].tdesc;
        const bool byReference = type.vt == VT_PTR;
        const UINT position = parameters.cArgs - 1 - i;  // arguments come from the last to the first
        const HRESULT taken = arguments[i].Take(&parameters.rgvarg[position],
                                                byReference ? type.lptdesc->vt : type.vt, byReference);
        if (FAILED(taken)) {
            if (wrongArgument != nullptr) {
                *wrongArgument = position;
            }
            return taken;
        }
        types[i] = byReference ? static_cast<VARTYPE>(type.lptdesc->vt | VT_BYREF) : type.vt;
        values[i] = arguments[i].Passed();
    }
    Variant answer;
    VARIANT answerPlace{};
    if (hasResult) {
        const TYPEDESC& type = function->lprgelemdescParam[count - 1].tdesc;
        // The place must be a pointer to the bare value, or to the Variant as a whole.
        const bool isVariant = type.lptdesc->vt == VT_VARIANT;
        answerPlace.vt = static_cast<VARTYPE>(type.lptdesc->vt | VT_BYREF);
        answerPlace.byref = isVariant ? static_cast<void*>(answer.Receive()) : &answer.Receive()->byref;
        if (!isVariant) {
            answer.Receive()->vt = type.lptdesc->vt;
        }
        types[count - 1] = answerPlace.vt;
        values[count - 1] = &answerPlace;
    }

    Variant returned;
    const HRESULT called = DispCallFunc(object, static_cast<ULONG_PTR>(function->oVft), CC_STDCALL, VT_I4,
                                        count, types.data(), values.data(), returned.Receive());
    if (FAILED(called)) {
        return called;
    }
    for (DispatchArgument& argument : arguments) {
        argument.CopyBack();
    }
    if (const auto outcome = static_cast<HRESULT>(returned.Raw().lVal); FAILED(outcome)) {
        return ExceptionOf(outcome, exception);
    }
    if (result != nullptr) {
        *result = answer.Detach();
    }
    return S_OK;
}

}  // namespace

HRESULT InvokeByDescription(ITypeInfo* description, void* object, DISPID member, WORD flags,
                            DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                            UINT* wrongArgument) noexcept {
    if (parameters == nullptr) {
        return E_INVALIDARG;
    }
    if (result != nullptr) {
        VariantInit(result);
    }
    try {
        return InvokeChecked(description, object, member, flags, *parameters, result, exception,
                             wrongArgument);
    } catch (...) {
        return HresultOf(CurrentNumber());
    }
}

}  // namespace kandora
