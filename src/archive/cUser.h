#pragma once

#include "automation/Text.h"

namespace kandora {

/// The archive user's credentials.
struct cUser {
    Text sName;
    Text sPasswort;
    Text sKuerzel;  ///< the user's short sign (initials)

    /// True when there are credentials; it tells nothing about a session.
    [[nodiscard]] bool bLoggedOn() const noexcept { return !(sName.empty() && sPasswort.empty()); }
};

}  // namespace kandora
