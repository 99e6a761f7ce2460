#include "automation/Text.h"

#include <array>

#include <windows.h>

#include "interfaces/CodePages.h"

namespace kandora {

namespace {

Text CaseMapped(const Text& text, DWORD mapping) {
    Text result(text.size(), L'\0');
    if (!text.empty()) {
        LCMapStringW(LOCALE_USER_DEFAULT, mapping, text.data(), static_cast<int>(text.size()), result.data(),
                     static_cast<int>(result.size()));
    }
    return result;
}

}  // namespace

// The C library's formatting would double the component's size.
Text Decimal(std::int64_t value) {
    const bool negative = value < 0;
    auto rest = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    std::array<wchar_t, 20> digits;  // of the longest number, with its sign
    auto* first = digits.end();
    do {
        *--first = static_cast<wchar_t>(L'0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (negative) {
        *--first = L'-';
    }
    return {first, digits.end()};
}

Text Digits(int value, int width) {
    Text digits = Decimal(value);
    const auto wanted = static_cast<std::size_t>(width);
    if (digits.size() < wanted) {
        digits.insert(0, wanted - digits.size(), L'0');
    }
    return digits;
}

Text Joined(const std::vector<Text>& parts, TextView separator) {
    Text result;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            result += separator;
        }
        result += parts[i];
    }
    return result;
}

Text Replaced(const Text& text, TextView what, TextView with) {
    if (what.empty()) {
        return text;
    }
    Text result;
    std::size_t from = 0;
    for (std::size_t at = text.find(what); at != Text::npos; at = text.find(what, from)) {
        result.append(text, from, at - from);
        result += with;
        from = at + what.size();
    }
    result.append(text, from);
    return result;
}

Text Trimmed(const Text& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    return first == Text::npos ? Text() : text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

Text LowerCase(const Text& text) {
    return CaseMapped(text, LCMAP_LOWERCASE);
}

Text UpperCase(const Text& text) {
    return CaseMapped(text, LCMAP_UPPERCASE);
}

std::string AnsiFromText(TextView text) {
    return InCodePage(CP_ACP, WC_NO_BEST_FIT_CHARS, text, "?");
}

Text TextFromAnsi(std::string_view ansi) {
    return OutOfCodePage(CP_ACP, ansi);
}

}  // namespace kandora
