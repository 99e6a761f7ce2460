#include "simulators/common/DispatchObject.h"

#include <atomic>

#include "interfaces/ComPtr.h"

namespace kandora::simulators {

namespace {

std::atomic<long> liveObjects{0};

BSTR NewBstr(const std::wstring& text) noexcept {
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace

DispatchObject::DispatchObject(std::wstring className, const MemberTable& members)
    : className_(std::move(className)), members_(members) {
    ++liveObjects;
}

DispatchObject::~DispatchObject() {
    --liveObjects;
}

long DispatchObject::LiveObjects() noexcept {
    return liveObjects;
}

HRESULT DispatchObject::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
    if (!IsEqualIID(iid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (names == nullptr || ids == nullptr || count == 0) {
        return E_INVALIDARG;
    }
    try {
        ids[0] = members_.IdOf(names[0]);
        if (ids[0] == DISPID_UNKNOWN) {
            OnUnknownName(names[0]);
        }
    } catch (...) {
        return DescribeCurrentException(className_).code;
    }
    // Further names are those of arguments, which have none here.
    for (UINT index = 1; index < count; ++index) {
        ids[index] = DISPID_UNKNOWN;
    }
    return ids[0] == DISPID_UNKNOWN || count > 1 ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT DispatchObject::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters,
                               VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
    if (result != nullptr) {
        VariantInit(result);
    }
    if (!IsEqualIID(iid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (parameters == nullptr || (parameters->cArgs > 0 && parameters->rgvarg == nullptr)) {
        return E_INVALIDARG;
    }
    const MemberTable::Member* member = members_.Find(id);
    if (member == nullptr) {
        return DISP_E_MEMBERNOTFOUND;
    }

    CallKind kind = CallKind::Method;
    std::size_t count = parameters->cArgs;
    if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
        if (!member->put) {
            return DISP_E_MEMBERNOTFOUND;
        }
        if (parameters->cNamedArgs != 1 || parameters->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
            return parameters->cNamedArgs > 1 ? DISP_E_NONAMEDARGS : DISP_E_PARAMNOTOPTIONAL;
        }
        if (count == 0) {
            return DISP_E_BADPARAMCOUNT;
        }
        --count;
        kind = CallKind::Put;
    } else {
        if (parameters->cNamedArgs != 0) {
            return DISP_E_NONAMEDARGS;
        }
        if (member->method && (flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) != 0) {
            kind = CallKind::Method;
        } else if (member->get && (flags & DISPATCH_PROPERTYGET) != 0) {
            kind = CallKind::Get;
        } else {
            return DISP_E_MEMBERNOTFOUND;
        }
    }
    if (count < member->minimum || count > member->maximum) {
        return DISP_E_BADPARAMCOUNT;
    }
    Arguments arguments(*parameters);
    return Answer(*member, kind, arguments, result, exception, argumentError);
}

HRESULT DispatchObject::Answer(const MemberTable::Member& member, CallKind kind, Arguments& arguments,
                               VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
    // The last client may let go of the object while the call runs.
    const ComPtr<DispatchObject> alive(this);
    try {
        const Call call{member.name, kind, arguments};
        Value answer = Perform(call, [&]() -> Value {
            switch (kind) {
            case CallKind::Method:
                return member.method(*this, arguments);
            case CallKind::Get:
                return member.get(*this, arguments);
            case CallKind::Put:
                member.put(*this, arguments);
                break;
            }
            return Value();
        });
        if (result != nullptr && kind != CallKind::Put) {
            *result = answer.Release();
        }
        return S_OK;
    } catch (...) {
        const FailedCall failed = DescribeCurrentException(className_);
        if (failed.code == DISP_E_EXCEPTION && exception != nullptr) {
            *exception = EXCEPINFO{};
            exception->scode = failed.number;
            exception->bstrDescription = NewBstr(failed.description);
            exception->bstrSource = NewBstr(failed.source);
        }
        if (failed.namesArgument && failed.argument < arguments.Count() && argumentError != nullptr) {
            *argumentError = static_cast<UINT>(arguments.Count() - 1 - failed.argument);
        }
        return failed.code;
    }
}

Value DispatchObject::Perform(const Call&, const std::function<Value()>& proceed) {
    return proceed();
}

void DispatchObject::OnUnknownName(std::wstring_view) {}

}  // namespace kandora::simulators
