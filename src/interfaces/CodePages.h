#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <windows.h>

namespace kandora {

/// The text in a code page, with its NUL characters. `flags` and `missing`, what stands for a character that
/// the page lacks, are WideCharToMultiByte's.
inline std::string InCodePage(UINT page, DWORD flags, std::wstring_view text, const char* missing) {
    if (text.empty()) {
        return {};
    }
    const auto length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(page, flags, text.data(), length, nullptr, 0, missing, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(page, flags, text.data(), length, bytes.data(), size, missing, nullptr);
    return bytes;
}

/// The text that bytes of a code page stand for.
inline std::wstring OutOfCodePage(UINT page, std::string_view bytes) {
    if (bytes.empty()) {
        return {};
    }
    const auto length = static_cast<int>(bytes.size());
    std::wstring text(
        static_cast<std::size_t>(MultiByteToWideChar(page, 0, bytes.data(), length, nullptr, 0)), L'\0');
    MultiByteToWideChar(page, 0, bytes.data(), length, text.data(), static_cast<int>(text.size()));
    return text;
}

/// The text in UTF-8; an unpaired surrogate becomes U+FFFD.
inline std::string Utf8FromText(std::wstring_view text) {
    return InCodePage(CP_UTF8, 0, text, nullptr);
}

/// The text that UTF-8 stands for; invalid bytes become U+FFFD.
inline std::wstring TextFromUtf8(std::string_view utf8) {
    return OutOfCodePage(CP_UTF8, utf8);
}

}  // namespace kandora
