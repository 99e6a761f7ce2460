#include "simulators/common/DispatchObject.h"

#include <atomic>
#include <exception>
#include <new>

namespace kandora::simulators {

namespace {

std::atomic<long> liveObjects{0};

/// A conversion that failed, with the argument's place, so that the caller learns which one it was.
class ArgumentError : public HresultError {
public:
    ArgumentError(HRESULT code, std::size_t index) noexcept : HresultError(code), index_(index) {}
    std::size_t Index() const noexcept { return index_; }

private:
    std::size_t index_;
};

BSTR NewBstr(const std::wstring& text) noexcept {
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace

// --- Arguments ---

const VARIANT& Arguments::Raw(std::size_t index) const noexcept {
    // Automation passes arguments last one first.
    return parameters_.rgvarg[parameters_.cArgs - 1 - index];
}

bool Arguments::IsMissing(std::size_t index) const noexcept {
    return index >= Count() || (Raw(index).vt == VT_ERROR && Raw(index).scode == DISP_E_PARAMNOTFOUND);
}

Value Arguments::Any(std::size_t index) const {
    if (IsMissing(index)) {
        throw ArgumentError(DISP_E_PARAMNOTOPTIONAL, index);
    }
    try {
        return Value::CopyOf(Raw(index));
    } catch (const HresultError& error) {
        throw ArgumentError(error.Code(), index);
    }
}

Value Arguments::Converted(std::size_t index, VARTYPE type) const {
    const Value value = Any(index);
    try {
        return value.ConvertedTo(type);
    } catch (const HresultError& error) {
        throw ArgumentError(error.Code(), index);
    }
}

std::int16_t Arguments::Short(std::size_t index) const {
    return Converted(index, VT_I2).Get().iVal;
}

std::int32_t Arguments::Long(std::size_t index) const {
    return Converted(index, VT_I4).Get().lVal;
}

double Arguments::Double(std::size_t index) const {
    return Converted(index, VT_R8).Get().dblVal;
}

double Arguments::Date(std::size_t index) const {
    return Converted(index, VT_DATE).Get().date;
}

bool Arguments::Boolean(std::size_t index) const {
    return Converted(index, VT_BOOL).Get().boolVal != VARIANT_FALSE;
}

std::wstring Arguments::Text(std::size_t index) const {
    return FromBstr(Converted(index, VT_BSTR).Get().bstrVal);
}

ComPtr<IDispatch> Arguments::Object(std::size_t index) const {
    return ComPtr<IDispatch>(Converted(index, VT_DISPATCH).Get().pdispVal);
}

void Arguments::Assign(std::size_t index, const Value& value) const {
    if (IsMissing(index)) {
        return;
    }
    const VARIANT* target = &Raw(index);
    while (target->vt == (VT_BYREF | VT_VARIANT) && (target->pvarVal->vt & VT_BYREF) != 0) {
        target = target->pvarVal;
    }
    if ((target->vt & VT_BYREF) == 0) {
        return;
    }
    if (target->vt == (VT_BYREF | VT_VARIANT)) {
        VariantClear(target->pvarVal);
        *target->pvarVal = Value(value).Release();
        return;
    }
    const auto type = static_cast<VARTYPE>(target->vt & ~VT_BYREF);
    Value converted;
    try {
        converted = value.ConvertedTo(type);
    } catch (const HresultError& error) {
        throw ArgumentError(error.Code(), index);
    }
    VARIANT content = converted.Release();
    switch (type) {
    case VT_BSTR:
        SysFreeString(*target->pbstrVal);
        *target->pbstrVal = content.bstrVal;
        break;
    case VT_DISPATCH:
        if (*target->ppdispVal != nullptr) {
            (*target->ppdispVal)->Release();
        }
        *target->ppdispVal = content.pdispVal;
        break;
    case VT_UI1:
        *target->pbVal = content.bVal;
        break;
    case VT_I2:
        *target->piVal = content.iVal;
        break;
    case VT_I4:
    case VT_INT:
        *target->plVal = content.lVal;
        break;
    case VT_R4:
        *target->pfltVal = content.fltVal;
        break;
    case VT_R8:
        *target->pdblVal = content.dblVal;
        break;
    case VT_CY:
        *target->pcyVal = content.cyVal;
        break;
    case VT_DATE:
        *target->pdate = content.date;
        break;
    case VT_BOOL:
        *target->pboolVal = content.boolVal;
        break;
    default:
        VariantClear(&content);
        throw ArgumentError(DISP_E_BADVARTYPE, index);
    }
}

// --- MemberTable ---

void MemberTable::Add(Member member) {
    const auto id = static_cast<DISPID>(members_.size() + 1);
    idByFoldedName_[FoldCase(member.name)] = id;
    members_.push_back(std::move(member));
}

void MemberTable::SetDefault(std::wstring_view name) {
    default_ = IdOf(name);
}

DISPID MemberTable::IdOf(std::wstring_view name) const {
    const auto found = idByFoldedName_.find(FoldCase(name));
    return found == idByFoldedName_.end() ? DISPID_UNKNOWN : found->second;
}

const MemberTable::Member* MemberTable::Find(DISPID id) const noexcept {
    if (id == DISPID_VALUE) {
        id = default_;
    }
    if (id < 1 || static_cast<std::size_t>(id) > members_.size()) {
        return nullptr;
    }
    return &members_[static_cast<std::size_t>(id) - 1];
}

// --- Failures ---

FailedCall DescribeCurrentException(const std::wstring& defaultSource) {
    FailedCall failed;
    failed.source = defaultSource;
    try {
        throw;
    } catch (const AutomationError& error) {
        const bool isClassicNumber = error.Number() >= 1 && error.Number() <= 0xFFFF;
        failed.code = DISP_E_EXCEPTION;
        failed.number = isClassicNumber
                            ? static_cast<std::int32_t>(0x800A0000U | static_cast<unsigned>(error.Number()))
                            : error.Number();
        failed.description = error.Description();
        if (!error.Source().empty()) {
            failed.source = error.Source();
        }
    } catch (const ArgumentError& error) {
        failed.code = error.Code();
        failed.argument = error.Index();
        failed.namesArgument = true;
    } catch (const HresultError& error) {
        failed.code = error.Code();
    } catch (const Failure& error) {
        failed.code = DISP_E_EXCEPTION;
        failed.number = E_FAIL;
        failed.description = error.Message();
    } catch (const std::bad_alloc&) {
        failed.code = E_OUTOFMEMORY;
    } catch (const std::exception& error) {
        failed.code = DISP_E_EXCEPTION;
        failed.number = E_FAIL;
        failed.description = FromUtf8(error.what());
    } catch (...) {
        failed.code = E_UNEXPECTED;
    }
    return failed;
}

// --- DispatchObject ---

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
    // Arguments have no names here, so every further name is unknown.
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
