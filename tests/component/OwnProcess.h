#pragma once

#include "tests/component/ComponentSupport.h"

/// Tests for a process of their own: what they load stays until the process ends. Others start them once they
/// have made the surroundings, such as a registration.
namespace kandora::component_tests {

/// Runs these tests, given as a filter.
Ended RunInside(const wchar_t* tests);

/// The filter that leaves them out of a normal run.
inline constexpr const char* insideTests =
    "-Unloading.*:RegisteredClasses.*:RegisteredRecords.*:RegisteredErrors.*:HostInterface.*:Fresh*.*";

/// An identifier under which a host might know its interface.
inline constexpr const wchar_t* foreignInterface = L"{8A5C2E6B-0D0B-4B6E-8B0C-6A1B7C0D9E55}";

}  // namespace kandora::component_tests
