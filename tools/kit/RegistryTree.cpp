#include "tools/kit/RegistryTree.h"

#include <array>
#include <memory>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/check/Registry.h"
#include "tools/kit/Plan.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

using check::RegistryKey;
using Json = nlohmann::json;

constexpr std::size_t longestKeyName = 256;
constexpr std::size_t longestValueName = 16384;

bool IsMissing(LSTATUS status) {
    return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND;
}

void Require(LSTATUS status, const wchar_t* what, const RegistryPlace& place) {
    if (status != ERROR_SUCCESS) {
        throw KitFailure(Text(what) + L": " + TextOf(place) + L": " +
                         SystemMessage(static_cast<DWORD>(status)));
    }
}

RegistryPlace Below(const RegistryPlace& place, const Text& name) {
    return {place.root, place.view, place.path + L"\\" + name};
}

std::map<Text, RegistryValue> ValuesOf(HKEY key) {
    std::map<Text, RegistryValue> values;
    const auto name = std::make_unique<std::array<wchar_t, longestValueName>>();
    for (DWORD at = 0;; ++at) {
        auto length = static_cast<DWORD>(name->size());
        DWORD size = 0;
        RegistryValue value;
        if (RegEnumValueW(key, at, name->data(), &length, nullptr, &value.type, nullptr, &size) !=
            ERROR_SUCCESS) {
            return values;
        }
        value.bytes.resize(size);
        length = static_cast<DWORD>(name->size());
        if (RegEnumValueW(key, at, name->data(), &length, nullptr, &value.type, value.bytes.data(), &size) !=
            ERROR_SUCCESS) {
            return values;
        }
        value.bytes.resize(size);
        values.emplace(Text(name->data(), length), std::move(value));
    }
}

std::vector<Text> KeysOf(HKEY key) {
    std::vector<Text> names;
    std::array<wchar_t, longestKeyName> name{};
    for (DWORD at = 0;; ++at) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, at, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name.data(), length);
    }
}

void Remove(const RegistryPlace& place) {
    {
        const RegistryKey key(place.root, place.path, place.view, KEY_READ | KEY_WRITE | DELETE);
        if (IsMissing(key.Outcome())) {
            return;
        }
        Require(key.Outcome(), L"Lässt sich nicht entfernen", place);
        if (const LSTATUS status = RegDeleteTreeW(key.Get(), nullptr); !IsMissing(status)) {
            Require(status, L"Lässt sich nicht entfernen", place);
        }
    }
    // The tree may have gone with its key.
    if (const LSTATUS status = RegDeleteKeyExW(place.root, place.path.c_str(), place.view, 0);
        !IsMissing(status)) {
        Require(status, L"Lässt sich nicht entfernen", place);
    }
}

void Write(const RegistryPlace& place, const RegistryTree& wanted, const RegistryTree& present) {
    HKEY key = nullptr;
    Require(RegCreateKeyExW(place.root, place.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                            KEY_READ | KEY_WRITE | place.view, nullptr, &key, nullptr),
            L"Lässt sich nicht schreiben", place);
    const std::unique_ptr<std::remove_pointer_t<HKEY>, decltype(&RegCloseKey)> closing(key, &RegCloseKey);
    for (const auto& [name, value] : wanted.values) {
        const auto found = present.values.find(name);
        if (found == present.values.end() || found->second != value) {
            Require(RegSetValueExW(key, name.c_str(), 0, value.type, value.bytes.data(),
                                   static_cast<DWORD>(value.bytes.size())),
                    L"Lässt sich nicht schreiben", place);
        }
    }
    for (const auto& [name, value] : present.values) {
        if (!wanted.values.contains(name)) {
            Require(RegDeleteValueW(key, name.c_str()), L"Lässt sich nicht entfernen", place);
        }
    }
    for (const auto& [name, tree] : wanted.keys) {
        const auto found = present.keys.find(name);
        if (found == present.keys.end()) {
            Write(Below(place, name), tree, {});
        } else if (found->second != tree) {
            Write(Below(place, name), tree, found->second);
        }
    }
    for (const auto& [name, tree] : present.keys) {
        if (!wanted.keys.contains(name)) {
            Remove(Below(place, name));
        }
    }
}

Json JsonOfTree(const RegistryTree& tree) {
    Json values = Json::object();
    for (const auto& [name, value] : tree.values) {
        values[Utf8FromText(name)] = {{"type", value.type}, {"bytes", value.bytes}};
    }
    Json keys = Json::object();
    for (const auto& [name, below] : tree.keys) {
        keys[Utf8FromText(name)] = JsonOfTree(below);
    }
    return {{"values", std::move(values)}, {"keys", std::move(keys)}};
}

RegistryTree TreeFrom(const Json& json) {
    RegistryTree tree;
    for (const auto& [name, value] : json.at("values").items()) {
        tree.values[TextFromUtf8(name)] = {value.at("type"),
                                           value.at("bytes").get<std::vector<unsigned char>>()};
    }
    for (const auto& [name, below] : json.at("keys").items()) {
        tree.keys[TextFromUtf8(name)] = TreeFrom(below);
    }
    return tree;
}

}  // namespace

Text TextOf(const RegistryPlace& place) {
    return Text(place.root == HKEY_LOCAL_MACHINE ? L"HKEY_LOCAL_MACHINE\\" : L"HKEY_CURRENT_USER\\") +
           place.path + (place.view == KEY_WOW64_32KEY ? L" (32 Bit)" : L" (64 Bit)");
}

std::optional<RegistryTree> ReadTree(const RegistryPlace& place) {
    RegistryTree tree;
    std::vector<Text> names;
    {
        const RegistryKey key(place.root, place.path, place.view);
        if (IsMissing(key.Outcome())) {
            return std::nullopt;
        }
        Require(key.Outcome(), L"Lässt sich nicht lesen", place);
        tree.values = ValuesOf(key.Get());
        names = KeysOf(key.Get());
    }
    for (const Text& name : names) {
        if (auto below = ReadTree(Below(place, name))) {
            tree.keys.emplace(name, std::move(*below));
        }
    }
    return tree;
}

void RestoreTree(const RegistryPlace& place, const std::optional<RegistryTree>& tree) {
    const auto present = ReadTree(place);
    if (present == tree) {
        return;
    }
    if (tree) {
        Write(place, *tree, present.value_or(RegistryTree()));
    } else {
        Remove(place);
    }
}

void SetText(const RegistryPlace& place, const Text& name, const Text& value) {
    HKEY key = nullptr;
    Require(RegCreateKeyExW(place.root, place.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                            KEY_WRITE | place.view, nullptr, &key, nullptr),
            L"Lässt sich nicht schreiben", place);
    const LSTATUS status =
        RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    Require(status, L"Lässt sich nicht schreiben", place);
}

Json JsonOf(const RegistryPlace& place, const std::optional<RegistryTree>& tree) {
    return {{"root", place.root == HKEY_LOCAL_MACHINE ? "machine" : "user"},
            {"view", place.view == KEY_WOW64_32KEY ? 32 : 64},
            {"path", Utf8FromText(place.path)},
            {"tree", tree ? JsonOfTree(*tree) : Json(nullptr)}};
}

std::pair<RegistryPlace, std::optional<RegistryTree>> SavedTreeFrom(const Json& json) {
    const RegistryPlace place{json.at("root") == "machine" ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                              static_cast<REGSAM>(json.at("view") == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY),
                              TextFromUtf8(json.at("path").get<std::string>())};
    const Json& tree = json.at("tree");
    return {place, tree.is_null() ? std::nullopt : std::optional(TreeFrom(tree))};
}

}  // namespace kandora::kit
