#pragma once

/// Tests that other tests run in processes of their own, at a workplace, because the component stays loaded
/// until its process ends.
namespace kandora::outside_tests {

/// The filter that leaves them out of a normal run.
inline constexpr const char* insideTests = "-Inside*.*";
/// Name of the environment variable with the path of the archive's trace.
inline constexpr const wchar_t* traceVariable = L"KANDORA_TEST_TRACE";

}  // namespace kandora::outside_tests
