#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "simulators/host/Driver.h"

namespace kandora::simulators {

/// The outcomes as JSON text (UTF-8). `seconds` is the duration of the whole run.
std::string RenderReport(const std::vector<Outcome>& outcomes, double seconds);

/// One line for the screen: the request, what identifies it, and its result.
std::wstring DescribeOutcome(const Outcome& outcome);

/// Appends what a box of the component said, in lines of `width` columns at most, each begun with `indent`.
void AppendBox(std::vector<std::wstring>& lines, const AnsweredBox& box, const std::wstring& indent,
               std::size_t width);

/// An answer code as it is shown: "S_OK" or the system's text with the code.
std::wstring DescribeCode(HRESULT code);

}  // namespace kandora::simulators
