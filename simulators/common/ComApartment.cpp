#include "simulators/common/ComApartment.h"

#include <windows.h>

#include <objbase.h>

#include <string>

#include "simulators/common/Failure.h"

namespace kandora::simulators {

ComApartment::ComApartment(std::wstring_view complaint) {
    const HRESULT code = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
    if (FAILED(code)) {
        throw Failure(std::wstring(complaint) + L": " + SystemMessage(static_cast<unsigned long>(code)));
    }
}

ComApartment::~ComApartment() {
    CoUninitialize();
}

}  // namespace kandora::simulators
