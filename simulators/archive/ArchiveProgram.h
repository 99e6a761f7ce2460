#pragma once

#include <cstddef>

#include "simulators/archive/ArchiveView.h"
#include "simulators/archive/CallScript.h"
#include "simulators/archive/CallTrace.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

/// Everything that the objects of one program share. Without `script` or `trace` (null) nothing is rehearsed
/// or recorded.
struct ArchiveProgram {
    ArchiveStore& store;
    ArchiveView& view;
    CallScript* script = nullptr;
    CallTrace* trace = nullptr;
    std::size_t sessions = 0;  ///< objects that are logged on
};

}  // namespace kandora::simulators
