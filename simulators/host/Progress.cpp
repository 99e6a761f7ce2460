#include "simulators/host/Progress.h"

#include <windows.h>

#include <string>

#include "simulators/common/Output.h"

namespace kandora::simulators {

namespace {

constexpr std::size_t bookingsPerProgressLine = 50;

}  // namespace

Progress::Progress(std::size_t total) : total_(total) {
    DWORD mode = 0;
    inPlace_ = GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

void Progress::Show(std::size_t done) const {
    const std::wstring text =
        std::to_wstring(done) + L" von " + std::to_wstring(total_) + L" Belegen gespeichert";
    if (inPlace_) {
        const std::wstring line = L"\r" + text + (done == total_ ? L"\r\n" : L"");
        DWORD written = 0;
        WriteConsoleW(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
                      nullptr);
    } else if (done % bookingsPerProgressLine == 0 || done == total_) {
        PrintLine(text);
    }
}

void Progress::Interrupt() const {
    if (inPlace_) {
        PrintLine(L"");
    }
}

}  // namespace kandora::simulators
