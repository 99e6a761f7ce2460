#pragma once

#include <windows.h>

#include <objbase.h>

#include "automation/Errors.h"

namespace kandora {

/// COM on the calling thread for as long as it lives.
class Apartment {
public:
    /// Throws RuntimeError.
    explicit Apartment(DWORD kind = COINIT_APARTMENTTHREADED) {
        RequireSuccess(CoInitializeEx(nullptr, kind));
    }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

}  // namespace kandora
