#pragma once

#include <optional>

#include <windows.h>

#include "automation/Text.h"
#include "tools/check/ProgramFile.h"

namespace kandora::check {

Text TextOfGuid(REFGUID guid);

/// How a registered class is served.
struct Server {
    CLSID clsid{};
    bool inProcess = false;
    Text file;
    Architecture architecture = Architecture::Unknown;
};
/// The server that a program of this bitness gets; none when the class is not registered for it.
std::optional<Server> ServerOf(const wchar_t* programId);

}  // namespace kandora::check
