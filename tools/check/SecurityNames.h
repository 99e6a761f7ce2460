#pragma once

#include <windows.h>

#include "automation/Text.h"

namespace kandora::check {

/// "S-1-5-32-545".
Text TextOfSid(PSID sid);
/// "PC01\\user01", or the text form of one that nobody knows any more.
Text NameOfSid(const Text& sid);

}  // namespace kandora::check
