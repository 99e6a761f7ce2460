#include "simulators/common/Arguments.h"

#include "simulators/common/CallFailure.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

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

}  // namespace kandora::simulators
