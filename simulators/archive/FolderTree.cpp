#include "simulators/archive/FolderTree.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

std::wstring KeyOf(std::int32_t parent, std::wstring_view name) {
    return std::to_wstring(parent) + L"/" + FoldCase(name);
}

}  // namespace

std::optional<std::vector<std::wstring>> LevelsOf(std::wstring_view path, std::wstring_view separator) {
    std::vector<std::wstring> levels;
    while (!path.empty()) {
        if (!path.starts_with(separator)) {
            return std::nullopt;
        }
        path.remove_prefix(separator.size());
        const std::size_t end = std::min(path.find(separator), path.size());
        if (end == 0) {
            return std::nullopt;
        }
        levels.emplace_back(path.substr(0, end));
        path.remove_prefix(end);
    }
    return levels.empty() ? std::nullopt : std::optional(std::move(levels));
}

const Folder* FolderTree::Find(std::int32_t id) const noexcept {
    const auto found = folders_.find(id);
    return found == folders_.end() ? nullptr : &found->second;
}

std::int32_t FolderTree::ChildOf(std::int32_t folder, std::wstring_view name) const {
    const auto found = byName_.find(KeyOf(folder, name));
    return found == byName_.end() ? 0 : found->second;
}

std::wstring FolderTree::PathOf(std::int32_t id) const {
    std::wstring path;
    for (const Folder* folder = Find(id); folder != nullptr && folder->id != rootId;
         folder = Find(folder->parent)) {
        path = L"\\" + folder->directory + path;
    }
    return root_ + path;
}

void FolderTree::Prepend(std::int32_t id, std::wstring_view separator, std::wstring& path) const {
    for (const Folder* folder = Find(id); folder != nullptr && folder->id != rootId;
         folder = Find(folder->parent)) {
        path = std::wstring(separator) + folder->name + path;
    }
}

void FolderTree::Add(Folder folder, const FolderOnDisk& onDisk) {
    const std::int32_t id = folder.id;
    onDisk_[id] = onDisk;
    if (id != rootId) {
        const auto comesBefore = [this](std::int32_t sibling, const std::wstring& name) {
            const std::wstring& other = folders_.at(sibling).name;
            return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, other.c_str(),
                                  static_cast<int>(other.size()), name.c_str(),
                                  static_cast<int>(name.size())) != CSTR_GREATER_THAN;
        };
        auto& siblings = folders_.at(folder.parent).children;
        siblings.insert(std::lower_bound(siblings.begin(), siblings.end(), folder.name, comesBefore), id);
        byName_[KeyOf(folder.parent, folder.name)] = id;
    }
    folders_.emplace(id, std::move(folder));
}

void FolderTree::Remove(std::int32_t id) {
    const Folder& folder = folders_.at(id);
    auto& siblings = folders_.at(folder.parent).children;
    siblings.erase(std::ranges::find(siblings, id));
    byName_.erase(KeyOf(folder.parent, folder.name));
    folders_.erase(id);
    onDisk_.erase(id);
}

void FolderTree::Clear() {
    folders_.clear();
    onDisk_.clear();
    byName_.clear();
}

}  // namespace kandora::simulators
