#include "simulators/common/files.h"

#include "simulators/common/text.h"

#include <windows.h>

#include <vector>

namespace simulators {

namespace {

class FileHandle {
public:
    explicit FileHandle(HANDLE handle) noexcept : handle_(handle) {}
    ~FileHandle() { Close(); }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    bool IsOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return handle_; }
    void Close() noexcept {
        if (IsOpen()) {
            CloseHandle(handle_);
            handle_ = INVALID_HANDLE_VALUE;
        }
    }

private:
    HANDLE handle_;
};

[[noreturn]] void FailWithLastError(std::wstring_view what, const std::wstring& path) {
    const DWORD error = GetLastError();
    throw Failure(std::wstring(what) + L": " + path + L": " + SystemMessage(error));
}

} // namespace

std::wstring LongPath(std::wstring_view path) {
    const std::wstring given(path);
    if (given.starts_with(L"\\\\?\\")) {
        return given;
    }
    const DWORD needed = GetFullPathNameW(given.c_str(), 0, nullptr, nullptr);
    std::vector<wchar_t> buffer(static_cast<std::size_t>(needed) + 1);
    const DWORD length = GetFullPathNameW(given.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
    const std::wstring full(buffer.data(), length);
    if (full.starts_with(L"\\\\")) {
        return L"\\\\?\\UNC\\" + full.substr(2);
    }
    return L"\\\\?\\" + full;
}

std::string ReadWholeFile(const std::wstring& path) {
    FileHandle file(CreateFileW(LongPath(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
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

void WriteFileAtomically(const std::wstring& path, std::string_view bytes, const std::wstring& temporary) {
    const std::wstring longTemporary = LongPath(temporary);
    FileHandle file(CreateFileW(longTemporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                nullptr));
    if (!file.IsOpen()) {
        FailWithLastError(L"Die Datei kann nicht geschrieben werden", temporary);
    }
    DWORD written = 0;
    if (WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == 0 ||
        written != bytes.size() || FlushFileBuffers(file.Get()) == 0) {
        FailWithLastError(L"Die Datei kann nicht geschrieben werden", temporary);
    }
    file.Close();
    if (MoveFileExW(longTemporary.c_str(), LongPath(path).c_str(), MOVEFILE_REPLACE_EXISTING) == 0) {
        FailWithLastError(L"Die Datei kann nicht ersetzt werden", path);
    }
}

void WriteFileAtomically(const std::wstring& path, std::string_view bytes) {
    WriteFileAtomically(path, bytes, path + L".tmp");
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

} // namespace simulators
