#pragma once

#include <windows.h>

#include "automation/Text.h"

namespace kandora::check {

/// What a program file is made for.
enum class Architecture { Unknown, X86, X64 };

#ifdef _WIN64
inline constexpr Architecture ownArchitecture = Architecture::X64;
#else
inline constexpr Architecture ownArchitecture = Architecture::X86;
#endif

/// "32 Bit", "64 Bit" or "unbekannt".
const wchar_t* NameOf(Architecture architecture) noexcept;
/// Unknown when the file cannot be read or is no program.
Architecture ArchitectureOf(const Text& file);
/// "1.2.3.4"; empty when the file carries no version.
Text VersionOf(const Text& file);

}  // namespace kandora::check
