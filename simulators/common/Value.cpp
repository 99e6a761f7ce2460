#include "simulators/common/Value.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <utility>

#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

/// The platform declares the sources of its conversions without const, though it leaves them alone.
VARIANT* Source(const VARIANT& value) noexcept {
    return const_cast<VARIANT*>(&value);
}

struct TypeName {
    VARTYPE type;
    const wchar_t* name;
};

constexpr std::array typeNames{
    TypeName{VT_EMPTY, L"EMPTY"},     TypeName{VT_NULL, L"NULL"},
    TypeName{VT_I1, L"I1"},           TypeName{VT_I2, L"I2"},
    TypeName{VT_I4, L"I4"},           TypeName{VT_I8, L"I8"},
    TypeName{VT_UI1, L"UI1"},         TypeName{VT_UI2, L"UI2"},
    TypeName{VT_UI4, L"UI4"},         TypeName{VT_UI8, L"UI8"},
    TypeName{VT_INT, L"INT"},         TypeName{VT_UINT, L"UINT"},
    TypeName{VT_R4, L"R4"},           TypeName{VT_R8, L"R8"},
    TypeName{VT_CY, L"CY"},           TypeName{VT_DATE, L"DATE"},
    TypeName{VT_BSTR, L"BSTR"},       TypeName{VT_BOOL, L"BOOL"},
    TypeName{VT_DECIMAL, L"DECIMAL"}, TypeName{VT_DISPATCH, L"DISPATCH"},
    TypeName{VT_UNKNOWN, L"UNKNOWN"}, TypeName{VT_ERROR, L"ERROR"},
    TypeName{VT_VARIANT, L"VARIANT"},
};

struct Escape {
    wchar_t character;
    const wchar_t* written;
};

constexpr std::array escapes{Escape{L'"', L"\\\""}, Escape{L'\\', L"\\\\"}, Escape{L'\r', L"\\r"},
                             Escape{L'\n', L"\\n"}, Escape{L'\t', L"\\t"}};

std::wstring NameOf(VARTYPE type) {
    const auto* const known = std::ranges::find(typeNames, type, &TypeName::type);
    return known != typeNames.end() ? known->name : L"VT" + std::to_wstring(type);
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

/// A new value; `put` stores the content at the place where values of this type have it.
template <class Put>
Value Made(VARTYPE type, const Put& put) {
    VARIANT made;
    VariantInit(&made);
    put(made);
    made.vt = type;
    return Value::Adopt(made);
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
    return Made(VT_NULL, [](VARIANT&) {});
}

Value Value::Boolean(bool content) {
    return Made(VT_BOOL, [&](VARIANT& made) { made.boolVal = content ? VARIANT_TRUE : VARIANT_FALSE; });
}

Value Value::Short(std::int16_t content) {
    return Made(VT_I2, [&](VARIANT& made) { made.iVal = content; });
}

Value Value::Long(std::int32_t content) {
    return Made(VT_I4, [&](VARIANT& made) { made.lVal = content; });
}

Value Value::Double(double content) {
    return Made(VT_R8, [&](VARIANT& made) { made.dblVal = content; });
}

Value Value::Date(double content) {
    return Made(VT_DATE, [&](VARIANT& made) { made.date = content; });
}

Value Value::Currency(std::int64_t tenThousandths) {
    return Made(VT_CY, [&](VARIANT& made) { made.cyVal.int64 = tenThousandths; });
}

Value Value::Text(std::wstring_view content) {
    const BSTR text = SysAllocStringLen(content.data(), static_cast<UINT>(content.size()));
    if (text == nullptr) {
        throw HresultError(E_OUTOFMEMORY);
    }
    return Made(VT_BSTR, [&](VARIANT& made) { made.bstrVal = text; });
}

Value Value::Object(IDispatch* object) {
    if (object != nullptr) {
        object->AddRef();
    }
    return Made(VT_DISPATCH, [&](VARIANT& made) { made.pdispVal = object; });
}

Value Value::Adopt(VARIANT& variant) noexcept {
    Value value;
    std::swap(value.variant_, variant);
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
        const auto* const escape = std::ranges::find(escapes, character, &Escape::character);
        if (escape != escapes.end()) {
            quoted += escape->written;
        } else if (character < L' ') {
            wchar_t code[8];
            std::swprintf(code, std::size(code), L"\\u%04x", static_cast<unsigned>(character));
            quoted += code;
        } else {
            quoted += character;
        }
    }
    return quoted + L"\"";
}

std::wstring Describe(const VARIANT& value) {
    if (value.vt == (VT_BYREF | VT_VARIANT)) {
        return value.pvarVal == nullptr ? L"VARIANT& ?" : L"VARIANT& " + Describe(*value.pvarVal);
    }
    const auto plain = static_cast<VARTYPE>(value.vt & ~(VT_BYREF | VT_ARRAY));
    std::wstring text = NameOf(plain);
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
