#include "support/Convention.h"

namespace kandora {

void LogCurrentError(CErrHandler& handler, Frame frame) {
    handler.Log(CurrentError(), frame.sClass, frame.sMethod);
}

void ShowAndClear(CErrHandler& handler, const RuntimeError& error, Frame frame) {
    handler.Log(error, frame.sClass, frame.sMethod);
    handler.ShowError();
    handler.Clear();
}

void Outermost(CErrHandler& handler, Frame frame, Work body) {
    try {
        body();
    } catch (...) {
        ShowAndClear(handler, CurrentError(), frame);
    }
}

}  // namespace kandora
