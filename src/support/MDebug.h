#pragma once

#include <cstdint>

#include "automation/Text.h"

namespace kandora {

/// Raises the error number with the message as description, and no source, when the condition does not hold.
void Assert(bool bCondition, const Text& sMessage, std::int32_t lErrorNumber);

}  // namespace kandora
