#include "simulators/archive/Resolution.h"

namespace kandora::simulators {

namespace {

/// A function of newer systems, null on older ones: those have one resolution for the whole screen instead
/// of one for each window.
template <class Function>
Function UserFunction(const char* name) {
    const HMODULE user = GetModuleHandleW(L"user32.dll");
    return user == nullptr ? nullptr
                           : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(user, name)));
}

}  // namespace

Resolution Resolution::Of(HWND window) {
    static const auto function = UserFunction<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
    if (function != nullptr) {
        if (const UINT dpi = function(window); dpi != 0) {
            return Resolution(dpi);
        }
    }
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return Resolution(static_cast<UINT>(dpi));
}

HFONT Resolution::NewFont() const {
    static const auto function =
        UserFunction<BOOL(WINAPI*)(UINT, UINT, PVOID, UINT, UINT)>("SystemParametersInfoForDpi");
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    if (function == nullptr ||
        function(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0, dpi_) == FALSE) {
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    }
    return CreateFontIndirectW(&metrics.lfMessageFont);
}

}  // namespace kandora::simulators
