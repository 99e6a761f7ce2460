#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// How names of archive folders become names on disk, and how texts are told apart from ids.
namespace kandora::simulators {

/// The directory name of a folder level: characters that a file name may not hold, "%", and a trailing dot or
/// blank become "%" and two hexadecimal digits. So do the first character of a device name ("CON") and the
/// dots of a name that would collide with one of the store's own files ("ordner.json", "17.pdf", "x.tmp").
std::wstring EncodeName(std::wstring_view name);

/// The folder level that a directory name stands for; malformed percent signs are taken as they are.
std::wstring DecodeName(std::wstring_view encoded);

/// The number that a text consisting of decimal digits alone stands for; nothing else, nothing above
/// 2147483647.
std::optional<std::int32_t> ParseId(std::wstring_view digits);

}  // namespace kandora::simulators
