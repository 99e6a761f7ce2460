#pragma once

#include <string>
#include <string_view>

namespace kandora::simulators {

/// The text in the form in which names are compared where letter case does not count.
std::wstring FoldCase(std::wstring_view text);

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

/// The text of a BSTR with its length; a null pointer is the empty text.
std::wstring FromBstr(const wchar_t* bstr);

}  // namespace kandora::simulators
