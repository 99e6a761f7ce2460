#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include "automation/Text.h"

namespace kandora::check {

#ifdef _WIN64
inline constexpr REGSAM ownView = KEY_WOW64_64KEY;
inline constexpr REGSAM otherView = KEY_WOW64_32KEY;
#else
inline constexpr REGSAM ownView = KEY_WOW64_32KEY;
inline constexpr REGSAM otherView = KEY_WOW64_64KEY;
#endif

/// Where the machine's and each user's classes stand.
inline constexpr const wchar_t* classesPath = L"Software\\Classes\\";

/// An opened key, which is closed again; empty when it cannot be opened.
class RegistryKey {
public:
    /// `view` chooses the registry of 32-bit or of 64-bit programs.
    RegistryKey(HKEY root, const Text& path, REGSAM view, REGSAM access = KEY_READ)
        : outcome_(RegOpenKeyExW(root, path.c_str(), 0, access | view, &key_)) {}
    ~RegistryKey() {
        if (*this) {
            RegCloseKey(key_);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    explicit operator bool() const noexcept { return outcome_ == ERROR_SUCCESS; }
    /// How opening it went.
    [[nodiscard]] LSTATUS Outcome() const noexcept { return outcome_; }
    [[nodiscard]] HKEY Get() const noexcept { return key_; }

private:
    HKEY key_ = nullptr;
    LSTATUS outcome_;
};

/// A text value (the default value when `name` is null) with its environment variables put in; none when
/// there is no such value.
std::optional<Text> RegistryText(HKEY root, const Text& path, const wchar_t* name, REGSAM view);
/// A number; none when there is no such value.
std::optional<DWORD> RegistryNumber(HKEY root, const Text& path, const wchar_t* name, REGSAM view);
bool RegistryKeyExists(HKEY root, const Text& path, REGSAM view);
/// Names of the keys directly below.
std::vector<Text> RegistryKeys(HKEY root, const Text& path, REGSAM view);

}  // namespace kandora::check
