#pragma once

#include <cstdint>
#include <optional>

#include "automation/Clock.h"
#include "automation/Text.h"

namespace kandora::check {

/// A day without its time.
struct Day {
    int year = 0;
    int month = 0;
    int day = 0;

    bool operator==(const Day&) const = default;
};

/// The day in a document id, which is the time of its making: "20261115011258"; none when it is no such id.
std::optional<Day> DayOfDocId(const Text& docId);
/// The day of a date as the host writes one: "15.11.2026", or as the user's settings have it; none when the
/// text is no date.
std::optional<Day> DayOfDate(const Text& date);
/// Days from one to another; negative when it comes before.
std::int32_t DaysBetween(const Day& from, const Day& to);
/// "15.11.2026".
Text DottedDate(const Day& day);

}  // namespace kandora::check
