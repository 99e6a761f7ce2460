#pragma once

#include <windows.h>

#include <oaidl.h>

namespace kandora {

/// Number of the resource that holds the type library of the public classes, and of the one that holds the
/// host's interface.
inline constexpr int ownLibrary = 1;
inline constexpr int hostLibrary = 2;

/// Loads one of the two type libraries out of the module itself, never through the registry. The caller owns
/// it.
HRESULT LoadLibraryOf(int resource, ITypeLib** library) noexcept;

/// Description of a dual interface in one of the two libraries, loaded once per process; no new reference is
/// handed out.
HRESULT DescriptionOf(REFIID iid, int resource, ITypeInfo** description) noexcept;

}  // namespace kandora
