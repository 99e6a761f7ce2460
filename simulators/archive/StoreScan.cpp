#include "simulators/archive/StoreScan.h"

#include <algorithm>
#include <utility>

#include "simulators/archive/StoreNames.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

struct StoreScan::ScannedEntry {
    std::int32_t id = 0;
    FileStamp file;
};

/// A directory of the store as it was found on disk.
struct StoreScan::Scanned {
    std::wstring path;
    std::wstring directory;
    std::int32_t id = 0;  // 0 when it has no usable ordner.json
    std::wstring name;
    bool needsFile = false;  // ordner.json is missing or no longer right
    std::wstring complaint;
    FolderOnDisk onDisk;
    std::vector<ScannedEntry> entries;  // ascending
    std::vector<std::wstring> documents;
    std::vector<Scanned> children;
};

std::wstring PassedOver(const std::wstring& complaint) {
    return complaint + L" Der Eintrag wird übergangen.";
}

void StoreScan::Run() {
    const Scanned root = Look(files_.FoldersPath());
    Folder folder;
    folder.id = rootId;
    folders_.Add(std::move(folder), root.onDisk);
    BuildFolder(root, rootId);
}

bool StoreScan::IsTaken(std::int32_t id) const {
    return folders_.Find(id) != nullptr || entries_.Holds(id);
}

StoreScan::Scanned StoreScan::Look(const std::wstring& path) {
    Scanned scanned;
    scanned.path = path;
    scanned.directory = path.substr(path.rfind(L'\\') + 1);
    scanned.needsFile = true;
    scanned.onDisk.changed = SettledTime(StampOf(path).value_or(FileStamp()).written);
    bool hasFolderFile = false;
    for (const DirectoryItem& item : ListDirectory(path)) {
        const std::wstring itemPath = path + L"\\" + item.name;
        if (item.isDirectory) {
            scanned.children.push_back(Look(itemPath));
        } else if (IsTemporaryFile(item.name)) {
            RemoveFile(itemPath);
        } else if (IsFolderFile(item.name)) {
            hasFolderFile = true;
            scanned.onDisk.file = item.stamp;
        } else if (const auto entry = IdOfEntryFile(item.name)) {
            scanned.entries.push_back({*entry, item.stamp});
            ids_.PassOver(*entry);
        } else if (const auto document = IdOfDocumentFile(item.name)) {
            scanned.documents.push_back(item.name);
            ids_.PassOver(*document);
        }
    }
    if (hasFolderFile) {
        try {
            const StoreFiles::FolderFile file = StoreFiles::ReadFolder(path);
            scanned.id = file.id;
            scanned.name = file.name;
            ids_.PassOver(file.id);
            // Somebody may have renamed the directory: then its name counts.
            scanned.needsFile = !EqualIgnoringCase(EncodeName(scanned.name), scanned.directory);
        } catch (const Failure& failure) {
            scanned.id = 0;
            scanned.complaint = failure.Message();
        }
    }
    if (scanned.needsFile) {
        scanned.name = DecodeName(scanned.directory);
    }
    std::ranges::sort(scanned.entries, {}, &ScannedEntry::id);
    return scanned;
}

void StoreScan::BuildFolder(const Scanned& scanned, std::int32_t id) {
    std::vector<std::int32_t> found;
    for (const ScannedEntry& entry : scanned.entries) {
        BuildEntry(scanned.path, entry, id);
        found.push_back(entry.id);
    }
    for (const std::wstring& document : scanned.documents) {
        // NOLINTNEXTLINE(bugprone-unchecked-optional-access): it was found by its number
        const std::int32_t documentId = *IdOfDocumentFile(document);
        if (std::ranges::binary_search(found, documentId)) {
            continue;
        }
        // Files with numbers that were never given out are somebody else's.
        if (documentId < ids_.HandedOutBelow()) {
            RemoveFile(scanned.path + L"\\" + document);
        } else {
            folders_.OnDisk(id).changed = 0;  // the directory is not as the store would leave it
        }
    }
    for (const Scanned& child : scanned.children) {
        BuildChild(child, id);
    }
}

void StoreScan::BuildChild(const Scanned& scanned, std::int32_t parent) {
    Folder folder;
    folder.id = scanned.id;
    folder.parent = parent;
    folder.name = scanned.name;
    folder.directory = scanned.directory;
    FolderOnDisk onDisk = scanned.onDisk;
    const bool isTaken = IsTaken(folder.id);
    if (folder.id == 0 || isTaken || scanned.needsFile) {
        if (folder.id == 0 || isTaken) {
            folder.id = ids_.Take();
        }
        onDisk.file = files_.WriteFolder(scanned.path, {folder.id, folder.name});
    }
    if (isTaken) {
        warnings_.push_back(scanned.path + L": Die Nummer " + std::to_wstring(scanned.id) +
                            L" ist vergeben; der Ordner hat jetzt die Nummer " + std::to_wstring(folder.id) +
                            L".");
    }
    if (!scanned.complaint.empty()) {
        warnings_.push_back(scanned.complaint + L" Der Ordner hat jetzt die Nummer " +
                            std::to_wstring(folder.id) + L".");
    }
    const std::int32_t id = folder.id;
    folders_.Add(std::move(folder), onDisk);
    BuildFolder(scanned, id);
}

void StoreScan::BuildEntry(const std::wstring& path, const ScannedEntry& scanned, std::int32_t folder) {
    try {
        Entry entry =
            StoreFiles::ReadEntry(StoreFiles::EntryPath(path, scanned.id), scanned.id, IsTaken(scanned.id));
        entry.folder = folder;
        entries_.Add(std::move(entry), scanned.file);
    } catch (const Failure& failure) {
        warnings_.push_back(PassedOver(failure.Message()));
    }
}

}  // namespace kandora::simulators
