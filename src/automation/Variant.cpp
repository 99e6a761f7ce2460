#include "automation/Variant.h"

#include <utility>

#include "automation/Errors.h"

namespace kandora {

namespace {

/// A safe array's lock on its data, for as long as the object lives.
class ArrayLock {
public:
    explicit ArrayLock(SAFEARRAY* array) : array_(array) { RequireSuccess(SafeArrayLock(array)); }
    ~ArrayLock() { SafeArrayUnlock(array_); }
    ArrayLock(const ArrayLock&) = delete;
    ArrayLock& operator=(const ArrayLock&) = delete;

private:
    SAFEARRAY* array_;
};

/// Writes the values into a new array, which has as many elements.
template <class Element, class Value, class Write>
void Fill(SAFEARRAY* array, const std::vector<Value>& values, Write write) {
    const ArrayLock lock(array);
    auto* const elements = static_cast<Element*>(array->pvData);
    for (std::size_t i = 0; i < values.size(); ++i) {
        write(elements[i], values[i]);
    }
}

/// This platform's headers declare the sources of copies and conversions without const; none is written to.
VARIANT* Source(const VARIANT& value) {
    return const_cast<VARIANT*>(&value);
}

/// Bytes that an element of the type takes; 0 for a type that elements cannot have.
std::size_t SizeOf(VARTYPE type) {
    switch (type) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
        return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
        return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return sizeof(void*);
    case VT_DECIMAL:
        return sizeof(DECIMAL);
    case VT_VARIANT:
        return sizeof(VARIANT);
    default:
        return 0;
    }
}

/// The type of the array's elements: what the array says, or else what its owner declared. Raises 13 when
/// elements are smaller than their type: they would be read beyond their end.
VARTYPE ElementType(SAFEARRAY* array, VARTYPE declared) {
    VARTYPE type = VT_EMPTY;
    if ((array->fFeatures & FADF_VARIANT) != 0) {
        type = VT_VARIANT;  // most arrays, which saves the question
    } else if (FAILED(SafeArrayGetVartype(array, &type)) || type == VT_EMPTY) {
        type = declared;
    }
    if (array->cbElements < SizeOf(type)) {
        throw RuntimeError(errors::typeMismatch);
    }
    return type;
}

void RequireMemory(HRESULT outcome) {
    if (outcome == E_OUTOFMEMORY) {
        throw RuntimeError(errors::outOfMemory);
    }
}

/// The element at `data` as a value of its own. Records need a description that only their array has; they
/// are handed out as an error value. Raises 7 when there is no memory for it: an error value in its place
/// would be taken for what the array's owner has put there, and its text would end up in the archive.
Variant ElementAt(const void* data, VARTYPE type) {
    VARIANT reference;
    VariantInit(&reference);
    if (type == VT_RECORD) {
        reference.vt = VT_ERROR;
        reference.scode = DISP_E_BADVARTYPE;
        return Variant(reference);
    }
    reference.vt = static_cast<VARTYPE>(type | VT_BYREF);
    reference.byref = const_cast<void*>(data);
    Variant element(reference);
    const auto* const put = type == VT_VARIANT ? static_cast<const VARIANT*>(data) : nullptr;
    if (element.Type() == VT_ERROR && (put == nullptr ? type : put->vt) != VT_ERROR) {
        RequireMemory(element.Raw().scode);
    }
    return element;
}

/// The element at `data` if it is a text, else null.
const BSTR* TextAt(const void* data, VARTYPE type) {
    const auto* const value = static_cast<const VARIANT*>(data);
    if (type == VT_VARIANT && value->vt == VT_BSTR) {
        return &value->bstrVal;
    }
    return type == VT_BSTR ? static_cast<const BSTR*>(data) : nullptr;
}

SAFEARRAY* ArrayIn(const VARIANT& value) {
    if ((value.vt & VT_ARRAY) == 0) {
        throw RuntimeError(errors::typeMismatch);
    }
    if (value.parray == nullptr) {
        throw RuntimeError(errors::subscript);
    }
    return value.parray;
}

/// Not by the platform's function for vectors: those are of a fixed size, and resizing one leaks its
/// elements.
SAFEARRAY* NewVector(VARTYPE type, std::size_t size) {
    SAFEARRAYBOUND bound{static_cast<ULONG>(size), 0};
    SAFEARRAY* const array = SafeArrayCreate(type, 1, &bound);
    if (array == nullptr) {
        throw RuntimeError(errors::outOfMemory);
    }
    return array;
}

/// True for a null reference, or a reference to one, from a careless caller. One level is enough: what lies
/// deeper cannot be copied anyway, and a value that refers to itself has no end.
bool PointsNowhere(const VARIANT& value) {
    const auto isWithoutPlace = [](const VARIANT& one) {
        return (one.vt & VT_BYREF) != 0 && one.byref == nullptr;
    };
    return isWithoutPlace(value) || (value.vt == (VT_BYREF | VT_VARIANT) && isWithoutPlace(*value.pvarVal));
}

/// Whether the platform can handle the value. It dereferences some that it cannot copy afterwards, and does
/// not look whether a decimal has a scale and a sign that exist.
bool IsSound(const VARIANT& value) {
    const auto type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
    if ((value.vt & VT_ARRAY) != 0) {
        return (value.vt & ~(VT_TYPEMASK | VT_ARRAY)) == 0 && (type == VT_RECORD || SizeOf(type) != 0);
    }
    if (value.vt == VT_DECIMAL) {
        constexpr BYTE largestScale = 28;
        return value.decVal.scale <= largestScale && (value.decVal.sign & ~DECIMAL_NEG) == 0;
    }
    const bool isAlone = type <= VT_NULL || type == VT_RECORD || (type != VT_VARIANT && SizeOf(type) != 0);
    return value.vt == type && isAlone;
}

bool SameWord(const Text& text, TextView word) {
    return CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, text.data(), static_cast<int>(text.size()),
                          word.data(), static_cast<int>(word.size())) == CSTR_EQUAL;
}

