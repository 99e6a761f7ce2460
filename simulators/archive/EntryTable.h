#pragma once

#include <utility>

#include "simulators/archive/Store.h"

/// What the window shows of a folder and of an entry, as rows and texts.
namespace kandora::simulators {

/// The entries of one folder in rows, their index fields in columns. Columns of the same name in different
/// masks are one column.
class EntryTable {
public:
    enum FixedColumn : std::size_t { Number, ShortName, MaskName, Filed, FirstField };

    /// `store` must outlive the table.
    explicit EntryTable(const ArchiveStore& store) : store_(store) {}

    /// Shows another folder, sorted by number again. An unknown folder gives an empty table.
    void Show(std::int32_t folder);
    /// Takes over what has changed in the store; true when the columns differ from before.
    bool Refresh();
    /// Sorts by a column; digits within texts count as numbers.
    void SortBy(std::size_t column, bool descending);

    [[nodiscard]] std::int32_t FolderId() const noexcept { return folder_; }
    [[nodiscard]] std::size_t SortColumn() const noexcept { return sortColumn_; }
    [[nodiscard]] bool IsDescending() const noexcept { return descending_; }
    [[nodiscard]] const std::vector<std::wstring>& Columns() const noexcept { return columns_; }
    [[nodiscard]] std::size_t RowCount() const noexcept { return rows_.size(); }
    [[nodiscard]] std::int32_t IdAt(std::size_t row) const { return rows_.at(row); }
    [[nodiscard]] std::optional<std::size_t> RowOf(std::int32_t id) const;
    /// Empty when the entry has gone meanwhile.
    [[nodiscard]] std::wstring Cell(std::size_t row, std::size_t column) const;
    /// The first row from `start` on, going round, whose short name begins with the text; letter case does
    /// not count.
    [[nodiscard]] std::optional<std::size_t> FindShortName(std::wstring_view beginning,
                                                           std::size_t start) const;

private:
    [[nodiscard]] std::wstring CellOf(const Entry& entry, std::size_t column) const;
    void Sort();

    const ArchiveStore& store_;
    std::int32_t folder_ = 0;
    std::vector<std::wstring> columns_;
    std::map<std::int32_t, std::vector<std::int16_t>>
        linesOfMask_;  ///< per field column, 0 where the mask has none
    std::vector<std::int32_t> rows_;
    std::size_t sortColumn_ = Number;
    bool descending_ = false;
};

using Details = std::vector<std::pair<std::wstring, std::wstring>>;

/// Names and values of everything that is known about an entry or a folder; nothing for an unknown id.
Details Describe(const ArchiveStore& store, std::int32_t id);

/// "2026-11-20T10:11:12" as "20.11.2026 10:11"; other texts unchanged.
std::wstring ReadableTime(const std::wstring& stamp);

}  // namespace kandora::simulators
