#pragma once

#include <functional>

#include "provider/MGlobals.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

/// The entries of a comparison that can be written anew: those that differ from their bookings.
std::vector<EntryFinding> Differing(const Reconciled& reconciled);

/// Who looks on, and may interrupt between two entries.
struct ReindexWatch {
    std::function<bool()> isInterrupted = [] { return false; };
    std::function<void(std::int32_t entry, const Text& outcome)> onEntry = [](std::int32_t, const Text&) {};
};

/// Has the component's own change write the entries anew, each only when its number and index lead to it, and
/// reads each of them back. Stops at the first failure. Files and deletes nothing.
Reindexed Reindex(MGlobals& globals, const std::vector<EntryFinding>& entries, const ReindexWatch& watch);

}  // namespace kandora::check
