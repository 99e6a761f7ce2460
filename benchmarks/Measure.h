#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kandora::benchmarks {

/// One line of the table: a piece of the component beside the least that the platform allows for the same.
struct Row {
    std::string name;
    /// Whether the ratio must be at most or at least `limit`, or is only shown.
    enum class Aim { AtMost, AtLeast, Shown } aim = Aim::AtMost;
    double limit = 0;
    std::string unit;    ///< of the absolute times
    double median = 0;   ///< of the rounds' ratios
    double lower = 0;    ///< quartile
    double upper = 0;    ///< quartile
    double subject = 0;  ///< median
    double floor = 0;    ///< median

    [[nodiscard]] bool IsReached() const;
};

/// How long the work takes, in microseconds.
double Microseconds(const std::function<void()>& work);

/// Measures both sides alternately, each `repeat` times per round and in changing order, and compares them
/// round by round, so that what slows the machine down meets both. Times are of one repetition.
Row Compared(std::string name, int rounds, int repeat, const std::function<void()>& subject,
             const std::function<void()>& floor);

/// The same for sides that measure themselves and return microseconds.
Row ComparedTimes(std::string name, int rounds, const std::function<double()>& subject,
                  const std::function<double()>& floor);

double Median(std::vector<double> values);

/// The table for people and, tab separated, for programs.
std::string AsText(const std::vector<Row>& rows);
std::string AsTable(const std::vector<Row>& rows);

}  // namespace kandora::benchmarks
