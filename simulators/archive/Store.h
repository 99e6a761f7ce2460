#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulators/archive/ArchiveSettings.h"
#include "simulators/archive/EntryCache.h"
#include "simulators/archive/FolderTree.h"
#include "simulators/archive/IdCounter.h"
#include "simulators/archive/Postbox.h"
#include "simulators/archive/StoreContents.h"
#include "simulators/archive/StoreFiles.h"

namespace kandora::simulators {

/// The archive's store: folders, entries and documents in a directory that a person can read, with an index
/// of everything in memory.
///
///     DIR/archiv.json                 names, users, masks, separator
///     DIR/zaehler.json                ids below this number may have been given out
///     DIR/Ordner/<level>/<level>/     one directory per folder, each with ordner.json (id and name)
///     DIR/Ordner/<level>/4711.json    an entry: mask, short name, index fields, name of its document
///     DIR/Ordner/<level>/4711.pdf     its document
///     DIR/Postkorb/<user>/4712.pdf    a document handed in and not yet filed
///     DIR/Temp/                       files being written
///     DIR/archiv.index                what the store held when it was closed; removing it is harmless
///
/// An entry exists from the moment its JSON file stands in its folder until that file is gone; documents come
/// before and go after it. So a process that ends at any moment leaves nothing but documents without an entry
/// and temporary files, and the next start removes both.
///
/// The index spares the next start from reading every entry's file. It is written when the store is closed
/// and deleted as soon as it has been read, so a process that ends in any other way leaves none. It counts
/// only as long as the directories hold what it says; otherwise everything is read. A file that somebody
/// edited is noticed when its entry is asked for.
class ArchiveStore {
public:
    enum class Change { FolderAdded, FolderRemoved, EntryAdded, EntryChanged, EntryRemoved };
    /// Called after each change with the id of the folder or entry and the id of the folder in which it lies.
    using Listener = std::function<void(Change, std::int32_t id, std::int32_t folder)>;

    /// Opens the store and reads the index, or else everything, repairing what an interrupted process left.
    /// One process at a time may have a store open; a second one waits `patience` milliseconds for the first
    /// to end. Throws Failure.
    explicit ArchiveStore(std::wstring directory, unsigned patience = 5000);
    ~ArchiveStore();
    ArchiveStore(const ArchiveStore&) = delete;
    ArchiveStore& operator=(const ArchiveStore&) = delete;

    void SetListener(Listener listener) { listener_ = std::move(listener); }

    [[nodiscard]] const std::wstring& Directory() const noexcept { return files_.Directory(); }
    [[nodiscard]] const ArchiveSettings& Settings() const noexcept { return settings_; }
    /// German notes on files that could not be used, most of them found when the store was opened.
    [[nodiscard]] const std::vector<std::wstring>& Warnings() const noexcept { return warnings_; }

    /// Null when there is none. The pointers hold until the next change.
    [[nodiscard]] const Folder* FindFolder(std::int32_t id) const noexcept;
    /// Asking for an entry for the first time may show that its file was edited by hand; if the file has a
    /// mistake, the entry is gone and there is a warning. Lists of entries change only with TakeOverEdits or
    /// the next change, so that one can go through a list while asking for its entries.
    const Entry* FindEntry(std::int32_t id) const;
    /// The entry's mask by the lists, 0 for an unknown id; looks at no file.
    [[nodiscard]] std::int32_t MaskOf(std::int32_t id) const noexcept;
    /// The entries with this mask, ascending by id. Compares the files of all entries with the index first,
    /// once. Throws Failure.
    [[nodiscard]] const std::vector<std::int32_t>& EntriesOfMask(std::int32_t mask) const;
    void TakeOverEdits() const;
    [[nodiscard]] std::size_t EntryCount() const noexcept;
    [[nodiscard]] std::size_t FolderCount() const noexcept { return folders_.Count(); }
    [[nodiscard]] std::size_t PostboxCount() const noexcept { return postbox_.Count(); }

    /// The folder of a path whose every level follows a separator; letter case does not count. 0 when there
    /// is none.
    [[nodiscard]] std::int32_t LookupFolder(std::wstring_view path) const;
    /// Names from the archive (as the caller calls it) down to the folder or entry, joined by the separator.
    /// Empty for an unknown id.
    [[nodiscard]] std::wstring TreePath(std::int32_t id, std::wstring_view archive,
                                        std::wstring_view separator) const;
    /// The path of an entry's document on disk; empty when it has none.
    [[nodiscard]] std::wstring DocumentPath(const Entry& entry) const;

    /// Creates all missing levels and answers the last one's id; nothing for a path that is not one.
    std::optional<std::int32_t> CreateFolders(std::wstring_view path);
    /// Copies the file into the user's postbox. Throws Failure.
    PostboxDocument AddToPostbox(const std::wstring& file, const std::wstring& user);
    /// Takes a document out of the postbox again.
    void RemoveFromPostbox(const PostboxDocument& document);
    /// Files a document from the postbox; entry.id, document and filed are filled in here. Throws Failure.
    const Entry& File(Entry entry, const PostboxDocument& document);
    /// Writes mask, short name and fields of an existing entry. Throws Failure.
    void Update(const Entry& entry);
    /// Moves an entry to another folder. Throws Failure.
    void Move(std::int32_t entry, std::int32_t folder);
    void RemoveEntry(std::int32_t id);
    /// Removes a folder that holds neither entries nor folders; false when it does.
    bool RemoveFolder(std::int32_t id);

private:
    [[nodiscard]] std::int32_t CounterAtStart();
    bool ReadIndex();
    void WriteIndex();
    void AddToIndex(StoreIndexWriter& writer, const Folder& folder) const;
    void NoteEdit(std::int32_t id, std::int32_t folder, const std::wstring& complaint);

    [[nodiscard]] std::wstring EntryPath(std::int32_t folder, std::int32_t id) const;
    void Tell(Change change, std::int32_t id, std::int32_t folder) const;

    StoreFiles files_;
    FileHandle lock_;
    ArchiveSettings settings_;
    std::vector<std::wstring> warnings_;
    IdCounter ids_;
    Postbox postbox_;
    FolderTree folders_;
    /// Asking for an entry may read it.
    mutable EntryCache entries_;
    Listener listener_;
};

}  // namespace kandora::simulators
