#pragma once

#include "tools/check/OwnRights.h"

namespace kandora::check {

/// Who of those that work with the component may do something with a file or folder.
enum class Permitted {
    All,
    Named,  ///< only some users and groups that its access list names
    None,
    Unknown,  ///< its access list cannot be read, or only another computer knows who is meant
};

struct UserAccess {
    Permitted permitted = Permitted::Unknown;
    Text named;  ///< the names, for a reader
};

/// As the list tells it. `who` is what all those are that are meant.
UserAccess AccessBy(const AccessList& list, const Sids& who, Permission permission);

/// The users whose programs load the component.
class ComponentUsers {
public:
    /// Everybody who logs on here, or this user alone when the component is registered `forOneUser`. Who runs
    /// without an administrator's rights is taken for one of them, and answers for all.
    ComponentUsers(const OwnRights& rights, bool forOneUser);

    [[nodiscard]] UserAccess Reading(const Text& file) const { return To(&MayRead, file); }
    [[nodiscard]] UserAccess Loading(const Text& file) const { return To(&MayLoad, file); }
    [[nodiscard]] UserAccess WritingIn(const Text& folder) const;

    /// " für Benutzer ohne Administratorrechte" where this program has more rights than those who are meant.
    [[nodiscard]] const wchar_t* Whom() const noexcept;

private:
    [[nodiscard]] UserAccess To(Permission permission, const Text& path) const;

    bool asOneOfThem_;
    Sids who_;
};

}  // namespace kandora::check
