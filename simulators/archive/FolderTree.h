#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "simulators/archive/StoreContents.h"

namespace kandora::simulators {

/// The levels of a path whose every level follows a separator; nothing for a path that is not one.
std::optional<std::vector<std::wstring>> LevelsOf(std::wstring_view path, std::wstring_view separator);

/// The store's folders, with what the store knows of their directories.
class FolderTree {
public:
    /// `root` is the directory of the root folder.
    explicit FolderTree(std::wstring root) : root_(std::move(root)) {}

    /// Null when there is none. The pointer holds until the folder goes.
    [[nodiscard]] const Folder* Find(std::int32_t id) const noexcept;
    [[nodiscard]] Folder& At(std::int32_t id) { return folders_.at(id); }
    [[nodiscard]] const Folder& At(std::int32_t id) const { return folders_.at(id); }
    [[nodiscard]] FolderOnDisk& OnDisk(std::int32_t id) { return onDisk_.at(id); }
    [[nodiscard]] const FolderOnDisk& OnDisk(std::int32_t id) const { return onDisk_.at(id); }
    /// All of them by id, in no particular order.
    [[nodiscard]] const std::unordered_map<std::int32_t, Folder>& All() const noexcept { return folders_; }
    /// Without the root.
    [[nodiscard]] std::size_t Count() const noexcept { return folders_.size() - 1; }

    /// The folder of this name, letter case apart; 0 when there is none.
    [[nodiscard]] std::int32_t ChildOf(std::int32_t folder, std::wstring_view name) const;
    /// The folder's directory.
    [[nodiscard]] std::wstring PathOf(std::int32_t id) const;
    /// Puts the names of the folder and of those above it in front of the path, without the root.
    void Prepend(std::int32_t id, std::wstring_view separator, std::wstring& path) const;

    /// The root first, and every other one after its parent.
    void Add(Folder folder, const FolderOnDisk& onDisk);
    /// The folder must be empty.
    void Remove(std::int32_t id);
    void Clear();

private:
    std::wstring root_;
    std::unordered_map<std::int32_t, Folder> folders_;
    std::unordered_map<std::int32_t, FolderOnDisk> onDisk_;
    std::unordered_map<std::wstring, std::int32_t> byName_;  ///< by parent's id and folded name
};

}  // namespace kandora::simulators
