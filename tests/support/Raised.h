#pragma once

#include <cstdint>
#include <ostream>
#include <utility>

#include "automation/Errors.h"
#include "tests/support/Rendering.h"

namespace kandora::test {

/// An error as a test expects it; number 0 is "none was raised".
struct Raised {
    std::int32_t number = 0;
    Text description;

    bool operator==(const Raised&) const = default;
};

inline void PrintTo(const Raised& raised, std::ostream* stream) {
    *stream << raised.number << " " << Quoted(raised.description);
}

/// The error that the action raises.
template <class Action>
RuntimeError ErrorOf(Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (const RuntimeError& error) {
        return error;
    }
    return {0, L""};
}

/// Its number and description.
template <class Action>
Raised RaisedBy(Action&& action) {
    const RuntimeError error = ErrorOf(std::forward<Action>(action));
    return {error.Number(), error.Description()};
}

/// Its number alone.
template <class Action>
std::int32_t NumberRaisedBy(Action&& action) {
    return ErrorOf(std::forward<Action>(action)).Number();
}

}  // namespace kandora::test
