#include "tests/support/Rendering.h"

#include <array>
#include <cstdio>

#include "automation/Errors.h"
#include "interfaces/CodePages.h"
#include "tests/support/FakeObject.h"

namespace kandora::test {

namespace {

struct TypeName {
    VARTYPE type;
    const char* name;
};

constexpr auto typeNames = std::to_array<TypeName>({
    {VT_EMPTY, "Empty"},
    {VT_NULL, "Null"},
    {VT_I2, "I2"},
    {VT_I4, "I4"},
    {VT_R4, "R4"},
    {VT_R8, "R8"},
    {VT_CY, "CY"},
    {VT_DATE, "DATE"},
    {VT_BSTR, "BSTR"},
    {VT_DISPATCH, "DISPATCH"},
    {VT_ERROR, "ERROR"},
    {VT_BOOL, "BOOL"},
    {VT_UI1, "UI1"},
    {VT_UNKNOWN, "UNKNOWN"},
    {VT_I8, "I8"},
    {VT_VARIANT, "VARIANT"},
});

std::string NameOf(VARTYPE type) {
    const VARTYPE element = type & VT_TYPEMASK;
    std::string name = "type " + std::to_string(element);
    for (const TypeName& row : typeNames) {
        if (row.type == element) {
            name = row.name;
        }
    }
    if ((type & VT_ARRAY) != 0) {
        name += "()";
    }
    if ((type & VT_BYREF) != 0) {
        name += "&";
    }
    return name;
}

std::string ShownArray(const Variant& array) {
    std::string text;
    for (const Variant& element : array.Elements()) {
        text += (text.empty() ? "" : ", ") + Shown(element);
    }
    return "[" + text + "]";
}

std::string ShownObject(const Variant& value) {
    if (value.ObjectPointer() == nullptr) {
        return "Nothing";
    }
    const FakeObject* const fake = FakeObject::Of(value.ObjectPointer());
    return fake == nullptr ? "(a foreign object)" : fake->Name();
}

/// Without the type; nothing for the types that say everything.
std::string ShownValue(const Variant& value) {
    if (value.IsArray()) {
        return " " + ShownArray(value);
    }
    switch (value.Type()) {
    case VT_EMPTY:
    case VT_NULL:
        return "";
    case VT_BSTR:
        return " " + Quoted(value.ToText());
    case VT_ERROR:
        return " " + HexCode(value.Raw().scode);
    case VT_BOOL:
        return value.Raw().boolVal != VARIANT_FALSE ? " True" : " False";
    default:
        return " " + Spelled(value.ToText());
    }
}

}  // namespace

std::string Spelled(std::string_view utf8) {
    std::string spelled;
    for (const char character : utf8) {
        if (character == '\r') {
            spelled += "\\r";
        } else if (character == '\n') {
            spelled += "\\n";
        } else if (character == '\0') {
            spelled += "\\0";
        } else if (static_cast<unsigned char>(character) < 0x20U) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\x%02X", static_cast<unsigned>(character));
            spelled += code.data();
        } else {
            spelled += character;
        }
    }
    return spelled;
}

std::string Spelled(TextView text) {
    return Spelled(Utf8FromText(text));
}

std::string Quoted(TextView text) {
    return "\"" + Spelled(text) + "\"";
}

std::string HexCode(HRESULT code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08lX", static_cast<unsigned long>(code));
    return text.data();
}

std::string Shown(const VARIANT& value) {
    const Variant copy(value);
    if (copy.IsObject()) {
        return ShownObject(copy);
    }
    return NameOf(value.vt) + ShownValue(copy);
}

}  // namespace kandora::test
