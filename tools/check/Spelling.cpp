#include "tools/check/Spelling.h"

#include <algorithm>
#include <vector>

#include <windows.h>

namespace kandora::check {

bool EqualIgnoringCase(TextView left, TextView right) {
    return left.size() == right.size() &&
           (left.empty() || CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                                 static_cast<int>(right.size()), TRUE) == CSTR_EQUAL);
}

std::size_t EditDistance(TextView left, TextView right) {
    const Text from = LowerCase(Text(left));
    const Text to = LowerCase(Text(right));
    const std::size_t width = to.size() + 1;
    std::vector<std::size_t> table((from.size() + 1) * width);
    const auto at = [&](std::size_t row, std::size_t column) -> std::size_t& {
        return table[row * width + column];
    };
    for (std::size_t row = 0; row <= from.size(); ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            if (row == 0 || column == 0) {
                at(row, column) = row + column;
                continue;
            }
            const std::size_t replaced = at(row - 1, column - 1) + (from[row - 1] == to[column - 1] ? 0 : 1);
            at(row, column) = std::min({at(row - 1, column) + 1, at(row, column - 1) + 1, replaced});
            if (row > 1 && column > 1 && from[row - 1] == to[column - 2] && from[row - 2] == to[column - 1]) {
                at(row, column) = std::min(at(row, column), at(row - 2, column - 2) + 1);
            }
        }
    }
    return table.back();
}

}  // namespace kandora::check
