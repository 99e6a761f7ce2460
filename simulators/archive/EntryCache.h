#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "simulators/archive/FolderTree.h"
#include "simulators/archive/StoreContents.h"
#include "simulators/archive/StoreIndex.h"

namespace kandora::simulators {

/// The store's entries: those that were read, and those that wait in the index until somebody asks for them.
/// It keeps the folders' lists of entries, too. An entry's file is compared with the index when the entry is
/// first asked for; when somebody edited it meanwhile, the file counts.
class EntryCache {
public:
    /// Called when an entry's file turns out to differ from what the index knew. `complaint` is empty unless
    /// the file has a mistake; then the entry is gone.
    using EditFound =
        std::function<void(std::int32_t id, std::int32_t folder, const std::wstring& complaint)>;

    /// `folders` must outlive it.
    EntryCache(FolderTree& folders, EditFound editFound)
        : folders_(folders), editFound_(std::move(editFound)) {}

    /// Takes over the entries of an index whose folders are all there.
    void WaitIn(std::unique_ptr<StoreIndex> index);
    void Clear();
    /// Tells an index what there is.
    void AddTo(StoreIndexWriter& writer) const;

    /// Null when there is none. The pointer holds until the next change.
    const Entry* Find(std::int32_t id);
    /// The entry's mask by the lists, 0 for an unknown id; looks at no file.
    [[nodiscard]] std::int32_t MaskOf(std::int32_t id) const noexcept;
    /// The entries with this mask, ascending by id. Compares the files of all entries with the index first,
    /// once. Throws Failure.
    [[nodiscard]] const std::vector<std::int32_t>& WithMask(std::int32_t mask);
    /// Shows in the lists what was found edited since the last time.
    void TakeOverEdits();
    [[nodiscard]] std::size_t Count() const noexcept;
    /// True when an entry that was read has this id.
    [[nodiscard]] bool Holds(std::int32_t id) const { return entries_.contains(id); }
    /// True when the entry's file was last seen with this stamp.
    [[nodiscard]] bool IsKnown(std::int32_t id, const FileStamp& file) const;

    /// An entry that is about to change. Throws std::out_of_range when there is none.
    const Entry& Existing(std::int32_t id);
    const Entry& Add(Entry entry, const FileStamp& file);
    /// The entry stays in its folder. Answers the entry as it is kept.
    const Entry& Replace(Entry entry, const FileStamp& file);
    /// Answers the folder in which it was.
    std::int32_t Move(std::int32_t id, std::int32_t folder);
    void Remove(std::int32_t id);

private:
    struct StoredEntry {
        Entry entry;
        FileStamp file;
    };
    /// An entry whose file was edited by hand, as the lists do not show it yet.
    struct Edit {
        std::int32_t id = 0;
        std::int32_t folder = 0;
        std::int32_t oldMask = 0;
        std::optional<std::int32_t> newMask;  ///< nothing when the entry is gone
    };

    const Entry* TakeFromIndex(const IndexedEntry& indexed);
    const Entry* Keep(Entry entry, const FileStamp& file);
    void CheckWaitingEntries();
    [[nodiscard]] const IndexedEntry* FindWaiting(std::int32_t id) const;

    FolderTree& folders_;
    EditFound editFound_;
    std::unordered_map<std::int32_t, StoredEntry> entries_;  ///< without those that wait in the index
    std::unordered_map<std::int32_t, std::vector<std::int32_t>> byMask_;
    std::vector<Edit> edits_;
    std::unique_ptr<StoreIndex> index_;  ///< null when the store was opened without
};

}  // namespace kandora::simulators
