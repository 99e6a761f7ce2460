#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kandora {

/// UTF-16 text with its length: an embedded NUL character is a character like any other.
using Text = std::wstring;
using TextView = std::wstring_view;

/// Decimal digits with a minus sign for negatives, without grouping, in any locale.
Text Decimal(std::int64_t value);

/// Decimal digits, filled with leading zeros to at least `width` characters.
Text Digits(int value, int width);

Text Joined(const std::vector<Text>& parts, TextView separator);

/// All occurrences of `what`, found from the first character on by exact comparison, replaced by `with`. An
/// empty `what` leaves the text as it is.
Text Replaced(const Text& text, TextView what, TextView with);

/// Without leading and trailing blanks (only the blank character, no other white space).
Text Trimmed(const Text& text);

Text LowerCase(const Text& text);
Text UpperCase(const Text& text);

/// The text in the system's ANSI code page; a character that the page lacks becomes "?".
std::string AnsiFromText(TextView text);
Text TextFromAnsi(std::string_view ansi);

}  // namespace kandora
