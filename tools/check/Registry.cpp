#include "tools/check/Registry.h"

#include <algorithm>
#include <array>

namespace kandora::check {

std::optional<Text> RegistryText(HKEY root, const Text& path, const wchar_t* name, REGSAM view) {
    const RegistryKey key(root, path, view);
    if (!key) {
        return std::nullopt;
    }
    DWORD size = 0;
    constexpr DWORD kinds = RRF_RT_REG_SZ;  // takes texts with environment variables too, and puts them in
    if (RegGetValueW(key.Get(), nullptr, name, kinds, nullptr, nullptr, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    Text value(size / sizeof(wchar_t) + 1, L'\0');
    size = static_cast<DWORD>(value.size() * sizeof(wchar_t));
    if (RegGetValueW(key.Get(), nullptr, name, kinds, nullptr, value.data(), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.resize(std::min(value.find(L'\0'), value.size()));
    return value;
}

std::optional<DWORD> RegistryNumber(HKEY root, const Text& path, const wchar_t* name, REGSAM view) {
    const RegistryKey key(root, path, view);
    DWORD value = 0;
    DWORD size = sizeof(value);
    if (!key ||
        RegGetValueW(key.Get(), nullptr, name, RRF_RT_REG_DWORD, nullptr, &value, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return value;
}

bool RegistryKeyExists(HKEY root, const Text& path, REGSAM view) {
    return static_cast<bool>(RegistryKey(root, path, view));
}

std::vector<Text> RegistryKeys(HKEY root, const Text& path, REGSAM view) {
    std::vector<Text> names;
    const RegistryKey key(root, path, view);
    if (!key) {
        return names;
    }
    std::array<wchar_t, 256> name{};
    for (DWORD place = 0;; ++place) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key.Get(), place, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name.data(), length);
    }
}

}  // namespace kandora::check
