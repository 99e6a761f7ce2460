#pragma once

#include <utility>

#include "automation/Errors.h"
#include "support/CErrHandler.h"

namespace kandora {

/// Class and procedure under which a procedure appears in the call stack.
struct Frame {
    const wchar_t* sClass;
    const wchar_t* sMethod;
};

/// Runs the body of an inner procedure: an error is recorded with the frame and raised again.
template <class Body>
decltype(auto) Inner(CErrHandler& handler, Frame frame, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        handler.Log(CurrentError(), frame.sClass, frame.sMethod);
    }
    handler.RaiseAgain();
}

/// Records, shows and forgets an error: what an outermost procedure does with it.
inline void ShowAndClear(CErrHandler& handler, const RuntimeError& error, Frame frame) {
    handler.Log(error, frame.sClass, frame.sMethod);
    handler.ShowError();
    handler.Clear();
}

/// Runs the body of an outermost procedure: an error is recorded, shown and forgotten, and the caller never
/// sees it.
template <class Body>
void Outermost(CErrHandler& handler, Frame frame, Body&& body) {
    try {
        std::forward<Body>(body)();
    } catch (...) {
        ShowAndClear(handler, CurrentError(), frame);
    }
}

}  // namespace kandora
