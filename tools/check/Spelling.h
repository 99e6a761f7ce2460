#pragma once

#include <cstddef>

#include "automation/Text.h"

namespace kandora::check {

/// As the system compares names of files and of the registry.
bool EqualIgnoringCase(TextView left, TextView right);
/// Number of letters to insert, remove, replace or swap with their neighbour, letter case aside.
std::size_t EditDistance(TextView left, TextView right);

}  // namespace kandora::check
