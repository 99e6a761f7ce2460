#include "tools/check/FileSystem.h"

#include <array>
#include <vector>

#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

/// Whether the access rights of a local file or folder deny something to the user. Opening it ought to ask
/// them, but on some versions of the platform a folder opens for everybody.
bool IsForbidden(const Text& path, DWORD wanted) {
    constexpr SECURITY_INFORMATION parts =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    if (!IsLocal(path) || GetFileSecurityW(path.c_str(), parts, nullptr, 0, &size) != FALSE || size == 0) {
        return false;
    }
    std::vector<BYTE> descriptor(size);
    Handle process;
    Handle user;
    if (GetFileSecurityW(path.c_str(), parts, descriptor.data(), size, &size) == FALSE ||
        OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, process.Receive()) == FALSE ||
        DuplicateToken(process.Get(), SecurityImpersonation, user.Receive()) == FALSE) {
        return false;
    }
    GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    PRIVILEGE_SET privileges{};
    DWORD privilegesSize = sizeof(privileges);
    DWORD granted = 0;
    BOOL allowed = TRUE;
    return AccessCheck(descriptor.data(), user.Get(), wanted, &mapping, &privileges, &privilegesSize,
                       &granted, &allowed) != FALSE &&
           allowed == FALSE;
}

}  // namespace

ReadableFile::ReadableFile(const Text& path)
    : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, 0, nullptr)) {}

bool ReadableFile::ReadAt(LONG offset, void* buffer, DWORD size) const {
    DWORD read = 0;
    return handle_ &&
           SetFilePointer(handle_.Get(), offset, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           ReadFile(handle_.Get(), buffer, size, &read, nullptr) != FALSE && read == size;
}

std::string ReadableFile::All() const {
    std::string bytes;
    std::array<char, 4096> part{};
    DWORD read = 0;
    while (handle_ &&
           ReadFile(handle_.Get(), part.data(), static_cast<DWORD>(part.size()), &read, nullptr) != FALSE &&
           read > 0) {
        bytes.append(part.data(), read);
    }
    return bytes;
}

bool IsLocal(const Text& path) {
    std::array<wchar_t, MAX_PATH> root{};
    return GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size())) != FALSE &&
           GetDriveTypeW(root.data()) != DRIVE_REMOTE;
}

bool FileExists(const Text& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderExists(const Text& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool MayCreateFiles(const Text& folder) {
    const Handle opened(CreateFileW(folder.c_str(), FILE_ADD_FILE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return opened && !IsForbidden(folder, FILE_ADD_FILE);
}

Text ParentFolder(const Text& path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == Text::npos ? Text() : path.substr(0, separator);
}

Text FileName(const Text& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

Text FullPath(const Text& path) {
    Text full(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        const bool fits = length < full.size();
        full.resize(length);
        if (fits) {
            return full.empty() ? path : full;
        }
    }
}

bool SameFile(const Text& left, const Text& right) {
    const auto longForm = [](const Text& path) {
        Text full = FullPath(path);
        Text whole(full.size() + MAX_PATH, L'\0');
        const DWORD length = GetLongPathNameW(full.c_str(), whole.data(), static_cast<DWORD>(whole.size()));
        if (length == 0 || length >= whole.size()) {
            return full;
        }
        whole.resize(length);
        return whole;
    };
    return EqualIgnoringCase(longForm(left), longForm(right));
}

std::string BytesOf(const Text& path) {
    return ReadableFile(path).All();
}

}  // namespace kandora::check
