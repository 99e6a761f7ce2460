#pragma once

#include <cstdint>
#include <string>

#include <windows.h>

#include "automation/Text.h"

namespace kandora::kit {

/// The system's text for an error, with its number.
Text SystemMessage(DWORD error);
/// An exit code, with what it is known for.
Text ExitCodeText(DWORD code);
/// "etwa 3 Minuten".
Text RoughTime(std::int64_t seconds);
/// "3:07".
Text ClockTime(double seconds);
/// With one decimal.
Text Seconds(double seconds);
/// "1 Fall", "2 Fälle".
Text Counted(std::int64_t number, TextView one, TextView many);
/// The date and time of the machine: "2026-11-22 21:52:07".
Text Now();

}  // namespace kandora::kit
