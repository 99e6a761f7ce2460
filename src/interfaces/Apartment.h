#pragma once

#include <system_error>

#include <windows.h>

#include <objbase.h>

namespace kandora {

/// COM on the calling thread for as long as it lives.
class Apartment {
public:
    /// Throws std::system_error with the code of a system that refuses.
    explicit Apartment(DWORD kind = COINIT_APARTMENTTHREADED) {
        if (const HRESULT result = CoInitializeEx(nullptr, kind); FAILED(result)) {
            throw std::system_error(result, std::system_category(), "CoInitializeEx");
        }
    }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

}  // namespace kandora
