#include "archive/ArchiveSession.h"

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"
#include "support/MDebug.h"

namespace kandora {

/// Departs from the convention: a failing probe only means that the session is lost.
bool ArchiveSession::IsAlive() const noexcept {
    try {
        return !object_.IsNothing() && object_.Get(L"GetEntryId", archive::currentEntry).ToLong() != -1;
    } catch (...) {
        return false;
    }
}

std::int32_t ArchiveSession::Login(Text name, Text password, Text archive) const {
    return object_.Get(L"Login", ByRef(name), ByRef(password), ByRef(archive)).ToLong();
}

void RequireLogin(std::int32_t answer) {
    Assert(answer >= 0, L"Unbekannter Loginname, Passwort oder Archiv: Login=" + Decimal(answer),
           errors::invalidArgument);
}

void RequireCredentials(const cUser& user) {
    Assert(user.bLoggedOn(), L"Benutzer muss angemeldet sein, um ELO anzumelden.", errors::invalidArgument);
}

}  // namespace kandora
