#pragma once

#include <cstdint>

#include "automation/Variant.h"

namespace kandora {

// A list is a value that is either empty (never assigned) or holds a one-dimensional array of values. Its
// lower bound is kept until its last element goes.

/// Appends a value; an empty list becomes an array from 0. Raises 13 when the value is neither empty nor an
/// array.
void AppendToArray(Variant& vaList, const Variant& vtValue);
/// Removes the last element and returns it. A list of one becomes an empty array (bounds 0 to -1); raises 9
/// for an empty array.
Variant TakeLastOfArray(Variant& vaList);
/// Number of elements; 0 for an empty value and for an empty array.
std::int32_t CountOfArray(const Variant& vaList);

}  // namespace kandora
