#include "automation/WindowsPlatform.h"

#include <windows.h>

#include "automation/Errors.h"

namespace kandora {

namespace {

DWORD AttributesOf(const Text& path) {
    return GetFileAttributesW(path.c_str());
}

void RaiseFileError() {
    throw RuntimeError(NumberOfFileError(GetLastError()));
}

/// Owns the handle of an open file.
class File {
public:
    explicit File(HANDLE handle) : handle_(handle) {}
    ~File() { CloseHandle(handle_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void Write(const std::string& bytes) const {
        DWORD written = 0;
        if (WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == FALSE) {
            RaiseFileError();
        }
        if (written != bytes.size()) {
            throw RuntimeError(errors::diskFull);
        }
    }

private:
    HANDLE handle_;
};

/// Position behind the last separator of folders.
std::size_t StartOfFileName(const Text& path) {
    return path.find_last_of(L"\\/") + 1;
}

}  // namespace

LateBound WindowsPlatform::CreateObject(const Text& progId) {
    return NewObject(progId);
}

bool WindowsPlatform::FileExists(const Text& path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool WindowsPlatform::FolderExists(const Text& path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void WindowsPlatform::GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                              const std::string& file) {
    GetPrivateProfileStringA(section, key, "", buffer.data(), static_cast<DWORD>(buffer.size()),
                             file.c_str());
}

void WindowsPlatform::GetPrivateProfileSection(const char* section, std::span<char> buffer,
                                               const std::string& file) {
    GetPrivateProfileSectionA(section, buffer.data(), static_cast<DWORD>(buffer.size()), file.c_str());
}

bool WindowsPlatform::WritePrivateProfileString(const char* section, const char* key, const char* value,
                                                const std::string& file) {
    return WritePrivateProfileStringA(section, key, value, file.c_str()) != FALSE;
}

void WindowsPlatform::AppendToFile(const Text& path, const std::string& bytes) {
    const HANDLE handle = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        RaiseFileError();
    }
    File(handle).Write(bytes);
}

Text WindowsPlatform::Environment(const wchar_t* name) {
    Text value(64, L'\0');
    for (;;) {
        const DWORD length = GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size()));
        const bool fits = length < value.size();
        value.resize(length);
        if (fits) {
            return value;
        }
    }
}

LocalTime WindowsPlatform::Now() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

void WindowsPlatform::Sleep(std::uint32_t milliseconds) {
    ::Sleep(milliseconds);
}

Text WindowsPlatform::ComponentFile() {
    Text path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(OwnModule(), path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            RaiseFileError();
        }
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

HINSTANCE OwnModule() noexcept {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&OwnModule), &module);
    return module;
}

Text ComponentFolder(Platform& platform) {
    const Text file = platform.ComponentFile();
    const std::size_t name = StartOfFileName(file);
    return name == 0 ? Text() : file.substr(0, name - 1);
}

Text ComponentName(Platform& platform) {
    const Text file = platform.ComponentFile();
    const Text name = file.substr(StartOfFileName(file));
    return name.substr(0, name.find_last_of(L'.'));
}

}  // namespace kandora
