#pragma once

#include <utility>
#include <vector>

#include "automation/LateBound.h"
#include "automation/Text.h"

namespace kandora::check {

/// What an archive was told while something was filed.
struct NotedEntry {
    std::int32_t mask = 0;
    Text title;
    std::vector<std::pair<std::int16_t, Text>> fields;  ///< line and value, in the order of writing
    Text document;
    Text target;  ///< "#" and the folder's id
};

/// An archive for rehearsals. What would change something is noted in `entry` and answered with success;
/// questions about folders go to `archive`, the real one. `entry` outlives the object.
LateBound NewDryRunArchive(const LateBound& archive, NotedEntry& entry);

}  // namespace kandora::check
