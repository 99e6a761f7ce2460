#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

/// Lists of numbers in ascending order.
namespace kandora::simulators {

/// New ids are the highest, so this nearly always appends.
inline void InsertSorted(std::vector<std::int32_t>& ids, std::int32_t id) {
    ids.insert(std::ranges::upper_bound(ids, id), id);
}

inline void EraseSorted(std::vector<std::int32_t>& ids, std::int32_t id) {
    const auto found = std::ranges::lower_bound(ids, id);
    if (found != ids.end() && *found == id) {
        ids.erase(found);
    }
}

}  // namespace kandora::simulators
