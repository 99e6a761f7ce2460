#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "simulators/archive/Controls.h"
#include "simulators/archive/Resolution.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

/// The tree of the archive's folders, with the number of entries in each.
class FolderPane {
public:
    /// `store` must outlive it.
    explicit FolderPane(const ArchiveStore& store) : store_(store) {}

    void Create(HWND parent, int id);
    [[nodiscard]] HWND Handle() const noexcept { return tree_; }
    void Fit(const Resolution& resolution);
    /// Shows pictures of folders. Slow: the shell has to be asked for them.
    void ShowIcons(const Resolution& resolution);

    /// Shows all folders and selects the first one that holds entries.
    void Fill();
    /// Answers the tree's question for the text of an item.
    void GiveText(const TVITEMW& item) const;
    /// Selects the folder and brings it into view; false when it is not shown.
    bool Select(std::int32_t folder);

    /// What changes in the store is gathered until it is shown.
    void NoteAdded(std::int32_t folder) { added_.insert(folder); }
    void NoteRemoved(std::int32_t folder);
    void ShowChanges();

private:
    HTREEITEM AddItem(std::int32_t folder, HTREEITEM parent, HTREEITEM after);
    void AddMissingItem(std::int32_t folder);
    [[nodiscard]] std::wstring TextOf(std::int32_t folder) const;

    const ArchiveStore& store_;
    HWND tree_ = nullptr;
    ImageList icons_;
    std::map<std::int32_t, HTREEITEM> items_;
    std::set<std::int32_t> added_;
    std::set<std::int32_t> removed_;
};

}  // namespace kandora::simulators
