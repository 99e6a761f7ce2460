#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace simulators {

// A table for the screen, its columns as wide as their widest cell; the first row is the head.
class TextTable {
public:
    // `rightAligned` are the columns, counted from 0, whose cells stand at the right.
    TextTable(std::vector<std::wstring> head, std::set<std::size_t> rightAligned)
        : rows_{std::move(head)}, rightAligned_(std::move(rightAligned)) {}

    // A row has as many cells as the head.
    void Add(std::vector<std::wstring> row) { rows_.push_back(std::move(row)); }

    // Appends the table's lines, each begun with `indent`.
    void RenderTo(std::vector<std::wstring>& lines, const std::wstring& indent) const;

private:
    std::wstring RenderRow(const std::vector<std::wstring>& row,
                           const std::vector<std::size_t>& widths) const;

    std::vector<std::vector<std::wstring>> rows_;
    std::set<std::size_t> rightAligned_;
};

// The text on one line of `most` units at most: line breaks become blanks, what is too long ends in "…".
std::wstring Shortened(std::wstring text, std::size_t most);

}  // namespace simulators
