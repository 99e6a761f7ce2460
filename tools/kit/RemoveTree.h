#pragma once

#include <filesystem>
#include <string>

#include <windows.h>

namespace kandora::kit {

/// What long paths need in front of them for the system's functions. The path is absolute.
inline std::wstring LongPathOf(const std::filesystem::path& path) {
    const std::wstring text = std::filesystem::path(path).make_preferred().wstring();
    return text.starts_with(L"\\\\?\\") ? text
           : text.starts_with(L"\\\\")  ? L"\\\\?\\UNC" + text.substr(1)
                                        : L"\\\\?\\" + text;
}

/// Removes a folder with all that is in it: links themselves and not what they point to, protected files too,
/// and however long the paths are, which the library's function is not up to. False when something stays; a
/// folder that is not there is gone.
inline bool RemoveTree(const std::filesystem::path& folder) {
    const std::wstring top = LongPathOf(folder);
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((top + L"\\*").c_str(), &found);
    for (BOOL more = search == INVALID_HANDLE_VALUE ? FALSE : TRUE; more != FALSE;
         more = FindNextFileW(search, &found)) {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..") {
            continue;
        }
        const std::wstring path = top + L"\\" + name;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            DeleteFileW(path.c_str());
        } else if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
            RemoveDirectoryW(path.c_str());
        } else {
            RemoveTree(path);
        }
    }
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
    }
    return RemoveDirectoryW(top.c_str()) != FALSE ||
           GetFileAttributesW(top.c_str()) == INVALID_FILE_ATTRIBUTES;
}

}  // namespace kandora::kit
