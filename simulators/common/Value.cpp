#include "simulators/common/Value.h"

#include <cstdio>
#include <utility>

#include "simulators/common/DispatchObject.h"

namespace kandora::simulators {

namespace {

/// The platform declares the sources of its conversions without const, though it leaves them alone.
VARIANT* Source(const VARIANT& value) noexcept {
    return const_cast<VARIANT*>(&value);
}

std::wstring TypeName(VARTYPE type) {
    switch (type) {
    case VT_EMPTY:
        return L"EMPTY";
    case VT_NULL:
        return L"NULL";
    case VT_I1:
        return L"I1";
    case VT_I2:
        return L"I2";
    case VT_I4:
        return L"I4";
    case VT_I8:
        return L"I8";
    case VT_UI1:
        return L"UI1";
    case VT_UI2:
        return L"UI2";
    case VT_UI4:
        return L"UI4";
    case VT_UI8:
        return L"UI8";
    case VT_INT:
        return L"INT";
    case VT_UINT:
        return L"UINT";
    case VT_R4:
        return L"R4";
    case VT_R8:
        return L"R8";
    case VT_CY:
        return L"CY";
    case VT_DATE:
        return L"DATE";
    case VT_BSTR:
        return L"BSTR";
    case VT_BOOL:
        return L"BOOL";
    case VT_DECIMAL:
        return L"DECIMAL";
    case VT_DISPATCH:
        return L"DISPATCH";
    case VT_UNKNOWN:
        return L"UNKNOWN";
    case VT_ERROR:
        return L"ERROR";
    case VT_VARIANT:
        return L"VARIANT";
    default:
        return L"VT" + std::to_wstring(type);
    }
}

std::wstring DescribeContent(const Value& value) {
    const VARIANT& variant = value.Get();
    switch (variant.vt) {
    case VT_EMPTY:
    case VT_NULL:
        return {};
    case VT_BSTR:
        return L" " + Quoted(FromBstr(variant.bstrVal));
    case VT_BOOL:
        return variant.boolVal != VARIANT_FALSE ? L" true" : L" false";
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return variant.punkVal == nullptr ? L" Nothing" : L" object";
    case VT_ERROR: {
        wchar_t code[16];
        std::swprintf(code, std::size(code), L" 0x%08lX", static_cast<unsigned long>(variant.scode));
        return variant.scode == DISP_E_PARAMNOTFOUND ? L" missing" : code;
    }
    default:
        break;
    }
    if ((variant.vt & VT_ARRAY) != 0) {
        return L" array";
    }
    VARIANT converted;
    VariantInit(&converted);
    // The invariant locale, so that a trace reads the same on every machine.
    if (FAILED(VariantChangeTypeEx(&converted, Source(variant), LOCALE_INVARIANT, 0, VT_BSTR))) {
        return L" ?";
    }
    std::wstring content = L" " + FromBstr(converted.bstrVal);
    VariantClear(&converted);
    return content;
}

}  // namespace

Value::Value(const Value& other) {
    VariantInit(&variant_);
    const HRESULT code = VariantCopy(&variant_, Source(other.variant_));
    if (FAILED(code)) {
        throw HresultError(code);
    }
}

Value& Value::operator=(Value other) noexcept {
    std::swap(variant_, other.variant_);
    return *this;
}

Value Value::Null() {
    Value value;
    value.variant_.vt = VT_NULL;
    return value;
}

Value Value::Boolean(bool content) {
    Value value;
    value.variant_.vt = VT_BOOL;
    value.variant_.boolVal = content ? VARIANT_TRUE : VARIANT_FALSE;
    return value;
}

Value Value::Short(std::int16_t content) {
    Value value;
    value.variant_.vt = VT_I2;
    value.variant_.iVal = content;
    return value;
}

Value Value::Long(std::int32_t content) {
    Value value;
    value.variant_.vt = VT_I4;
    value.variant_.lVal = content;
    return value;
}

Value Value::Double(double content) {
    Value value;
    value.variant_.vt = VT_R8;
    value.variant_.dblVal = content;
    return value;
}

Value Value::Date(double content) {
    Value value;
    value.variant_.vt = VT_DATE;
    value.variant_.date = content;
    return value;
}

Value Value::Currency(std::int64_t tenThousandths) {
    Value value;
    value.variant_.vt = VT_CY;
    value.variant_.cyVal.int64 = tenThousandths;
    return value;
}

Value Value::Text(std::wstring_view content) {
    Value value;
    value.variant_.bstrVal = SysAllocStringLen(content.data(), static_cast<UINT>(content.size()));
    if (value.variant_.bstrVal == nullptr) {
        throw HresultError(E_OUTOFMEMORY);
    }
    value.variant_.vt = VT_BSTR;
    return value;
}

Value Value::Object(IDispatch* object) {
    Value value;
    value.variant_.vt = VT_DISPATCH;
    value.variant_.pdispVal = object;
    if (object != nullptr) {
        object->AddRef();
    }
    return value;
}

Value Value::CopyOf(const VARIANT& source) {
    Value value;
    HRESULT code = VariantCopyInd(&value.variant_, Source(source));
    if (FAILED(code)) {
        throw HresultError(code);
    }
    // A by-reference VARIANT may itself hold a by-reference value.
    while ((value.variant_.vt & VT_BYREF) != 0) {
        Value inner;
        code = VariantCopyInd(&inner.variant_, &value.variant_);
        if (FAILED(code)) {
            throw HresultError(code);
        }
        value = std::move(inner);
    }
    return value;
}

VARIANT Value::Release() noexcept {
    const VARIANT released = variant_;
    VariantInit(&variant_);
    return released;
}

Value Value::ConvertedTo(VARTYPE type) const {
    Value converted;
    const HRESULT code =
        VariantChangeTypeEx(&converted.variant_, Source(variant_), LOCALE_USER_DEFAULT, 0, type);
    if (FAILED(code)) {
        throw HresultError(code);
    }
    return converted;
}

std::wstring Quoted(std::wstring_view text) {
    std::wstring quoted = L"\"";
    for (const wchar_t character : text) {
        switch (character) {
        case L'"':
            quoted += L"\\\"";
            break;
        case L'\\':
            quoted += L"\\\\";
            break;
        case L'\r':
            quoted += L"\\r";
            break;
        case L'\n':
            quoted += L"\\n";
            break;
        case L'\t':
            quoted += L"\\t";
            break;
        default:
            if (character < L' ') {
                wchar_t escape[8];
                std::swprintf(escape, std::size(escape), L"\\u%04x", static_cast<unsigned>(character));
                quoted += escape;
            } else {
                quoted += character;
            }
        }
    }
    return quoted + L"\"";
}

std::wstring Describe(const VARIANT& value) {
    if (value.vt == (VT_BYREF | VT_VARIANT)) {
        return value.pvarVal == nullptr ? L"VARIANT& ?" : L"VARIANT& " + Describe(*value.pvarVal);
    }
    const auto plain = static_cast<VARTYPE>(value.vt & ~(VT_BYREF | VT_ARRAY));
    std::wstring text = TypeName(plain);
    if ((value.vt & VT_ARRAY) != 0) {
        text += L"[]";
    }
    if ((value.vt & VT_BYREF) != 0) {
        text += L"&";
    }
    try {
        return text + DescribeContent(Value::CopyOf(value));
    } catch (const HresultError&) {
        return text + L" ?";
    }
}

}  // namespace kandora::simulators
