#include "tools/check/Age.h"

#include <algorithm>
#include <chrono>

#include <windows.h>

#include <oleauto.h>

#include "automation/Variant.h"

namespace kandora::check {

namespace {

bool IsDigits(TextView text) {
    return !text.empty() && std::ranges::all_of(text, [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

int NumberIn(TextView digits) {
    int number = 0;
    for (const wchar_t digit : digits) {
        number = number * 10 + (digit - L'0');
    }
    return number;
}

std::chrono::year_month_day Calendar(const Day& day) {
    return std::chrono::year(day.year) / day.month / day.day;
}

std::optional<Day> Valid(const Day& day) {
    return Calendar(day).ok() ? std::optional(day) : std::nullopt;
}

/// "5.11.2026", not necessarily a day that there is; whatever the user's settings are, the host's own dates
/// read like this in this country.
std::optional<Day> Dotted(const Text& date) {
    const std::size_t first = date.find(L'.');
    const std::size_t second = first == Text::npos ? Text::npos : date.find(L'.', first + 1);
    if (second == Text::npos) {
        return std::nullopt;
    }
    const TextView whole = date;
    const TextView day = whole.substr(0, first);
    const TextView month = whole.substr(first + 1, second - first - 1);
    const TextView year = whole.substr(second + 1);
    if (!IsDigits(day) || !IsDigits(month) || !IsDigits(year) || day.size() > 2 || month.size() > 2 ||
        year.size() != 4) {
        return std::nullopt;
    }
    return Day{NumberIn(year), NumberIn(month), NumberIn(day)};
}

}  // namespace

std::optional<Day> DayOfDocId(const Text& docId) {
    constexpr std::size_t length = 14;
    if (docId.size() != length || !IsDigits(docId)) {
        return std::nullopt;
    }
    const TextView digits = docId;
    if (NumberIn(digits.substr(8, 2)) > 23 || NumberIn(digits.substr(10, 2)) > 59 ||
        NumberIn(digits.substr(12, 2)) > 59) {
        return std::nullopt;
    }
    return Valid(
        {NumberIn(digits.substr(0, 4)), NumberIn(digits.substr(4, 2)), NumberIn(digits.substr(6, 2))});
}

std::optional<Day> DayOfDate(const Text& date) {
    if (const auto dotted = Dotted(date)) {
        return Valid(*dotted);
    }
    DATE value = 0;
    SYSTEMTIME parts{};
    // A text with no more than one separator reads as a date, too, but is a number to everybody else.
    if (std::ranges::count_if(date, [](wchar_t c) { return c == L'.' || c == L'/' || c == L'-'; }) < 2 ||
        FAILED(VarDateFromStr(const_cast<wchar_t*>(date.c_str()), LOCALE_USER_DEFAULT, 0, &value)) ||
        VariantTimeToSystemTime(value, &parts) == FALSE) {
        return std::nullopt;
    }
    return Valid({parts.wYear, parts.wMonth, parts.wDay});
}

std::int32_t DaysBetween(const Day& from, const Day& to) {
    return static_cast<std::int32_t>(
        (std::chrono::sys_days(Calendar(to)) - std::chrono::sys_days(Calendar(from))).count());
}

Text DottedDate(const Day& day) {
    return Digits(day.day, 2) + L"." + Digits(day.month, 2) + L"." + Digits(day.year, 4);
}

}  // namespace kandora::check
