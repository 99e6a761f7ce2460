#pragma once

namespace kandora::component_tests {

/// First argument of a process that does nothing but end with its guard, folded to an exit code.
inline constexpr const wchar_t* tellStackGuard = L"--tell-stack-guard";

int ToldStackGuard();

}  // namespace kandora::component_tests
