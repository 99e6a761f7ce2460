#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "simulators/archive/StoreContents.h"
#include "simulators/common/Files.h"

namespace kandora::simulators {

/// "4711.json" gives 4711, anything else nothing.
std::optional<std::int32_t> IdOfEntryFile(std::wstring_view name);
/// "4711.pdf" gives 4711.
std::optional<std::int32_t> IdOfDocumentFile(std::wstring_view name);
/// True for the file that says which folder a directory is.
bool IsFolderFile(std::wstring_view name);
/// True for a file that was being written.
bool IsTemporaryFile(std::wstring_view name);
/// What a document's name in the store ends in, by the name of the file that is handed in.
std::wstring DocumentExtension(std::wstring_view file);

/// The time of a directory's last change as FolderOnDisk keeps it.
std::uint64_t SettledTime(std::uint64_t changed);

/// Where a store keeps its files, and what is written in them.
class StoreFiles {
public:
    explicit StoreFiles(std::wstring directory) : directory_(std::move(directory)) {}

    [[nodiscard]] const std::wstring& Directory() const noexcept { return directory_; }
    [[nodiscard]] std::wstring SettingsPath() const { return directory_ + L"\\archiv.json"; }
    [[nodiscard]] std::wstring LockPath() const { return directory_ + L"\\archiv.lock"; }
    [[nodiscard]] std::wstring IndexPath() const { return directory_ + L"\\archiv.index"; }
    [[nodiscard]] std::wstring CounterPath() const { return directory_ + L"\\zaehler.json"; }
    /// The directory of the root folder.
    [[nodiscard]] std::wstring FoldersPath() const { return directory_ + L"\\Ordner"; }
    /// The directory with a directory for each user.
    [[nodiscard]] std::wstring PostboxPath() const { return directory_ + L"\\Postkorb"; }
    [[nodiscard]] std::wstring TemporaryPath(std::wstring_view name) const;

    /// Waits `patience` milliseconds for whoever has the store open. Throws Failure.
    [[nodiscard]] FileHandle Lock(unsigned patience) const;
    /// Makes the directories that every store has. Throws Failure.
    void CreateMissing() const;
    void CleanTemporaryFiles() const;

    /// Ids below this number may have been given out; nothing without the file. Throws Failure.
    [[nodiscard]] std::optional<std::int32_t> ReadCounter() const;
    void WriteCounter(std::int32_t next) const;

    /// What stands in a folder's file.
    struct FolderFile {
        std::int32_t id = 0;
        std::wstring name;
    };
    /// Both throw Failure.
    [[nodiscard]] static FolderFile ReadFolder(const std::wstring& directory);
    FileStamp WriteFolder(const std::wstring& directory, const FolderFile& content) const;
    /// The path of a folder's file in its directory.
    [[nodiscard]] static std::wstring FolderFilePath(const std::wstring& directory);

    /// The path of an entry's file in its folder's directory.
    [[nodiscard]] static std::wstring EntryPath(const std::wstring& directory, std::int32_t id);
    /// Reads an entry's file; the caller fills in the folder. Throws Failure, also when `isTaken` says that
    /// another entry or folder has the number.
    [[nodiscard]] static Entry ReadEntry(const std::wstring& path, std::int32_t id, bool isTaken);
    FileStamp WriteEntry(const std::wstring& path, const Entry& entry) const;

private:
    std::wstring directory_;
};

}  // namespace kandora::simulators
