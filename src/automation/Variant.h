#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <vector>

#include <windows.h>

#include <oleauto.h>

#include "automation/Text.h"

namespace kandora {

/// An automation value that owns what it holds. A value given by reference is dereferenced when it is taken
/// in, so that a Variant never points into a caller's memory. Conversions are the platform's own, in the
/// user's locale, and raise a RuntimeError (13 type, 6 overflow, 94 null, 91 no object) when they are
/// impossible.
class Variant {
public:
    Variant() noexcept { value_.vt = VT_EMPTY; }
    ~Variant() {
        // Numbers, up to dates, own nothing; they are most of what goes through here.
        if (value_.vt > VT_DATE) {
            VariantClear(&value_);
        }
    }
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept : value_(other.value_) { other.value_.vt = VT_EMPTY; }
    Variant& operator=(Variant other) noexcept;

    /// A copy of a caller's value. A value that cannot be copied (an unknown type, no place, no memory)
    /// becomes an error value.
    explicit Variant(const VARIANT& source) noexcept;

    explicit Variant(TextView text);
    explicit Variant(const Text& text) : Variant(TextView(text)) {}
    explicit Variant(const wchar_t* text) : Variant(TextView(text)) {}
    explicit Variant(std::int32_t number) noexcept;
    explicit Variant(std::int16_t number) noexcept;
    explicit Variant(bool value) noexcept;
    /// Takes a reference of its own; null is "no object".
    explicit Variant(IDispatch* object) noexcept;

    static Variant Null() noexcept;
    /// A zero-based array of texts; no texts give an empty array (bounds 0 to -1), never a missing one.
    static Variant ArrayOf(const std::vector<Text>& texts);
    /// A zero-based array of values.
    static Variant ArrayOf(const std::vector<Variant>& values);

    [[nodiscard]] VARTYPE Type() const noexcept { return value_.vt; }
    [[nodiscard]] bool IsEmpty() const noexcept { return value_.vt == VT_EMPTY; }
    [[nodiscard]] bool IsNull() const noexcept { return value_.vt == VT_NULL; }
    [[nodiscard]] bool IsObject() const noexcept {
        return value_.vt == VT_DISPATCH || value_.vt == VT_UNKNOWN;
    }
    [[nodiscard]] bool IsArray() const noexcept { return (value_.vt & VT_ARRAY) != 0; }
    /// A number, or a text that reads as one.
    [[nodiscard]] bool IsNumeric() const noexcept;

    [[nodiscard]] Text ToText() const;
    /// ToText, but null counts as the empty text, as it does where texts are joined.
    [[nodiscard]] Text ToJoinedText() const { return IsNull() ? Text() : ToText(); }
    [[nodiscard]] std::int32_t ToLong() const;
    [[nodiscard]] std::int16_t ToInteger() const;
    /// The words True and False in any letter case and in any locale, or a number.
    [[nodiscard]] bool ToBoolean() const;
    /// Equal as values: exactly the same text; an empty value equals the empty text, null equals nothing, and
    /// a number never equals a text. Raises 13 for arrays and objects.
    [[nodiscard]] bool EqualsText(const Text& text) const;
    /// How the value compares with a number; null is unordered, so that no comparison with it holds.
    [[nodiscard]] std::partial_ordering ComparedTo(double number) const;

    /// The object as it stands, without a new reference; null when there is none. Only for a value that
    /// IsObject.
    [[nodiscard]] IUnknown* ObjectPointer() const noexcept { return value_.punkVal; }

    /// Bounds of the first dimension. 13 when the value is no array, 9 when the array has no such dimension.
    [[nodiscard]] std::int32_t LowerBound() const;
    [[nodiscard]] std::int32_t UpperBound() const;
    /// An element of a one-dimensional array; 9 outside its bounds, 13 when the value is no array.
    [[nodiscard]] Variant Element(std::int32_t index) const;
    /// Every element of an array of any number of dimensions, the first index running fastest.
    [[nodiscard]] std::vector<Variant> Elements() const;
    /// Appends the texts of the same elements, separated from each other. An element that is a text is read
    /// where it lies; `textOf` gives the text of any other.
    void AppendElements(Text& joined, TextView separator,
                        const std::function<Text(const Variant&)>& textOf) const;
    /// Grows (or shrinks) a one-dimensional array of Variants at its top, keeping the lower bound.
    void Resize(std::int32_t upperBound);
    /// Raises 13 unless this is an array of Variants, 9 outside its bounds.
    void SetElement(std::int32_t index, const Variant& value);

    [[nodiscard]] const VARIANT& Raw() const noexcept { return value_; }
    /// The bare value for the platform to read or to store a result in; for that it must own nothing.
    [[nodiscard]] VARIANT* Receive() noexcept { return &value_; }
    /// Replaces a value that a callee returned by reference by a copy of its own, and one that cannot be used
    /// by an error value.
    void Dereference() {
        if (value_.vt > VT_BSTR) {  // types up to texts are neither by reference nor unsound
            DereferenceOther();
        }
    }
    /// Gives the value away; this Variant is empty afterwards.
    [[nodiscard]] VARIANT Detach() noexcept;

private:
    [[nodiscard]] Variant ConvertedTo(VARTYPE type) const;
    void DereferenceOther();
    /// Makes this an error value without releasing what it held.
    void Refuse(HRESULT reason) noexcept;

    VARIANT value_;
};

/// A copy of the text, embedded NULs included; empty for a null pointer. The BSTR stays the caller's.
[[nodiscard]] inline Text TextOf(BSTR bstr) {
    return bstr == nullptr ? Text() : Text(bstr, SysStringLen(bstr));
}

/// A new BSTR with the text, embedded NULs included; the caller owns it. Raises 7 when there is no memory.
[[nodiscard]] BSTR NewBstr(TextView text);

}  // namespace kandora
