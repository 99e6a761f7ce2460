#pragma once

#include <string>
#include <utility>

#include "simulators/common/Failure.h"

namespace kandora::simulators {

/// The message of the Failure that the action throws; empty when it throws none.
template <class Action>
std::wstring FailureOf(Action&& action) {
    try {
        std::forward<Action>(action)();
    } catch (const Failure& failure) {
        return failure.Message();
    }
    return {};
}

}  // namespace kandora::simulators
