#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include <nlohmann/json.hpp>

#include "automation/Text.h"

namespace kandora::kit {

/// Where in the registry something is.
struct RegistryPlace {
    HKEY root = HKEY_CURRENT_USER;  ///< that, or HKEY_LOCAL_MACHINE
    REGSAM view = 0;                ///< KEY_WOW64_32KEY or KEY_WOW64_64KEY
    Text path;

    bool operator==(const RegistryPlace&) const = default;
};

/// The place as a reader knows it.
Text TextOf(const RegistryPlace& place);

struct RegistryValue {
    DWORD type = REG_NONE;
    std::vector<unsigned char> bytes;

    bool operator==(const RegistryValue&) const = default;
};

/// A key with everything in it.
struct RegistryTree {
    std::map<Text, RegistryValue> values;
    std::map<Text, RegistryTree> keys;

    bool operator==(const RegistryTree&) const = default;
};

/// None when there is no such key. Throws KitFailure when there is one that cannot be read.
std::optional<RegistryTree> ReadTree(const RegistryPlace& place);
/// Makes the key what it was, or takes it away; touches nothing that is so already. Throws KitFailure.
void RestoreTree(const RegistryPlace& place, const std::optional<RegistryTree>& tree);
/// Sets a text. Throws KitFailure.
void SetText(const RegistryPlace& place, const Text& name, const Text& value);

nlohmann::json JsonOf(const RegistryPlace& place, const std::optional<RegistryTree>& tree);
/// The other way round.
std::pair<RegistryPlace, std::optional<RegistryTree>> SavedTreeFrom(const nlohmann::json& json);

}  // namespace kandora::kit
