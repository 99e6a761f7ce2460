#include "simulators/archive/FolderPane.h"

#include <algorithm>
#include <utility>

#include "simulators/archive/FolderIcons.h"

namespace kandora::simulators {

void FolderPane::Create(HWND parent, int id) {
    tree_ = CreateControl(parent, id, WC_TREEVIEWW, L"Ordner",
                          WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                          WS_EX_CLIENTEDGE);
}

void FolderPane::Fit(const Resolution& resolution) {
    TreeView_SetItemHeight(tree_, static_cast<SHORT>(resolution.Pixels(22)));
}

void FolderPane::ShowIcons(const Resolution& resolution) {
    ImageList icons = FolderIcons(resolution.Pixels(16));
    TreeView_SetImageList(tree_, icons.get(), TVSIL_NORMAL);
    icons_ = std::move(icons);
}

void FolderPane::GiveText(const TVITEMW& item) const {
    if ((item.mask & TVIF_TEXT) != 0) {
        CopyToBuffer(TextOf(static_cast<std::int32_t>(item.lParam)), item.pszText, item.cchTextMax);
    }
}

std::wstring FolderPane::TextOf(std::int32_t folder) const {
    const Folder* found = store_.FindFolder(folder);
    if (found == nullptr) {
        return {};
    }
    if (folder == rootId) {
        return store_.Settings().archives.front();
    }
    return found->entries.empty() ? found->name
                                  : found->name + L"  (" + std::to_wstring(found->entries.size()) + L")";
}

HTREEITEM FolderPane::AddItem(std::int32_t folder, HTREEITEM parent, HTREEITEM after) {
    TVINSERTSTRUCTW insert{};
    insert.hParent = parent;
    insert.hInsertAfter = after;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
    insert.item.pszText = LPSTR_TEXTCALLBACKW;
    insert.item.lParam = folder;
    insert.item.iImage = closedFolderIcon;
    insert.item.iSelectedImage = openFolderIcon;
    auto* const item = TreeView_InsertItem(tree_, &insert);
    items_[folder] = item;
    for (const std::int32_t child : store_.FindFolder(folder)->children) {
        AddItem(child, item, TVI_LAST);
    }
    return item;
}

void FolderPane::Fill() {
    HTREEITEM root = nullptr;
    {
        const PaintingPaused paused(tree_);
        root = AddItem(rootId, TVI_ROOT, TVI_LAST);
        TreeView_Expand(tree_, root, TVE_EXPAND);
    }
    // Whoever opens the window wants to see entries.
    const auto first = std::ranges::find_if(
        items_, [this](const auto& item) { return !store_.FindFolder(item.first)->entries.empty(); });
    TreeView_SelectItem(tree_, first == items_.end() ? root : first->second);
}

void FolderPane::AddMissingItem(std::int32_t folder) {
    const Folder* found = store_.FindFolder(folder);
    if (found == nullptr || items_.contains(folder)) {
        return;
    }
    AddMissingItem(found->parent);
    if (items_.contains(folder)) {
        return;  // came along with its parent
    }
    const auto& siblings = store_.FindFolder(found->parent)->children;
    HTREEITEM after = TVI_FIRST;
    for (const std::int32_t sibling : siblings) {
        if (sibling == folder) {
            break;
        }
        if (const auto item = items_.find(sibling); item != items_.end()) {
            after = item->second;
        }
    }
    const HTREEITEM parent = items_.at(found->parent);
    AddItem(folder, parent, after);
    if (found->parent == rootId) {
        TreeView_Expand(tree_, parent, TVE_EXPAND);
    }
}

bool FolderPane::Select(std::int32_t folder) {
    const auto item = items_.find(folder);
    if (item == items_.end()) {
        return false;
    }
    TreeView_SelectItem(tree_, item->second);
    TreeView_EnsureVisible(tree_, item->second);
    return true;
}

void FolderPane::NoteRemoved(std::int32_t folder) {
    added_.erase(folder);
    removed_.insert(folder);
}

void FolderPane::ShowChanges() {
    for (const std::int32_t folder : std::exchange(removed_, {})) {
        if (const auto item = items_.find(folder); item != items_.end()) {
            TreeView_DeleteItem(tree_, item->second);
            items_.erase(item);
        }
    }
    for (const std::int32_t folder : std::exchange(added_, {})) {
        AddMissingItem(folder);
    }
    InvalidateRect(tree_, nullptr, FALSE);
}

}  // namespace kandora::simulators
