#include "simulators/archive/DirectoryCheck.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "simulators/archive/StoreFiles.h"

namespace kandora::simulators {

namespace {

bool HoldsWhatIsKnown(const FolderTree& folders, const EntryCache& entries, const Folder& folder) {
    std::vector<std::int32_t> found;
    std::vector<std::int32_t> documents;
    std::set<std::wstring> directories;
    for (const DirectoryItem& item : ListDirectory(folders.PathOf(folder.id))) {
        if (item.isDirectory) {
            directories.insert(item.name);
        } else if (IsTemporaryFile(item.name)) {
            return false;
        } else if (const auto entry = IdOfEntryFile(item.name)) {
            if (!entries.IsKnown(*entry, item.stamp)) {
                return false;
            }
            found.push_back(*entry);
        } else if (const auto document = IdOfDocumentFile(item.name)) {
            documents.push_back(*document);
        }
    }
    std::ranges::sort(found);
    std::set<std::wstring> children;
    for (const std::int32_t child : folder.children) {
        children.insert(folders.At(child).directory);
    }
    const auto hasEntry = [&found](std::int32_t document) {
        return std::ranges::binary_search(found, document);
    };
    return found == folder.entries && directories == children && std::ranges::all_of(documents, hasEntry);
}

bool IsAsKnown(FolderTree& folders, const EntryCache& entries, const Folder& folder) {
    const std::wstring path = folders.PathOf(folder.id);
    FolderOnDisk& onDisk = folders.OnDisk(folder.id);
    if (folder.id != rootId && StampOf(StoreFiles::FolderFilePath(path)) != onDisk.file) {
        return false;
    }
    const auto now = StampOf(path);
    if (now && now->written == onDisk.changed) {
        return true;
    }
    if (!now || !HoldsWhatIsKnown(folders, entries, folder)) {
        return false;
    }
    onDisk.changed = SettledTime(now->written);
    return true;
}

}  // namespace

bool AreDirectoriesAsKnown(FolderTree& folders, const EntryCache& entries) {
    return std::ranges::all_of(folders.All(),
                               [&](const auto& item) { return IsAsKnown(folders, entries, item.second); });
}

}  // namespace kandora::simulators
