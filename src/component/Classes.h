#pragma once

#include <span>

#include <windows.h>

#include <unknwn.h>

namespace kandora {

/// A public class: what the factory and the registration need to know of it.
struct PublicClass {
    const CLSID& clsid;
    const wchar_t* name;  ///< its ProgID is "Kandora." and this
    const wchar_t* description;
    /// A new object with one reference, which the caller owns. May raise.
    IUnknown* (*create)();
};

/// All public classes.
std::span<const PublicClass> PublicClasses() noexcept;

/// Value under the provider class's registry key with the identifier under which the host knows its own
/// interface.
inline constexpr const wchar_t* hostInterfaceValue = L"DMSProvider";

}  // namespace kandora
