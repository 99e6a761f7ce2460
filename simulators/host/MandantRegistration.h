#pragma once

#include <filesystem>

#include "simulators/host/CommandLine.h"

namespace kandora::simulators {

/// Registers this program as the accounting's; `client` may be empty, `linger` is CommandLine's. Throws
/// Failure, also when another program is registered: the real accounting's registration is never touched,
/// neither to write nor to use it.
void RegisterMandant(const std::filesystem::path& client, unsigned linger = CommandLine().linger);

/// The component finds the class through its ProgID, so that much of a registration must exist even for
/// objects that are served within this process.
void EnsureMandantRegistered(const std::filesystem::path& client);

}  // namespace kandora::simulators
