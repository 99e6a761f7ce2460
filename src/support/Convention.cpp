#include "support/Convention.h"

namespace kandora {

void LogCurrentError(CErrHandler& handler, Frame frame) {
    handler.Log(CurrentError(), frame.sClass, frame.sMethod);
}

void RecordAndRaise(CErrHandler& handler, Frame frame) {
    LogCurrentError(handler, frame);
    handler.RaiseAgain();
}

void ShowAndClear(CErrHandler& handler, const RuntimeError& error, Frame frame) {
    handler.Log(error, frame.sClass, frame.sMethod);
    handler.ShowError();
    handler.Clear();
}

}  // namespace kandora
