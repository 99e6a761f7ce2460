#include "simulators/common/Files.h"

#include "simulators/common/Failure.h"

namespace kandora::simulators {

namespace {

std::uint64_t Joined(DWORD high, DWORD low) {
    return static_cast<std::uint64_t>(high) << 32 | low;
}

/// `Data` is either of the two structures in which the system describes a file.
template <class Data>
FileStamp StampIn(const Data& data) {
    return {Joined(data.nFileSizeHigh, data.nFileSizeLow),
            Joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

}  // namespace

void FailWithLastError(std::wstring_view what, const std::wstring& path) {
    const DWORD error = GetLastError();
    throw Failure(std::wstring(what) + L": " + path + L": " + SystemMessage(error));
}

std::wstring LongPath(std::wstring_view path) {
    std::wstring given(path);
    if (given.starts_with(L"\\\\?\\")) {
        return given;
    }
    const DWORD needed = GetFullPathNameW(given.c_str(), 0, nullptr, nullptr);
    std::vector<wchar_t> buffer(static_cast<std::size_t>(needed) + 1);
    const DWORD length =
        GetFullPathNameW(given.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
    const std::wstring full(buffer.data(), length);
    if (full.starts_with(L"\\\\")) {
        return L"\\\\?\\UNC\\" + full.substr(2);
    }
    return L"\\\\?\\" + full;
}

std::string ReadWholeFile(const std::wstring& path) {
    const FileHandle file(CreateFileW(LongPath(path).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file.IsOpen() || GetFileSizeEx(file.Get(), &size) == 0) {
        FailWithLastError(L"Die Datei kann nicht gelesen werden", path);
    }
    constexpr LONGLONG largest = 0x40000000;
    if (size.QuadPart > largest) {
        throw Failure(L"Die Datei ist zu gross: " + path);
    }
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) == 0) {
        FailWithLastError(L"Die Datei kann nicht gelesen werden", path);
    }
    bytes.resize(read);
    return bytes;
}

FileStamp WriteFileAtomically(const std::wstring& path, std::string_view bytes,
                              const std::wstring& temporary) {
    const std::wstring longTemporary = LongPath(temporary);
    FileHandle file(CreateFileW(longTemporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen()) {
        FailWithLastError(L"Die Datei kann nicht geschrieben werden", temporary);
    }
    DWORD written = 0;
    if (WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == 0 ||
        written != bytes.size() || FlushFileBuffers(file.Get()) == 0) {
        FailWithLastError(L"Die Datei kann nicht geschrieben werden", temporary);
    }
    file.Close();
    // Renaming keeps the time, and nobody but us knows the temporary file.
    const FileStamp stamp = StampOf(temporary).value_or(FileStamp());
    if (MoveFileExW(longTemporary.c_str(), LongPath(path).c_str(), MOVEFILE_REPLACE_EXISTING) == 0) {
        FailWithLastError(L"Die Datei kann nicht ersetzt werden", path);
    }
    return stamp;
}

FileStamp WriteFileAtomically(const std::wstring& path, std::string_view bytes) {
    return WriteFileAtomically(path, bytes, path + L".tmp");
}

void CopyFileDurably(const std::wstring& source, const std::wstring& target) {
    const std::wstring longTarget = LongPath(target);
    if (CopyFileW(LongPath(source).c_str(), longTarget.c_str(), FALSE) == 0) {
        FailWithLastError(L"Die Datei kann nicht kopiert werden", source);
    }
    SetFileAttributesW(longTarget.c_str(), FILE_ATTRIBUTE_NORMAL);
    const FileHandle copy(CreateFileW(longTarget.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!copy.IsOpen() || FlushFileBuffers(copy.Get()) == 0) {
        FailWithLastError(L"Die Datei kann nicht geschrieben werden", target);
    }
}

void RenameFile(const std::wstring& source, const std::wstring& target) {
    if (MoveFileExW(LongPath(source).c_str(), LongPath(target).c_str(), 0) == 0) {
        FailWithLastError(L"Die Datei kann nicht verschoben werden", source);
    }
}

void RemoveFile(const std::wstring& path) {
    if (DeleteFileW(LongPath(path).c_str()) == 0 && GetLastError() != ERROR_FILE_NOT_FOUND &&
        GetLastError() != ERROR_PATH_NOT_FOUND) {
        FailWithLastError(L"Die Datei kann nicht gelöscht werden", path);
    }
}

void CreateDirectories(const std::wstring& path) {
    if (IsDirectory(path)) {
        return;
    }
    const std::size_t end = path.find_last_of(L"\\/");
    if (end != std::wstring::npos && end > 0 && path[end - 1] != L':') {
        CreateDirectories(path.substr(0, end));
    }
    if (CreateDirectoryW(LongPath(path).c_str(), nullptr) == 0 && GetLastError() != ERROR_ALREADY_EXISTS) {
        FailWithLastError(L"Das Verzeichnis kann nicht erstellt werden", path);
    }
}

std::vector<DirectoryItem> ListDirectory(const std::wstring& path) {
    std::vector<DirectoryItem> items;
    WIN32_FIND_DATAW data{};
    const HANDLE search = FindFirstFileExW((LongPath(path) + L"\\*").c_str(), FindExInfoBasic, &data,
                                           FindExSearchNameMatch, nullptr, 0);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
            return items;
        }
        FailWithLastError(L"Das Verzeichnis kann nicht gelesen werden", path);
    }
    do {
        const std::wstring_view name = data.cFileName;
        if (name != L"." && name != L"..") {
            items.push_back(
                {std::wstring(name), (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, StampIn(data)});
        }
    } while (FindNextFileW(search, &data) != 0);
    FindClose(search);
    return items;
}

std::optional<FileStamp> StampOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return GetFileAttributesExW(LongPath(path).c_str(), GetFileExInfoStandard, &data) != 0
               ? std::optional(StampIn(data))
               : std::nullopt;
}

bool IsFile(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(LongPath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsDirectory(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(LongPath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::wstring ProgramPath() {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length < buffer.size()) {
            return std::wstring(buffer.data(), length);
        }
        buffer.resize(buffer.size() * 2);
    }
}

}  // namespace kandora::simulators
