#include "simulators/common/Failure.h"

#include <windows.h>

#include <cstdio>
#include <iterator>

#include "interfaces/CodePages.h"

namespace kandora::simulators {

Failure::Failure(std::wstring_view message) : std::runtime_error(Utf8FromText(message)), message_(message) {}

std::wstring SystemMessage(unsigned long code) {
    wchar_t buffer[512] = {};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                                  0, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
    while (length > 0 && (buffer[length - 1] <= L' ' || buffer[length - 1] == L'.')) {
        --length;
    }
    std::wstring text(buffer, length);
    if (text.empty()) {
        text = L"Systemfehler";
    }
    wchar_t number[24];
    const bool isHresult = (code & 0x80000000UL) != 0;
    std::swprintf(number, std::size(number), isHresult ? L" (0x%08lX)" : L" (%lu)", code);
    return text + number;
}

}  // namespace kandora::simulators
