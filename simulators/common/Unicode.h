#pragma once

#include <string>
#include <string_view>

/// Texts are UTF-16 inside, and UTF-8 in files and on pipes.
namespace kandora::simulators {

/// UTF-16 to UTF-8; embedded NULs survive, an unpaired surrogate becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

/// UTF-8 to UTF-16; embedded NULs survive, invalid bytes become U+FFFD.
std::wstring FromUtf8(std::string_view bytes);

/// The text in the form in which names are compared where letter case does not count.
std::wstring FoldCase(std::wstring_view text);

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

/// The text of a BSTR with its length; a null pointer is the empty text.
std::wstring FromBstr(const wchar_t* bstr);

}  // namespace kandora::simulators
