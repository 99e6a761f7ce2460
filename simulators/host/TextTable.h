#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace kandora::simulators {

/// A table for the screen, its columns as wide as their widest cell; the first row is the head.
class TextTable {
public:
    /// What stands between two columns.
    static constexpr std::size_t gap = 2;

    /// `rightAligned` are the columns, counted from 0, whose cells are aligned to the right.
    TextTable(std::vector<std::wstring> head, std::set<std::size_t> rightAligned)
        : rows_{std::move(head)}, rightAligned_(std::move(rightAligned)) {}

    /// A row has as many cells as the head, or fewer: then the last one takes the rest of the line.
    void Add(std::vector<std::wstring> row) { rows_.push_back(std::move(row)); }

    /// Appends the table's lines, each begun with `indent` and at most `width` columns wide: while the table
    /// is too wide, its widest column shrinks. What is too long for its column ends in "…".
    void RenderTo(std::vector<std::wstring>& lines, const std::wstring& indent, std::size_t width) const;

private:
    [[nodiscard]] std::vector<std::size_t> WidthsWithin(std::size_t room) const;
    std::wstring RenderRow(const std::vector<std::wstring>& row, const std::vector<std::size_t>& widths,
                           std::size_t room) const;

    std::vector<std::vector<std::wstring>> rows_;
    std::set<std::size_t> rightAligned_;
};

}  // namespace kandora::simulators
