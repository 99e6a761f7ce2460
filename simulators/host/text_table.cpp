#include "text_table.h"

#include <algorithm>

namespace simulators {

void TextTable::RenderTo(std::vector<std::wstring>& lines, const std::wstring& indent) const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (std::size_t at = 0; at < rows_.size(); ++at) {
        lines.push_back(indent + RenderRow(rows_[at], widths));
        if (at == 0) {
            std::vector<std::wstring> rule;
            for (const std::size_t width : widths) {
                rule.emplace_back(width, L'-');
            }
            lines.push_back(indent + RenderRow(rule, widths));
        }
    }
}

std::wstring TextTable::RenderRow(const std::vector<std::wstring>& row,
                                  const std::vector<std::size_t>& widths) const {
    std::wstring line;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        const std::wstring padding(widths[column] - row[column].size(), L' ');
        line += (column == 0 ? L"" : L"  ");
        line += rightAligned_.contains(column) ? padding + row[column] : row[column] + padding;
    }
    line.erase(line.find_last_not_of(L' ') + 1);
    return line;
}

std::wstring Shortened(std::wstring text, std::size_t most) {
    std::replace_if(
        text.begin(), text.end(), [](wchar_t unit) { return unit < L' '; }, L' ');
    if (text.size() > most) {
        text.resize(most - 1);
        text += L"…";
    }
    return text;
}

}  // namespace simulators
