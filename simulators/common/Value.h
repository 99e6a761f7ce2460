#pragma once

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <string>
#include <string_view>

/// Owning wrapper of an automation value (VARIANT) and its readable form.
namespace kandora::simulators {

/// An automation value that owns what it holds. A default-made one is empty (VT_EMPTY).
/// The makers are named, so that no text silently turns into a Boolean.
class Value {
public:
    Value() noexcept { VariantInit(&variant_); }
    ~Value() { VariantClear(&variant_); }
    Value(const Value& other);
    Value(Value&& other) noexcept : variant_(other.variant_) { VariantInit(&other.variant_); }
    Value& operator=(Value other) noexcept;

    static Value Null();
    static Value Boolean(bool content);
    static Value Short(std::int16_t content);
    static Value Long(std::int32_t content);
    static Value Double(double content);
    /// Days since 30 December 1899, as automation dates count.
    static Value Date(double content);
    /// Ten-thousandths, as automation currency counts.
    static Value Currency(std::int64_t tenThousandths);
    static Value Text(std::wstring_view content);
    /// Holds a reference of its own; a null pointer gives the empty object (Nothing).
    static Value Object(IDispatch* object);
    /// Takes over what a call left in `variant`, which is empty afterwards.
    static Value Adopt(VARIANT& variant) noexcept;
    /// A copy of any value with every by-reference level resolved. Throws HresultError.
    static Value CopyOf(const VARIANT& source);

    [[nodiscard]] const VARIANT& Get() const noexcept { return variant_; }
    [[nodiscard]] VARTYPE Type() const noexcept { return variant_.vt; }

    /// Hands the value over to the caller, who must clear it; this one is empty afterwards.
    VARIANT Release() noexcept;

    /// The value converted by the platform's automation rules, user locale. Throws HresultError.
    [[nodiscard]] Value ConvertedTo(VARTYPE type) const;

private:
    VARIANT variant_;
};

/// The value as a person reads it in a trace: type and value, "&" after the type for a by-reference value,
/// texts in double quotes with backslash escapes: `I4 17`, `I2& 3`, `BSTR "Müller"`, `VARIANT& BSTR "x"`.
std::wstring Describe(const VARIANT& value);

/// A text in double quotes with backslash escapes for quotes, backslashes and control characters.
std::wstring Quoted(std::wstring_view text);

}  // namespace kandora::simulators
