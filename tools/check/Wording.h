#pragma once

#include <cstdint>

#include "automation/Text.h"

namespace kandora::check {

/// "1 Eintrag", "2 Einträge": the number with one of two endings.
inline Text Counted(std::int64_t count, const wchar_t* one, const wchar_t* several) {
    return Decimal(count) + (count == 1 ? one : several);
}

}  // namespace kandora::check
