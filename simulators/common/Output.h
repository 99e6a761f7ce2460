#pragma once

#include <string_view>

namespace kandora::simulators {

/// Writes one line to the standard output: UTF-16 to a console, UTF-8 to a file or pipe.
void PrintLine(std::wstring_view line);
/// The same to the standard error.
void PrintErrorLine(std::wstring_view line);

}  // namespace kandora::simulators
