#pragma once

#include <utility>

#include "automation/Errors.h"
#include "automation/Work.h"
#include "support/CErrHandler.h"

namespace kandora {

/// Class and procedure under which a procedure appears in the call stack.
struct Frame {
    const wchar_t* sClass;
    const wchar_t* sMethod;
};

/// Records the exception being handled with the frame. To be called inside a catch block only.
void LogCurrentError(CErrHandler& handler, Frame frame);

/// Runs the body of an inner procedure: an error is recorded with the frame and raised again.
template <class Body>
decltype(auto) Inner(CErrHandler& handler, Frame frame, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        LogCurrentError(handler, frame);
    }
    handler.RaiseAgain();
}

/// Records, shows and forgets an error: what an outermost procedure does with it.
void ShowAndClear(CErrHandler& handler, const RuntimeError& error, Frame frame);

/// Runs the body of an outermost procedure: an error is recorded, shown and forgotten, and the caller never
/// sees it.
void Outermost(CErrHandler& handler, Frame frame, Work body);

}  // namespace kandora