/// Calls `visit` with the address and the type of each element, the first index running fastest.
template <class Visit>
void ForEachElement(SAFEARRAY* array, int declared, Visit&& visit) {
    std::size_t count = array->cDims == 0 ? 0 : 1;
    for (USHORT dimension = 0; dimension < array->cDims; ++dimension) {
        count *= array->rgsabound[dimension].cElements;
    }
    const ArrayLock lock(array);
    const VARTYPE type = ElementType(array, static_cast<VARTYPE>(declared));
    auto* data = static_cast<std::byte*>(array->pvData);
    for (std::size_t i = 0; i < count; ++i, data += array->cbElements) {
        visit(data, type);
    }
}

}  // namespace

Variant::Variant(const Variant& other) : Variant() {
    RequireSuccess(VariantCopy(&value_, Source(other.value_)));
}

Variant& Variant::operator=(Variant other) noexcept {
    std::swap(value_, other.value_);
    return *this;
}

Variant::Variant(const VARIANT& source) noexcept : Variant() {
    const HRESULT result = PointsNowhere(source) ? E_POINTER : VariantCopyInd(&value_, Source(source));
    if (FAILED(result)) {
        Refuse(result);
    } else if (source.vt == (VT_BYREF | VT_BSTR) && *source.pbstrVal != nullptr &&
               value_.bstrVal == nullptr) {
        Refuse(E_OUTOFMEMORY);  // without memory the platform may make an empty text of it
    } else if (!IsSound(value_)) {
        if (IsArray()) {
            SafeArrayDestroy(value_.parray);
        }
        Refuse(DISP_E_BADVARTYPE);
    }
}

void Variant::Refuse(HRESULT reason) noexcept {
    value_.vt = VT_ERROR;
    value_.scode = reason;
}

Variant::Variant(TextView text) : Variant() {
    value_.bstrVal = NewBstr(text);
    value_.vt = VT_BSTR;
}

Variant::Variant(std::int32_t number) noexcept : Variant() {
    value_.vt = VT_I4;
    value_.lVal = number;
}

Variant::Variant(std::int16_t number) noexcept : Variant() {
    value_.vt = VT_I2;
    value_.iVal = number;
}

Variant::Variant(bool value) noexcept : Variant() {
    value_.vt = VT_BOOL;
    value_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
}

Variant::Variant(IDispatch* object) noexcept : Variant() {
    value_.vt = VT_DISPATCH;
    value_.pdispVal = object;
    if (object != nullptr) {
        object->AddRef();
    }
}

Variant Variant::Null() noexcept {
    Variant null;
    null.value_.vt = VT_NULL;
    return null;
}

Variant Variant::ArrayOf(const std::vector<Text>& texts) {
    Variant result;
    result.value_.parray = NewVector(VT_BSTR, texts.size());
    result.value_.vt = VT_ARRAY | VT_BSTR;
    Fill<BSTR>(result.value_.parray, texts, [](BSTR& element, const Text& text) { element = NewBstr(text); });
    return result;
}

Variant Variant::ArrayOf(const std::vector<Variant>& values) {
    Variant result;
    result.value_.parray = NewVector(VT_VARIANT, values.size());
    result.value_.vt = VT_ARRAY | VT_VARIANT;
    Fill<VARIANT>(result.value_.parray, values, [](VARIANT& element, const Variant& value) {
        RequireSuccess(VariantCopy(&element, Source(value.value_)));
    });
    return result;
}

bool Variant::IsNumeric() const noexcept {
    switch (value_.vt) {
    case VT_EMPTY:
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DECIMAL:
    case VT_BOOL:
        return true;
    case VT_BSTR: {
        double number = 0;
        return value_.bstrVal != nullptr &&
               SUCCEEDED(VarR8FromStr(value_.bstrVal, LOCALE_USER_DEFAULT, 0, &number));
    }
    default:
        return false;
    }
}

