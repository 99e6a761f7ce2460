#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kandora::simulators {

/// The columns that the text takes on a screen: an umlaut takes one, however it is composed.
std::size_t DisplayWidth(std::wstring_view text);

/// "1 Eintrag", "12 Einträge".
std::wstring Counted(std::size_t count, std::wstring_view one, std::wstring_view many);

/// The text on one line of `most` columns at most: line breaks become blanks, what is too long ends in "…".
std::wstring Shortened(std::wstring_view text, std::size_t most);

/// Two values for display side by side or one below the other, each in at most `most` columns (8 or more).
/// Both are cut at the same place, so that their first difference is in sight; "…" stands for what was left
/// out. Line breaks are shown by their symbols, blanks that are the only difference as "␣".
std::pair<std::wstring, std::wstring> CutAroundDifference(std::wstring_view before, std::wstring_view after,
                                                          std::size_t most);

/// Appends the text as lines of `width` columns at most, broken at blanks; a word is broken only when it is
/// longer than a line. The first line begins with `first`, those that follow with `rest`.
void AppendWrapped(std::vector<std::wstring>& lines, std::wstring_view text, const std::wstring& first,
                   const std::wstring& rest, std::size_t width);

}  // namespace kandora::simulators
