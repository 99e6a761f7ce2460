#include <functional>
#include <new>
#include <string>

#include "automation/Errors.h"

// The C++ library's own versions compose messages that nobody here would ever see, and bring its exception
// classes and a second kind of string along: a sixth of this component. CurrentError would report all of them
// as the same internal error anyway.

// NOLINTBEGIN(bugprone-reserved-identifier,bugprone-std-namespace-modification,modernize-avoid-variadic-functions):
// the library's names
namespace std {

void __throw_bad_alloc() {
    throw bad_alloc();
}

void __throw_bad_array_new_length() {
    throw bad_alloc();
}

void __throw_length_error(const char* /*message*/) {
    throw kandora::RuntimeError(kandora::errors::internal);
}

void __throw_logic_error(const char* /*message*/) {
    throw kandora::RuntimeError(kandora::errors::internal);
}

void __throw_out_of_range_fmt(const char* /*message*/, ...) {
    throw kandora::RuntimeError(kandora::errors::internal);
}

void __throw_bad_function_call() {
    throw kandora::RuntimeError(kandora::errors::internal);
}

#if _GLIBCXX_RELEASE >= 13
// Not a failure: linked from the library, this function of texts would bring all the others along.
template void basic_string<wchar_t>::_M_replace_cold(wchar_t*, size_type, const wchar_t*, size_type,
                                                     size_type);
#endif

}  // namespace std
// NOLINTEND(bugprone-reserved-identifier,bugprone-std-namespace-modification,modernize-avoid-variadic-functions)
