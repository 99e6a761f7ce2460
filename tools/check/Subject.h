#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include <oaidl.h>

#include "automation/Text.h"
#include "interfaces/ComPtr.h"
#include "tools/check/ClassServer.h"

namespace kandora::check {

/// The component's class that the host asks for.
inline constexpr const wchar_t* providerClass = L"Kandora.ELOProvider";

/// The installation that is checked.
struct Subject {
    Text file;  ///< the component's file, which need not exist
    Architecture architecture = Architecture::Unknown;
    std::optional<Server> registered;  ///< the provider class as registered for this bitness
    bool isRegistered = false;         ///< and it is this file
    bool isForOneUser = false;         ///< this file is registered for this user and not for the machine

    /// Whether a program of this bitness can load the file.
    [[nodiscard]] bool IsLoadable() const { return architecture == ownArchitecture; }
};

/// The component at `given` (a DLL, or the INI file beside it); when that is empty the registered one, else
/// the one beside this program or in the folder above.
Subject FindSubject(const Text& given, const OwnRights& rights);

/// One of the two type libraries that the component carries; empty when it cannot be read.
ComPtr<ITypeLib> LibraryIn(const Subject& subject, int resource);

/// A new provider object, through the registry when the file is registered, else out of the file itself.
HRESULT CreateProvider(const Subject& subject, ComPtr<IUnknown>& provider);

}  // namespace kandora::check
