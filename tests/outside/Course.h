#pragma once

#include <string>

/// A course through every member of every class that works with the archive or the accounting, run in a
/// process of its own. It writes one line a call; scripts that run the same course must write the same.
namespace kandora::outside_tests {

/// First argument of that process. The second one is how it calls: through the vtable, by name with plain
/// values, or by name with references to its variables, as script engines pass them.
inline constexpr const wchar_t* playCourse = L"--play-course";
inline constexpr const wchar_t* throughVtable = L"vtable";
inline constexpr const wchar_t* byValue = L"values";
inline constexpr const wchar_t* byReference = L"references";

/// Returns the exit code.
int PlayCourse(const std::wstring& way, const std::wstring& document);

/// The text in visible ASCII characters; others as <00FC>.
std::string Escaped(const std::wstring& text);

}  // namespace kandora::outside_tests
