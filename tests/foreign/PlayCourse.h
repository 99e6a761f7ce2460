#pragma once

namespace kandora::foreign_tests {

/// First argument of a process that plays the course; the surroundings' name and a file for what is told
/// follow.
inline constexpr const wchar_t* playCourse = L"--play-course";

}  // namespace kandora::foreign_tests
