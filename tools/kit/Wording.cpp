#include "tools/kit/Wording.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace kandora::kit {

namespace {

struct KnownCode {
    DWORD code;
    const wchar_t* meaning;
};
constexpr std::array<KnownCode, 8> knownCodes{{
    {0xC0000005, L"Zugriff auf fremden Speicher"},
    {0xC00000FD, L"Stapelspeicher erschöpft"},
    {0xC0000135, L"eine DLL fehlt"},
    {0xC0000139, L"eine Funktion fehlt in einer DLL"},
    {0xC000013A, L"durch Ctrl+C beendet"},
    {0xC0000374, L"Heap beschädigt"},
    {0xC0000409, L"vom Programm selbst abgebrochen"},
    {0x80000003, L"Haltepunkt"},
}};

template <class... Values>
Text Formatted(const wchar_t* format, Values... values) {
    std::array<wchar_t, 64> text{};
    const int length = std::swprintf(text.data(), text.size(), format, values...);
    return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

Text SystemMessage(DWORD error) {
    std::array<wchar_t, 512> text{};
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
        error, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    return Trimmed(Text(text.data(), length)) + L" (" + Decimal(error) + L")";
}

Text ExitCodeText(DWORD code) {
    if (code < 0x10000) {
        return Decimal(code);
    }
    Text number = Formatted(L"0x%08lX", code);
    for (const KnownCode& known : knownCodes) {
        if (known.code == code) {
            return number + L" (" + known.meaning + L")";
        }
    }
    return number;
}

Text RoughTime(std::int64_t seconds) {
    constexpr std::int64_t minute = 60;
    if (seconds < 2 * minute) {
        return L"etwa " + Decimal(seconds) + L" Sekunden";
    }
    return L"etwa " + Decimal((seconds + minute / 2) / minute) + L" Minuten";
}

Text ClockTime(double seconds) {
    const auto whole = static_cast<int>(std::lround(seconds));
    return whole < 3600 ? Formatted(L"%d:%02d", whole / 60, whole % 60)
                        : Formatted(L"%d:%02d:%02d", whole / 3600, whole / 60 % 60, whole % 60);
}

Text Seconds(double seconds) {
    return Formatted(L"%.1f s", seconds);
}

Text Counted(std::int64_t number, TextView one, TextView many) {
    return Decimal(number) + L" " + Text(number == 1 ? one : many);
}

Text Now() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return Formatted(L"%04d-%02d-%02d %02d:%02d:%02d", now.wYear, now.wMonth, now.wDay, now.wHour,
                     now.wMinute, now.wSecond);
}

}  // namespace kandora::kit
