#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>

#include "simulators/archive/ArchiveSettings.h"
#include "simulators/common/Files.h"

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
/// The index spares the next start the reading of every entry's file. It is written when the store is closed
/// and deleted as soon as it has been read, so a process that ends in any other way leaves none. It counts
/// only as long as the directories hold what it says; otherwise everything is read. A file that somebody
/// edited is noticed when its entry is asked for.
namespace kandora::simulators {

struct Folder {
    std::int32_t id = 0;
    std::int32_t parent = 0;  ///< the root's parent is 0
    std::wstring name;
    std::wstring directory;              ///< its directory's own name
    std::vector<std::int32_t> children;  ///< in the order of their names
    std::vector<std::int32_t> entries;   ///< ascending
};

/// Index field values by line; only lines that were written.
using FieldValues = std::map<std::int16_t, std::wstring>;

struct Entry {
    std::int32_t id = 0;
    std::int32_t folder = 0;
    std::int32_t mask = 0;
    std::wstring shortName;
    FieldValues fields;
    std::wstring document;  ///< file name in the folder's directory; may be empty
    std::wstring filed;     ///< local time, "2026-11-20T10:11:12"
};

/// What the store knows of a folder's directory.
struct FolderOnDisk {
    /// When something was last added to it, renamed or taken away, as FILETIME counts; 0 when that was so
    /// recent that a later change may bear the same time.
    std::uint64_t changed = 0;
    FileStamp file;  ///< of its ordner.json
};

struct IndexedEntry;
class StoreIndex;
class StoreIndexWriter;

/// A document in the postbox. Its id becomes the entry's id when it is filed.
struct PostboxDocument {
    std::int32_t id = 0;
    std::wstring path;
};

class ArchiveStore {
public:
    static constexpr std::int32_t rootId = 1;
    static constexpr std::int32_t firstId = 2;

    enum class Change { FolderAdded, FolderRemoved, EntryAdded, EntryChanged, EntryRemoved };
    /// Called after each change with the id of the folder or entry and the id of the folder in which it lies.
    using Listener = std::function<void(Change, std::int32_t id, std::int32_t folder)>;

    /// Opens the store, repairs what an interrupted process left, and reads everything. One process at a time
    /// may have a store open; a second one waits `patience` milliseconds for the first to end. Throws
    /// Failure.
    explicit ArchiveStore(std::wstring directory, unsigned patience = 5000);
    ~ArchiveStore();
    ArchiveStore(const ArchiveStore&) = delete;
    ArchiveStore& operator=(const ArchiveStore&) = delete;

    void SetListener(Listener listener) { listener_ = std::move(listener); }

    [[nodiscard]] const std::wstring& Directory() const noexcept { return directory_; }
    [[nodiscard]] const ArchiveSettings& Settings() const noexcept { return settings_; }
    /// German notes on files that could not be used, most of them found when the store was opened.
    [[nodiscard]] const std::vector<std::wstring>& Warnings() const noexcept { return warnings_; }

    /// Null when there is none. The pointers hold until the next change.
    [[nodiscard]] const Folder* FindFolder(std::int32_t id) const noexcept;
    /// The first one to ask for an entry may learn that its file was edited by hand: with a mistake in the
    /// file the entry is gone and a warning there. Lists of entries show such finds from TakeOverEdits or the
    /// next change on, so that they can be gone through meanwhile.
    const Entry* FindEntry(std::int32_t id) const;
    /// The entry's mask by the lists, 0 for an unknown id; looks at no file.
    [[nodiscard]] std::int32_t MaskOf(std::int32_t id) const noexcept;
    /// The entries with this mask, ascending by id. Compares the files of all entries with the index first,
    /// once. Throws Failure.
    [[nodiscard]] const std::vector<std::int32_t>& EntriesOfMask(std::int32_t mask) const;
    void TakeOverEdits() const;
    [[nodiscard]] std::size_t EntryCount() const noexcept;
    [[nodiscard]] std::size_t FolderCount() const noexcept { return folders_.size() - 1; }
    [[nodiscard]] std::size_t PostboxCount() const noexcept { return postboxCount_; }

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
    struct Scanned;
    struct ScannedEntry;
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

    static FileHandle Lock(const std::wstring& directory, unsigned patience);
    void CleanTemporaryFiles() const;
    std::int32_t ReadCounter();
    std::int32_t ScanPostbox();
    void ReadEverything();
    [[nodiscard]] Scanned Scan(const std::wstring& path, std::int32_t& highest) const;
    void BuildFolder(const Scanned& scanned, std::int32_t id);
    void BuildChild(const Scanned& scanned, std::int32_t parent);
    void BuildEntry(const std::wstring& path, const ScannedEntry& scanned, std::int32_t folder);
    static Entry ReadEntry(const std::wstring& path, std::int32_t id, bool isTaken);

    bool ReadIndex();
    void WriteIndex();
    void AddToIndex(StoreIndexWriter& writer, const Folder& folder) const;
    bool IsAsKnown(const Folder& folder);
    [[nodiscard]] bool HoldsWhatIsKnown(const Folder& folder) const;
    const Entry* TakeFromIndex(const IndexedEntry& indexed) const;
    void CheckWaitingEntries() const;

    void AddFolder(Folder folder, const FolderOnDisk& onDisk);
    const Entry& AddEntry(Entry entry, const FileStamp& file);
    StoredEntry& Existing(std::int32_t id);
    [[nodiscard]] FileStamp WriteFolder(const std::wstring& path, std::int32_t id,
                                        const std::wstring& name) const;
    [[nodiscard]] FileStamp WriteEntry(const Entry& entry) const;
    void WriteCounter(std::int32_t next) const;
    std::int32_t NextId();

    [[nodiscard]] std::wstring FolderPath(std::int32_t id) const;
    [[nodiscard]] std::wstring EntryPath(std::int32_t folder, std::int32_t id) const;
    [[nodiscard]] std::wstring IndexPath() const { return directory_ + L"\\archiv.index"; }
    [[nodiscard]] std::wstring TemporaryPath(std::wstring_view name) const;
    [[nodiscard]] std::optional<std::vector<std::wstring>> Levels(std::wstring_view path) const;
    [[nodiscard]] std::int32_t ChildOf(std::int32_t folder, std::wstring_view name) const;
    void Tell(Change change, std::int32_t id, std::int32_t folder) const;

    std::wstring directory_;
    FileHandle lock_;
    ArchiveSettings settings_;
    /// What asking for an entry may find changes with the question, although nothing but the memory of the
    /// files does.
    mutable std::vector<std::wstring> warnings_;
    mutable std::unordered_map<std::int32_t, Folder> folders_;
    mutable std::unordered_map<std::int32_t, StoredEntry> entries_;  ///< without those that wait in the index
    mutable std::unordered_map<std::int32_t, std::vector<std::int32_t>> entriesByMask_;
    mutable std::vector<Edit> edits_;
    std::unique_ptr<StoreIndex> index_;                            ///< null when the store was opened without
    std::unordered_map<std::int32_t, FolderOnDisk> onDisk_;        ///< by the folder's id
    std::unordered_map<std::wstring, std::int32_t> folderByName_;  ///< by parent's id and folded name
    std::int32_t nextId_ = firstId;
    std::int32_t reservedUntil_ = firstId;   ///< the number in zaehler.json
    std::int32_t handedOutBelow_ = firstId;  ///< the same when the store was opened
    std::size_t postboxCount_ = 0;
    Listener listener_;
};

}  // namespace kandora::simulators
