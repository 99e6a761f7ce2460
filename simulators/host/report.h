#pragma once

#include "driver.h"

#include <filesystem>
#include <string>
#include <vector>

namespace simulators {

// The outcomes as JSON text (UTF-8). `seconds` is the duration of the whole run.
std::string RenderReport(const std::vector<Outcome>& outcomes, double seconds);

// One line for the screen: the request with what tells it apart, and its result.
std::wstring DescribeOutcome(const Outcome& outcome);

// An answer code as it is shown: "S_OK" or the system's text with the code.
std::wstring DescribeCode(HRESULT code);

}  // namespace simulators
