#pragma once

#include "automation/Errors.h"
#include "support/CErrHandler.h"

namespace kandora {

/// Class and procedure under which a procedure appears in the call stack.
struct Frame {
    const wchar_t* sClass;
    const wchar_t* sMethod;
};

/// Records the exception being handled with the frame. To be called inside a catch block only.
void LogCurrentError(CErrHandler& handler, Frame frame);

/// How an inner procedure ends when it fails: the exception being handled is recorded with the frame and
/// raised again. To be called inside a catch block only.
[[noreturn]] void RecordAndRaise(CErrHandler& handler, Frame frame);

/// How an outermost procedure ends when it fails: the error is recorded, shown and forgotten; the caller does
/// not see it.
void ShowAndClear(CErrHandler& handler, const RuntimeError& error, Frame frame);

}  // namespace kandora
