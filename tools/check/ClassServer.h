#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include "automation/Text.h"
#include "tools/check/OwnRights.h"
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
/// The server that this program gets; none when the class is not registered for programs of its bitness and
/// rights.
std::optional<Server> ServerOf(const wchar_t* programId, const OwnRights& rights);

/// A class that somebody's programs get from another file than this one does, because it is registered where
/// this program does not look.
struct HiddenServer {
    Text user;
    Text file;
    bool isOfThisUser = false;  ///< or of the one whose session it is
};
/// As far as this program may read the users' registries.
std::vector<HiddenServer> HiddenServers(const wchar_t* programId, const OwnRights& rights);

/// The files that are registered for a class in programs of this bitness.
struct Registrations {
    std::optional<Text> forMachine;
    std::optional<Text> forUser;
};
Registrations RegistrationsOf(const Text& clsid);

}  // namespace kandora::check
