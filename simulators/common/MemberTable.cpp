#include "simulators/common/MemberTable.h"

#include "simulators/common/Unicode.h"

namespace kandora::simulators {

void MemberTable::Add(Member member) {
    const auto id = static_cast<DISPID>(members_.size() + 1);
    idByFoldedName_[FoldCase(member.name)] = id;
    members_.push_back(std::move(member));
}

DISPID MemberTable::IdOf(std::wstring_view name) const {
    const auto found = idByFoldedName_.find(FoldCase(name));
    return found == idByFoldedName_.end() ? DISPID_UNKNOWN : found->second;
}

const MemberTable::Member* MemberTable::Find(DISPID id) const noexcept {
    if (id < 1 || static_cast<std::size_t>(id) > members_.size()) {
        return nullptr;
    }
    return &members_[static_cast<std::size_t>(id) - 1];
}

}  // namespace kandora::simulators
