#include "simulators/host/TextTable.h"

#include <algorithm>
#include <numeric>

#include "simulators/host/ScreenText.h"

namespace kandora::simulators {

void TextTable::RenderTo(std::vector<std::wstring>& lines, const std::wstring& indent,
                         std::size_t width) const {
    const std::size_t room = width - indent.size();
    const std::vector<std::size_t> widths = WidthsWithin(room);
    for (std::size_t at = 0; at < rows_.size(); ++at) {
        lines.push_back(indent + RenderRow(rows_[at], widths, room));
        if (at == 0) {
            std::vector<std::wstring> rule;
            for (const std::size_t column : widths) {
                rule.emplace_back(column, L'-');
            }
            lines.push_back(indent + RenderRow(rule, widths, room));
        }
    }
}

std::vector<std::size_t> TextTable::WidthsWithin(std::size_t room) const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        const std::size_t cells = row.size() < widths.size() ? row.size() - 1 : row.size();
        for (std::size_t column = 0; column < cells; ++column) {
            widths[column] = std::max(widths[column], DisplayWidth(row[column]));
        }
    }
    std::size_t total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
    for (; total > room; --total) {
        --*std::ranges::max_element(widths);
    }
    return widths;
}

std::wstring TextTable::RenderRow(const std::vector<std::wstring>& row,
                                  const std::vector<std::size_t>& widths, std::size_t room) const {
    std::wstring line;
    std::size_t used = 0;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const bool takesRest = row.size() < widths.size() && column == row.size() - 1;
        const std::size_t width = takesRest ? room - used : widths[column];
        const std::wstring cell = Shortened(row[column], width);
        const std::wstring padding(width - DisplayWidth(cell), L' ');
        line += rightAligned_.contains(column) ? padding + cell : cell + padding;
        line.append(gap, L' ');
        used += width + gap;
    }
    line.erase(line.find_last_not_of(L' ') + 1);
    return line;
}

}  // namespace kandora::simulators
