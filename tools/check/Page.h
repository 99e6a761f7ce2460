#pragma once

#include <string>
#include <string_view>

namespace kandora::check {

/// The page of findings that this program carries, still without them.
std::string PageTemplate();

/// The page with the findings, which are JSON in UTF-8, in the place that it has for them. Nothing in them
/// ends the script that they stand in.
std::string PageWith(std::string_view page, std::string_view json);

}  // namespace kandora::check
