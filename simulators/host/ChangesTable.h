#pragma once

#include <string>
#include <vector>

#include "simulators/host/Driver.h"
#include "simulators/host/StoreReader.h"

namespace kandora::simulators {

/// What one entry of the archive was before a request and is after it; null where it did not exist.
struct EntryChange {
    const StoredEntry* before = nullptr;
    const StoredEntry* after = nullptr;
};

/// The entries that differ between two readings of the same store, in the order of their ids.
std::vector<EntryChange> CompareStores(const StoreReader& before, const StoreReader& after);

/// One request that was sent, with what the accounting changed in its own data just before.
struct ChangeStep {
    std::vector<std::wstring> preparations;
    Outcome outcome;
};

/// Describes for a person, line by line, what a request did in the archive: which entry was filed, changed or
/// deleted, with its index fields before and after, or that nothing changed. `number` counts the steps; no
/// line takes more than `width` columns.
std::vector<std::wstring> RenderChange(std::size_t number, const ChangeStep& step, const StoreReader& before,
                                       const StoreReader& after, std::size_t width);

/// What a run of requests did to the archive's entries.
struct ChangeTotals {
    std::size_t requests = 0;
    std::size_t filed = 0;
    std::size_t changed = 0;
    std::size_t deleted = 0;

    /// Adds one request with what it did.
    void Add(const std::vector<EntryChange>& changes);
};

/// The totals in one line.
std::wstring RenderChangeTotals(const ChangeTotals& totals);

}  // namespace kandora::simulators
