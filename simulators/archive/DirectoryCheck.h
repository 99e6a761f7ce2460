#pragma once

#include "simulators/archive/EntryCache.h"
#include "simulators/archive/FolderTree.h"

namespace kandora::simulators {

/// True when the directories of all folders hold what the lists say. One is read only if it may have changed;
/// what is found out about it is noted.
bool AreDirectoriesAsKnown(FolderTree& folders, const EntryCache& entries);

}  // namespace kandora::simulators
