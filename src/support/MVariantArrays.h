#pragma once

#include <cstdint>

#include "automation/Variant.h"

namespace kandora {

// A list is a value that is either empty (never assigned) or holds a one-dimensional array of values; its
// lower bound is kept whatever happens to it.

/// Appends a value; an empty list becomes an array from 0. Raises 13 when the value is neither empty nor an
/// array.
void AppendToArray(Variant& vaList, const Variant& vtValue);
/// Removes the last element and returns it; the last one leaves an empty array (bounds 0 to -1).
Variant TakeLastOfArray(Variant& vaList);
/// Number of elements; 0 for an empty value and for an empty array.
std::int32_t CountOfArray(const Variant& vaList);

}  // namespace kandora
