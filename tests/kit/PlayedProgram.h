#pragma once

#include <optional>
#include <string>

namespace kandora::kit_tests {

/// The argument with which this program plays another one: what follows says which.
inline constexpr const wchar_t* play = L"play";

/// Plays a program that says or does something wrong, and returns its exit code. None when this process is to
/// test.
///
/// What is to be played stands behind `play`, or in a file beside the program with its name and ".txt": put
/// in the place of another program, it is what the kit runs.
std::optional<int> PlayedProgram(int count, wchar_t** arguments);

/// What a program says of so many cases, all of which pass.
std::string Said(int cases);

}  // namespace kandora::kit_tests
