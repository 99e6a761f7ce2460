#pragma once

#include <cstdint>

#include "automation/LateBound.h"

/// Objects that stand between the component and the programs that it drives, and pass almost everything on.
/// For no object there is none.
namespace kandora::check {

/// The host's object for a client of ours: names it as the one used last, and is closed until it has logged
/// in to it.
LateBound NewClientObject(const LateBound& host, const Text& client);

/// Which entry may be written, and what became of it.
struct WriteGuard {
    std::int32_t allowed = 0;
    bool isLoaded = false;     ///< for writing
    std::int32_t refused = 0;  ///< another entry that was to be loaded for writing instead
};

/// The archive, which lets nothing be deleted, filed or loaded for writing but the entry that `guard` allows.
/// `guard` outlives the object.
LateBound NewGuardedArchive(const LateBound& archive, WriteGuard& guard);

}  // namespace kandora::check
