#include "simulators/archive/StoreNames.h"

#include <algorithm>
#include <array>
#include <limits>

#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr std::wstring_view hexDigits = L"0123456789ABCDEF";

std::wstring Escaped(wchar_t character) {
    return {L'%', hexDigits[(character >> 4) & 0xF], hexDigits[character & 0xF]};
}

bool IsForbidden(wchar_t character) {
    return character < L' ' || std::wstring_view(L"<>:\"/\\|?*%").find(character) != std::wstring_view::npos;
}

bool IsDigit(wchar_t character) {
    return character >= L'0' && character <= L'9';
}

bool IsDeviceName(std::wstring_view name) {
    const std::wstring stem = FoldCase(name.substr(0, name.find(L'.')));
    constexpr std::array<std::wstring_view, 4> plain{L"CON", L"PRN", L"AUX", L"NUL"};
    if (std::ranges::find(plain, stem) != plain.end()) {
        return true;
    }
    return stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT")) && IsDigit(stem[3]);
}

/// True when a directory of this name would collide with a file of the store: "ordner.json", "<id>.json",
/// "<id><extension>" and "*.tmp" lie in the same directory.
bool MeetsStoreFile(std::wstring_view name) {
    const std::wstring folded = FoldCase(name);
    if (folded == L"ORDNER.JSON" || folded.ends_with(L".TMP")) {
        return true;
    }
    const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(name, IsDigit) - name.begin());
    return digits > 0 && digits < name.size() && name[digits] == L'.';
}

int HexValue(wchar_t character) {
    const std::size_t position = hexDigits.find(
        character >= L'a' && character <= L'f' ? static_cast<wchar_t>(character - L'a' + L'A') : character);
    return position == std::wstring_view::npos ? -1 : static_cast<int>(position);
}

}  // namespace

std::wstring EncodeName(std::wstring_view name) {
    std::wstring encoded;
    const bool escapesFirst = IsDeviceName(name);
    const bool escapesDots = MeetsStoreFile(name);
    for (std::size_t index = 0; index < name.size(); ++index) {
        const wchar_t character = name[index];
        const bool isTrailing = index + 1 == name.size() && (character == L'.' || character == L' ');
        if (IsForbidden(character) || isTrailing || (escapesFirst && index == 0) ||
            (escapesDots && character == L'.')) {
            encoded += Escaped(character);
        } else {
            encoded += character;
        }
    }
    return encoded;
}

std::wstring DecodeName(std::wstring_view encoded) {
    std::wstring name;
    for (std::size_t index = 0; index < encoded.size(); ++index) {
        if (encoded[index] == L'%' && index + 2 < encoded.size()) {
            const int high = HexValue(encoded[index + 1]);
            const int low = HexValue(encoded[index + 2]);
            if (high >= 0 && low >= 0) {
                name += static_cast<wchar_t>(high * 16 + low);
                index += 2;
                continue;
            }
        }
        name += encoded[index];
    }
    return name;
}

std::optional<std::int32_t> ParseId(std::wstring_view digits) {
    if (digits.empty() || digits.size() > 10 || !std::ranges::all_of(digits, IsDigit)) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    for (const wchar_t digit : digits) {
        value = value * 10 + (digit - L'0');
    }
    if (value > std::numeric_limits<std::int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(value);
}

}  // namespace kandora::simulators
