#include "support/MDebug.h"

#include "automation/Errors.h"

namespace kandora {

void Assert(bool bCondition, const Text& sMessage, std::int32_t lErrorNumber) {
    if (!bCondition) {
        throw RuntimeError(lErrorNumber, sMessage);
    }
}

}  // namespace kandora
