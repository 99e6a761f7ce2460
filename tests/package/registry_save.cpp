// Lets the system save everything below a key of the registry: registry_save FILE KEY, the key with
// HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER in front. Wine saves as text, at once; an export asks for every
// value and takes seconds.

#include <windows.h>

#include <cstdio>
#include <string_view>

namespace {

/// Switches on the privilege that saving keys needs; false when it cannot.
bool MaySaveKeys() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token)) {
        return false;
    }
    TOKEN_PRIVILEGES rights{};
    rights.PrivilegeCount = 1;
    rights.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    const bool may = LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &rights.Privileges[0].Luid) != FALSE &&
                     AdjustTokenPrivileges(token, FALSE, &rights, 0, nullptr, nullptr) != FALSE;
    CloseHandle(token);
    return may;
}

LSTATUS Save(std::wstring_view path, const wchar_t* file) {
    const HKEY root = path.starts_with(L"HKEY_LOCAL_MACHINE\\") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    HKEY key = nullptr;
    // Both views of a 64-bit registry lie in the 64-bit one.
    LSTATUS status =
        RegOpenKeyExW(root, path.data() + path.find(L'\\') + 1, 0, KEY_READ | KEY_WOW64_64KEY, &key);
    if (status == ERROR_SUCCESS) {
        status = RegSaveKeyW(key, file, nullptr);
        RegCloseKey(key);
    }
    return status;
}

}  // namespace

// NOLINTNEXTLINE(misc-use-internal-linkage): where the program begins
int wmain(int count, wchar_t** arguments) {
    if (count != 3 || !MaySaveKeys()) {
        return 1;
    }
    const LSTATUS status = Save(arguments[2], arguments[1]);
    if (status != ERROR_SUCCESS) {
        std::fprintf(stderr, "error %ld\n", status);
    }
    return status == ERROR_SUCCESS ? 0 : 1;
}
