#pragma once

#include <filesystem>

#include "simulators/host/CommandLine.h"

namespace kandora::simulators {

/// Registers this program as the accounting; `client` may be empty, `linger` is CommandLine's. Throws
/// Failure, also when another program is registered: the real accounting's registration is neither
/// overwritten nor used.
void RegisterMandant(const std::filesystem::path& client, unsigned linger = CommandLine().linger);

/// Registers this program unless it is registered already: the component finds the class through its ProgID,
/// even when the objects are served within this process. Throws Failure as above.
void EnsureMandantRegistered(const std::filesystem::path& client);

}  // namespace kandora::simulators
