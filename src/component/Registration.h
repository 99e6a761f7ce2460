#pragma once

#include <windows.h>

namespace kandora {

/// Whom a registration is for: everybody on the machine (administrator rights are needed) or the current
/// user.
enum class RegistrationScope { Machine, User };

/// Writes classes, ProgIDs, interfaces and type libraries; a failed attempt leaves nothing behind, not even
/// what an earlier one wrote.
HRESULT Register(RegistrationScope scope) noexcept;
/// Removes what Register wrote. Entries that the other bitness of the component shares stay while it is
/// registered.
HRESULT Unregister(RegistrationScope scope) noexcept;

/// The identifier under which the host knows its own plug-in interface, if kandora-check has stored one; else
/// IID_NULL.
IID RegisteredHostInterface() noexcept;

}  // namespace kandora
