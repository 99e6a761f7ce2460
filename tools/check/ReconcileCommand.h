#pragma once

#include "tools/check/CheckCommandLine.h"
#include "tools/check/Checks.h"

namespace kandora::check {

/// Compares archive and accounting as the command line says, with what the user sees of it, and mends what it
/// is asked to. What it finds is in the report afterwards. `isClientReady` tells of the client that is open;
/// others are opened here.
void ReconcileAsTold(Report& report, Surroundings& surroundings, const Subject& subject,
                     const CommandLine& options, bool isArchiveUsable, bool isClientReady);

}  // namespace kandora::check
