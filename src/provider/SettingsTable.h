#pragma once

#include <array>
#include <cstdint>
#include <variant>
#include <vector>

#include "model/Settings.h"

namespace kandora {

/// Where a setting is kept; its type tells how its text is converted.
using SettingTarget = std::variant<bool*, std::int32_t*, std::int16_t*, Text*>;

/// One key of the INI file.
struct Setting {
    const wchar_t* section;
    const wchar_t* key;
    SettingTarget target;
};

/// The keys that are always read: tracing and the master switch.
std::vector<Setting> SwitchSettings(Settings& settings);
/// The keys that are read when the master switch is on, in the order in which they are read.
std::vector<Setting> ArchiveSettings(Settings& settings);

/// Stores a key's text. Raises 13 when it is no Boolean or no number, 6 when it is out of range.
void Store(const Setting& setting, const Text& text);

}  // namespace kandora
