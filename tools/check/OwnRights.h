#pragma once

#include "automation/Text.h"
#include "tools/check/AccessList.h"

namespace kandora::check {

/// With which rights this program runs, and how that differs from what the user's other programs see.
struct OwnRights {
    Text user;  ///< "PC01\\user01"
    Text sid;
    Sids groups;                      ///< the user and all groups that count
    bool isAdministrator = false;     ///< a member, even where the membership is put to sleep
    bool isElevated = false;          ///< with an administrator's rights
    bool isSplit = false;             ///< the user's other programs run without these rights
    bool ignoresUserClasses = false;  ///< COM gives this program only what is registered for the machine
    Text loggedOn;                    ///< whose session this is; empty when nobody's

    /// It runs as somebody else than the one whose session it is.
    [[nodiscard]] bool IsAnothers() const;
    /// Programs that COM starts for it are others than the user's.
    [[nodiscard]] bool StartsOthers() const { return isSplit || IsAnothers(); }
};

OwnRights RightsOfThisProgram();

/// User, membership and rights for a reader.
Text Described(const OwnRights& rights);

/// What every user is who has logged on to this computer and is no administrator.
Sids OrdinaryUser(const OwnRights& rights);
/// This user without an administrator's rights.
Sids WithoutElevation(const OwnRights& rights);

}  // namespace kandora::check