Variant Variant::ConvertedTo(VARTYPE type) const {
    if (IsNull()) {
        throw RuntimeError(errors::invalidUseOfNull);
    }
    if (IsObject() && value_.punkVal == nullptr) {
        throw RuntimeError(errors::objectMissing);
    }
    Variant result;
    RequireSuccess(
        VariantChangeTypeEx(&result.value_, Source(value_), LOCALE_USER_DEFAULT, VARIANT_ALPHABOOL, type));
    return result;
}

Text Variant::ToText() const {
    return value_.vt == VT_BSTR ? TextOf(value_.bstrVal) : TextOf(ConvertedTo(VT_BSTR).value_.bstrVal);
}

std::int32_t Variant::ToLong() const {
    return value_.vt == VT_I4 ? value_.lVal : ConvertedTo(VT_I4).value_.lVal;
}

std::int16_t Variant::ToInteger() const {
    return value_.vt == VT_I2 ? value_.iVal : ConvertedTo(VT_I2).value_.iVal;
}

bool Variant::ToBoolean() const {
    if (value_.vt == VT_BSTR) {
        const Text text = TextOf(value_.bstrVal);
        if (SameWord(text, L"True")) {
            return true;
        }
        if (SameWord(text, L"False")) {
            return false;
        }
    }
    return ConvertedTo(VT_BOOL).value_.boolVal != VARIANT_FALSE;
}

bool Variant::EqualsText(const Text& text) const {
    if (IsArray() || IsObject()) {
        throw RuntimeError(errors::typeMismatch);
    }
    return value_.vt == VT_BSTR ? TextOf(value_.bstrVal) == text : IsEmpty() && text.empty();
}

std::partial_ordering Variant::ComparedTo(double number) const {
    return IsNull() ? std::partial_ordering::unordered : ConvertedTo(VT_R8).value_.dblVal <=> number;
}

std::int32_t Variant::LowerBound() const {
    LONG bound = 0;
    RequireSuccess(SafeArrayGetLBound(ArrayIn(value_), 1, &bound));
    return bound;
}

std::int32_t Variant::UpperBound() const {
    LONG bound = 0;
    RequireSuccess(SafeArrayGetUBound(ArrayIn(value_), 1, &bound));
    return bound;
}

Variant Variant::Element(std::int32_t index) const {
    SAFEARRAY* const array = ArrayIn(value_);
    if (SafeArrayGetDim(array) != 1) {
        throw RuntimeError(errors::subscript);
    }
    const ArrayLock lock(array);
    LONG position = index;
    void* data = nullptr;
    RequireSuccess(SafeArrayPtrOfIndex(array, &position, &data));
    return ElementAt(data, ElementType(array, value_.vt & VT_TYPEMASK));
}

std::vector<Variant> Variant::Elements() const {
    std::vector<Variant> elements;
    ForEachElement(ArrayIn(value_), value_.vt & VT_TYPEMASK,
                   [&](void* data, VARTYPE type) { elements.push_back(ElementAt(data, type)); });
    return elements;
}

void Variant::AppendElements(Text& joined, TextView separator,
                             const std::function<Text(const Variant&)>& textOf) const {
    bool isFirst = true;
    ForEachElement(ArrayIn(value_), value_.vt & VT_TYPEMASK, [&](const void* data, VARTYPE type) {
        if (!isFirst) {
            joined += separator;
        }
        isFirst = false;
        if (const BSTR* const text = TextAt(data, type)) {
            joined += TextView(*text, SysStringLen(*text));
        } else {
            joined += textOf(ElementAt(data, type));
        }
    });
}

void Variant::Resize(std::int32_t upperBound) {
    SAFEARRAY* const array = ArrayIn(value_);
    SAFEARRAYBOUND bound{};
    bound.lLbound = LowerBound();
    bound.cElements = static_cast<ULONG>(upperBound - bound.lLbound + 1);
    RequireSuccess(SafeArrayRedim(array, &bound));
}

void Variant::SetElement(std::int32_t index, const Variant& value) {
    if (ElementType(ArrayIn(value_), value_.vt & VT_TYPEMASK) != VT_VARIANT) {
        throw RuntimeError(errors::typeMismatch);
    }
    LONG position = index;
    RequireSuccess(SafeArrayPutElement(ArrayIn(value_), &position, const_cast<VARIANT*>(&value.value_)));
}

void Variant::DereferenceOther() {
    if ((value_.vt & VT_BYREF) != 0) {
        Variant copy(value_);
        value_ = copy.Detach();
    } else if (!IsSound(value_)) {
        Refuse(DISP_E_BADVARTYPE);
    }
}

VARIANT Variant::Detach() noexcept {
    const VARIANT result = value_;
    value_.vt = VT_EMPTY;
    return result;
}

BSTR NewBstr(TextView text) {
    BSTR const bstr = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (bstr == nullptr) {
        throw RuntimeError(errors::outOfMemory);
    }
    return bstr;
}

}  // namespace kandora
