#pragma once

#include <string>
#include <string_view>

#include <windows.h>

#include <oaidl.h>

#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora::test {

/// In UTF-8, with control characters spelled out ("\r", "\0", "\x1B").
std::string Spelled(TextView text);
std::string Spelled(std::string_view utf8);
/// The text between quotation marks.
std::string Quoted(TextView text);

/// A value with its type, as a conversation shows it: `I4 1`, `BSTR& "text"`, `BOOL True`, `Empty`, an object
/// by the name of its fake.
std::string Shown(const VARIANT& value);
inline std::string Shown(const Variant& value) {
    return Shown(value.Raw());
}

/// `0x80020009`.
std::string HexCode(HRESULT code);

}  // namespace kandora::test
