#pragma once

#include <memory>
#include <utility>

#include <windows.h>

#include <oaidl.h>

#include "automation/Errors.h"
#include "automation/LateBound.h"
#include "automation/OwnArithmetic.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "automation/Work.h"
#include "component/Module.h"
#include "component/ThreadState.h"
#include "component/TypeLibraries.h"
#include "interfaces/ComObject.h"

namespace kandora {

/// Leaves an error's description and source for the caller and returns the HRESULT of its number.
HRESULT ReportError(const RuntimeError& error, REFIID iid) noexcept;
/// The same with the exception that is being handled; to be called inside a catch block only.
HRESULT ReportCurrentError(REFIID iid) noexcept;

/// Runs a procedure for an outside caller: nothing but a return value leaves it.
HRESULT CarryOut(REFIID iid, Work body) noexcept;

// IDispatch of an interface that one of the module's type libraries describes.
HRESULT TypeInfoOf(REFIID iid, int library, UINT index, ITypeInfo** info) noexcept;
HRESULT IdsOfNames(REFIID iid, int library, REFIID reserved, LPOLESTR* names, UINT count,
                   DISPID* ids) noexcept;
HRESULT InvokeMember(REFIID iid, int library, REFIID reserved, void* object, DISPID member, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                     UINT* wrongArgument) noexcept;

// Stores a value in a result argument; the caller owns what is stored.
inline void Deliver(BSTR* result, const Text& value) {
    *result = NewBstr(value);
}
inline void Deliver(long* result, std::int32_t value) {
    *result = value;
}
inline void Deliver(VARIANT_BOOL* result, bool value) {
    *result = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void Deliver(DATE* result, DATE value) {
    *result = value;
}
inline void Deliver(VARIANT* result, Variant value) {
    *result = value.Detach();
}
inline void Deliver(IDispatch** result, const LateBound& value) {
    *result = value.Pointer();
    if (*result != nullptr) {
        (*result)->AddRef();
    }
}

/// An argument by reference; its absence is an error of the caller.
template <class T>
T& Required(T* argument) {
    if (argument == nullptr) {
        throw RuntimeError(errors::invalidArgument);
    }
    return *argument;
}

/// Runs a procedure that may change a by-reference text, and hands the changed text back, also when it
/// raised.
template <class Body>
decltype(auto) WithText(BSTR* argument, Body&& body) {
    Text text = TextOf(Required(argument));
    struct CopyBack {
        BSTR* argument;
        const Text& text;
        Text before;
        ~CopyBack() {
            if (text != before) {
                SysReAllocStringLen(argument, text.data(), static_cast<UINT>(text.size()));
            }
        }
    } const copyBack{argument, text, text};
    return std::forward<Body>(body)(text);
}

/// A public class behind its dual interface: identity, reference count, calls by name and error information.
/// A derived class converts and forwards, each of its methods through Guarded or Result.
template <class Interface, const IID& iid>
class AutomationObject : public ComObject<Interface, ISupportErrorInfo> {
public:
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID asked) override {
        return asked == iid ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID /*locale*/, ITypeInfo** info) override {
        return TypeInfoOf(iid, ownLibrary, index, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID /*locale*/,
                                            DISPID* ids) override {
        return IdsOfNames(iid, ownLibrary, reserved, names, count, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID /*locale*/, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrongArgument) override {
        return InvokeMember(iid, ownLibrary, reserved, static_cast<Interface*>(this), member, flags,
                            parameters, result, exception, wrongArgument);
    }

protected:
    AutomationObject() : state_(CurrentThreadState()) {}
    ~AutomationObject() override = default;

    /// The state of the thread that made the object.
    [[nodiscard]] ThreadState& State() const noexcept { return *state_; }
    [[nodiscard]] MGlobals& Globals() const noexcept { return state_->Globals(); }

    /// Runs a procedure for an outside caller; here one that uses nothing of what the thread's requests
    /// share.
    virtual HRESULT Guarded(Work body) noexcept { return CarryOut(iid, body); }

    /// The same for a procedure with a result; after an error the result is the empty value of its type.
    template <class Value, class Body>
    HRESULT Result(Value* result, Body&& body) noexcept {
        if (result == nullptr) {
            return E_POINTER;
        }
        *result = Value{};
        return Guarded([&] { Deliver(result, std::forward<Body>(body)()); });
    }

private:
    void Finish() override {
        const OwnArithmetic arithmetic;
        delete this;
    }

    module::Use use_;
    std::shared_ptr<ThreadState> state_;
};

}  // namespace kandora
