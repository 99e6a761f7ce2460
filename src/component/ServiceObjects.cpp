#include "component/ServiceObjects.h"

#include "automation/OwnArithmetic.h"
#include "automation/StackSpace.h"

namespace kandora {

HRESULT CarryOutAlone(MGlobals& globals, REFIID iid, Work body) noexcept try {
    const OwnArithmetic arithmetic;
    if (!HasStackFor(requestStack)) {
        return ReportError(RuntimeError(errors::outOfStack), iid);
    }
    if (globals.Order().IsBusy()) {
        return ReportError(RuntimeError(RPC_E_SERVERCALL_RETRYLATER,
                                        L"Es ist gerade eine andere Anfrage in Arbeit. Bitte versuchen "
                                        L"Sie es danach noch einmal."),
                           iid);
    }
    std::optional<RuntimeError> error;
    {
        const RequestOrder::Turn turn(globals.Order());
        try {
            body();
        } catch (...) {
            error = CurrentError();
        }
    }
    // Only now: what was carried out after the call may have left an error of its own.
    SetErrorInfo(0, nullptr);
    return error ? ReportError(*error, iid) : S_OK;
} catch (...) {
    return ReportCurrentError(iid);  // there was no memory for the error
}

}  // namespace kandora
