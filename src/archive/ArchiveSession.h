#pragma once

#include "archive/ArchiveContext.h"
#include "automation/LateBound.h"

namespace kandora {

/// Name of the archive's automation class.
inline constexpr const wchar_t* archiveClass = L"ELO.professional";

/// One login to the archive: the archive's automation object, probed before each use.
class ArchiveSession {
public:
    /// The object as it stands; nothing before the first login.
    [[nodiscard]] LateBound Stored() const { return object_; }
    void Store(LateBound object) { object_ = std::move(object); }

    /// True when the archive answers the object's probe.
    [[nodiscard]] bool IsAlive() const noexcept;
    /// One attempt to log in; what the archive answers: 0 or more is success.
    [[nodiscard]] std::int32_t Login(Text name, Text password, Text archive) const;

private:
    LateBound object_;
};

/// Raises 5 with the archive's answer unless a login succeeded.
void RequireLogin(std::int32_t answer);
/// Raises 5 unless there are credentials to log in with.
void RequireCredentials(const cUser& user);

}  // namespace kandora
