#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "simulators/archive/EntryTable.h"
#include "simulators/archive/ListPane.h"

namespace kandora::simulators {

/// The list of one folder's entries. It asks only for the texts of rows that are in sight.
class EntryPane final : public ListPane {
public:
    /// `store` must outlive it.
    explicit EntryPane(const ArchiveStore& store) : table_(store) {}

    void Create(HWND parent, int id);

    [[nodiscard]] std::int32_t FolderId() const noexcept { return table_.FolderId(); }
    /// Shows another folder from its first entry on; none is selected.
    void Show(std::int32_t folder);
    /// Shows what has changed in the store. The selected entry stays so.
    void ShowChanges();
    /// Sorts by this column, in reverse when it is already sorted by it.
    void SortBy(std::size_t column);
    /// Does nothing when the folder has no such entry.
    void Select(std::int32_t id);
    /// The selected entry; nothing when none is.
    [[nodiscard]] std::optional<std::int32_t> SelectedId() const;

    /// Answers the list's question for the text of a cell.
    void GiveText(const LVITEMW& item) const;
    /// Answers the list's question for the row that begins with what the user types.
    [[nodiscard]] LRESULT Find(const NMLVFINDITEMW& wanted) const;

private:
    void ShowColumns() override;
    void ShowSortArrow();
    void ShowRows();
    void SelectRow(std::size_t row);
    void SelectNone();
    [[nodiscard]] std::optional<std::size_t> SelectedRow() const;

    EntryTable table_;
};

}  // namespace kandora::simulators
