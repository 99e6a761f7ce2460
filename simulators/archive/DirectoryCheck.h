#pragma once

#include "simulators/archive/EntryCache.h"
#include "simulators/archive/FolderTree.h"

namespace kandora::simulators {

/// True when the directories of all folders hold what the lists say. A directory is read only if it may have
/// changed; that it has not is noted in `folders`.
bool AreDirectoriesAsKnown(FolderTree& folders, const EntryCache& entries);

}  // namespace kandora::simulators
