#include "tools/check/UserAccess.h"

#include <algorithm>

#include "tools/check/FileSystem.h"
#include "tools/check/SecurityNames.h"

namespace kandora::check {

UserAccess AccessBy(const AccessList& list, const Sids& who, Permission permission) {
    if (permission(who, list)) {
        return {Permitted::All, {}};
    }
    std::vector<Text> named = NamedOnes(permission, who, list);
    if (named.empty()) {
        return {Permitted::None, {}};
    }
    std::ranges::transform(named, named.begin(), &NameOfSid);
    return {Permitted::Named, Joined(named, L", ")};
}

ComponentUsers::ComponentUsers(const OwnRights& rights, bool forOneUser)
    : asOneOfThem_(!rights.isElevated), who_(asOneOfThem_ ? rights.groups
                                             : forOneUser ? WithoutElevation(rights)
                                                          : OrdinaryUser(rights)) {}

UserAccess ComponentUsers::WritingIn(const Text& folder) const {
    if (asOneOfThem_ && !MayCreateFiles(folder)) {
        return {Permitted::None, {}};
    }
    return To(&MayWriteIn, folder);
}

const wchar_t* ComponentUsers::Whom() const noexcept {
    return asOneOfThem_ ? L"" : L" für Benutzer ohne Administratorrechte";
}

UserAccess ComponentUsers::To(Permission permission, const Text& path) const {
    const auto list = IsLocal(path) ? AccessListOf(path) : std::nullopt;
    if (!list) {
        // One of them has come so far.
        return {asOneOfThem_ ? Permitted::All : Permitted::Unknown, {}};
    }
    const UserAccess access = AccessBy(*list, who_, permission);
    return asOneOfThem_ && access.permitted == Permitted::Named ? UserAccess{Permitted::None, {}} : access;
}

}  // namespace kandora::check
