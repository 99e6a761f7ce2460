#pragma once

#include <memory>

#include "simulators/archive/StoreContents.h"
#include "simulators/common/Files.h"

/// What a store held when it was closed, in one file, so that opening it does not have to read the file of
/// every entry.
///
/// The file consists of a header, the folders (parents first), a record of fixed size for each entry
/// (ascending by number) and the entries' texts in UTF-8. It counts only if it is whole, which a checksum
/// over everything shows.
namespace kandora::simulators {

/// A folder without its lists, and what the store knows of its directory.
struct IndexedFolder {
    std::int32_t id = 0;
    std::int32_t parent = 0;
    std::wstring name;
    std::wstring directory;
    FolderOnDisk onDisk;
};

/// An entry whose texts have not been asked for.
struct IndexedEntry {
    std::int32_t id = 0;
    std::int32_t folder = 0;
    std::int32_t mask = 0;
    std::uint32_t length = 0;  ///< bytes of its texts
    std::uint64_t offset = 0;  ///< where they begin
    FileStamp file;            ///< of its JSON file when it was last read or written
};

/// An index that was read. Entries wait in it until somebody asks for their texts.
class StoreIndex {
public:
    /// Reads the file and deletes it, so that it cannot outlive the first change. Null when there is none,
    /// when it is damaged, or when it cannot be deleted.
    static std::unique_ptr<StoreIndex> Take(const std::wstring& path);

    /// No number from here on was ever given out.
    [[nodiscard]] std::int32_t NextId() const noexcept { return nextId_; }
    /// Parents come before their children; the first one is the root.
    [[nodiscard]] const std::vector<IndexedFolder>& Folders() const noexcept { return folders_; }
    /// All entries, ascending by id, those that no longer wait included.
    [[nodiscard]] const std::vector<IndexedEntry>& Entries() const noexcept { return entries_; }

    [[nodiscard]] std::size_t WaitingCount() const noexcept { return waiting_; }
    [[nodiscard]] bool IsWaiting(const IndexedEntry& entry) const { return StateOf(entry) != State::Taken; }
    /// Null when the id is unknown or the entry no longer waits.
    [[nodiscard]] const IndexedEntry* Find(std::int32_t id) const;

    /// Notes that the entry's file was compared with its stamp and found to be the same.
    void MarkAsChecked(const IndexedEntry& entry) { SetState(entry, State::Checked); }
    [[nodiscard]] bool IsChecked(const IndexedEntry& entry) const { return StateOf(entry) == State::Checked; }
    /// True when no entry waits that was not checked.
    [[nodiscard]] bool AreAllChecked() const noexcept { return unchecked_ == 0; }
    /// The entry no longer waits.
    void Remove(const IndexedEntry& entry) { SetState(entry, State::Taken); }

    /// The entry with its texts; nothing when they make no sense.
    [[nodiscard]] std::optional<Entry> Decode(const IndexedEntry& entry) const;
    /// The texts as they stand in the file.
    [[nodiscard]] std::string_view TextsOf(const IndexedEntry& entry) const;

private:
    enum class State : char { Waiting, Checked, Taken };

    StoreIndex() = default;
    bool Read(std::string bytes);
    [[nodiscard]] bool AreSound() const;
    void SetState(const IndexedEntry& entry, State state);
    [[nodiscard]] State StateOf(const IndexedEntry& entry) const {
        return states_[static_cast<std::size_t>(&entry - entries_.data())];
    }

    std::string bytes_;
    std::size_t textsBegin_ = 0;
    std::int32_t nextId_ = 0;
    std::vector<IndexedFolder> folders_;
    std::vector<IndexedEntry> entries_;
    std::vector<State> states_;
    std::size_t waiting_ = 0;    ///< entries not yet taken
    std::size_t unchecked_ = 0;  ///< those of them that were not checked
};

/// Puts an index together.
class StoreIndexWriter {
public:
    explicit StoreIndexWriter(std::int32_t nextId) : nextId_(nextId) {}

    /// Parents before their children, the root first.
    void Add(const IndexedFolder& folder);
    void Add(const Entry& entry, const FileStamp& file);
    /// Takes an entry over from an older index as it stands there.
    void Copy(const StoreIndex& index, const IndexedEntry& entry);
    /// `temporary` must lie on the same volume. An archive too large for an index gets none. Throws Failure.
    void Write(const std::wstring& path, const std::wstring& temporary);

private:
    void AddRecord(IndexedEntry record, std::size_t begin);

    std::int32_t nextId_;
    std::uint32_t folderCount_ = 0;
    std::string folders_;
    std::vector<IndexedEntry> entries_;
    std::string texts_;
};

}  // namespace kandora::simulators
