#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// File operations that leave no half-written file behind.
namespace kandora::simulators {

/// Owns an open file.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle = INVALID_HANDLE_VALUE) noexcept : handle_(handle) {}
    FileHandle(FileHandle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~FileHandle() { Close(); }

    [[nodiscard]] bool IsOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE Get() const noexcept { return handle_; }
    void Close() noexcept {
        if (IsOpen()) {
            CloseHandle(handle_);
            handle_ = INVALID_HANDLE_VALUE;
        }
    }

private:
    HANDLE handle_;
};

/// What shows that a file was edited. Of a directory only the time means something: it changes when something
/// is added to it, renamed or removed.
struct FileStamp {
    std::uint64_t size = 0;     ///< bytes
    std::uint64_t written = 0;  ///< the last writing, as FILETIME counts
    bool operator==(const FileStamp&) const = default;
};

/// The absolute form of a path with the prefix that lifts the length limit; for calls of the system only.
std::wstring LongPath(std::wstring_view path);

/// The file's bytes. Throws Failure, in German, with the path.
std::string ReadWholeFile(const std::wstring& path);

/// Replaces or creates the file in one step: the bytes go to `temporary`, are flushed and renamed to `path`,
/// so that a reader finds the old content or the new one at any moment. `temporary` must lie on the same
/// volume. Answers the new file's stamp. Throws Failure.
FileStamp WriteFileAtomically(const std::wstring& path, std::string_view bytes,
                              const std::wstring& temporary);

/// The same with the file's own name and ".tmp" as the temporary file.
FileStamp WriteFileAtomically(const std::wstring& path, std::string_view bytes);

/// Copies a file and flushes the copy; an existing target is replaced, a write protection is not copied.
/// Throws Failure.
void CopyFileDurably(const std::wstring& source, const std::wstring& target);

/// Renames a file or directory within a volume. Throws Failure, also when the target exists.
void RenameFile(const std::wstring& source, const std::wstring& target);

/// Deletes a file; one that does not exist is no failure. Throws Failure.
void RemoveFile(const std::wstring& path);

/// Creates a directory with all that are missing above it. Throws Failure.
void CreateDirectories(const std::wstring& path);

struct DirectoryItem {
    std::wstring name;
    bool isDirectory = false;
    FileStamp stamp;
};

/// What a directory holds, without "." and "..", in no particular order; nothing when it does not exist.
/// Throws Failure.
std::vector<DirectoryItem> ListDirectory(const std::wstring& path);

/// Throws Failure: "what: path: the system's text for the calling thread's last error".
[[noreturn]] void FailWithLastError(std::wstring_view what, const std::wstring& path);

/// The stamp of a file or directory; nothing when it does not exist or cannot be read.
std::optional<FileStamp> StampOf(const std::wstring& path);

/// True for an existing file that is no directory.
bool IsFile(const std::wstring& path);
bool IsDirectory(const std::wstring& path);

/// The path of the running program.
std::wstring ProgramPath();

}  // namespace kandora::simulators
