#pragma once

#include <string>
#include <vector>

#include "simulators/archive/EntryCache.h"
#include "simulators/archive/FolderTree.h"
#include "simulators/archive/IdCounter.h"
#include "simulators/archive/StoreFiles.h"

namespace kandora::simulators {

/// The complaint about an entry's file, completed to a note that the entry is left out.
std::wstring PassedOver(const std::wstring& complaint);

/// Reads all files of a store and repairs what an interrupted process or a person left.
class StoreScan {
public:
    /// All must outlive it; `folders` and `entries` must be empty. `warnings` gets a note for each file that
    /// cannot be used.
    StoreScan(const StoreFiles& files, FolderTree& folders, EntryCache& entries, IdCounter& ids,
              std::vector<std::wstring>& warnings)
        : files_(files), folders_(folders), entries_(entries), ids_(ids), warnings_(warnings) {}

    /// Throws Failure.
    void Run();

private:
    struct Scanned;
    struct ScannedEntry;

    /// Looks at a directory and at those in it. The numbers of everything must be known before the first
    /// new one is given out.
    Scanned Look(const std::wstring& path);
    void BuildFolder(const Scanned& scanned, std::int32_t id);
    void BuildChild(const Scanned& scanned, std::int32_t parent);
    void BuildEntry(const std::wstring& path, const ScannedEntry& scanned, std::int32_t folder);
    [[nodiscard]] bool IsTaken(std::int32_t id) const;

    const StoreFiles& files_;
    FolderTree& folders_;
    EntryCache& entries_;
    IdCounter& ids_;
    std::vector<std::wstring>& warnings_;
};

}  // namespace kandora::simulators
