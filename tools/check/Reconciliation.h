#pragma once

#include <functional>

#include "provider/MGlobals.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

/// How far a comparison is.
struct ReconcileProgress {
    const DocumentKind* kind = nullptr;
    std::int32_t mask = 0;
    std::int64_t done = 0;   ///< entries of all masks
    std::int64_t total = 0;  ///< of all masks
    std::size_t findings = 0;
};

/// How a comparison is made, and who looks on.
struct ReconcileOptions {
    std::int32_t days = 30;  ///< so long may an entry be pending
    Text logs;               ///< folder of the component's logs; empty for none
    std::function<bool()> isInterrupted = [] { return false; };
    std::function<void(const ReconcileProgress&)> onProgress = [](const ReconcileProgress&) {};
    std::function<void(const EntryFinding&)> onFinding = [](const EntryFinding&) {};
    /// What the user would have been told meanwhile.
    std::function<Text()> takeMessages = [] { return Text(); };
};

/// Compares what the archive holds of the client with the accounting: every entry of the three masks that
/// lies in one of the client's folders. Reads, and writes nothing. The settings and the client's folders
/// stand in the shared state. Raises nothing but for want of memory: what cannot be read is a finding, and
/// what keeps the comparison from its end is its reason.
Reconciled Reconcile(MGlobals& globals, const ReconcileOptions& options);

}  // namespace kandora::check
