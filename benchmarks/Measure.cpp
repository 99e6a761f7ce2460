#include "benchmarks/Measure.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace kandora::benchmarks {

namespace {

double Quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(std::floor(place));
    const auto above = static_cast<std::size_t>(std::ceil(place));
    return values[below] + (values[above] - values[below]) * (place - std::floor(place));
}

std::string Number(double value) {
    std::ostringstream text;
    const int digits = value < 10 ? 2 : value < 100 ? 1 : 0;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

std::string Aim(const Row& row) {
    switch (row.aim) {
    case Row::Aim::AtMost:
        return "<= " + Number(row.limit);
    case Row::Aim::AtLeast:
        return ">= " + Number(row.limit);
    default:
        return "";
    }
}

}  // namespace

bool Row::IsReached() const {
    return aim == Aim::Shown || (aim == Aim::AtMost ? median <= limit : median >= limit);
}

double Microseconds(const std::function<void()>& work) {
    static const double ticksPerMicrosecond = [] {
        LARGE_INTEGER frequency{};
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(frequency.QuadPart) / 1e6;
    }();
    LARGE_INTEGER begin{};
    LARGE_INTEGER end{};
    QueryPerformanceCounter(&begin);
    work();
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - begin.QuadPart) / ticksPerMicrosecond;
}

double Median(std::vector<double> values) {
    return Quantile(std::move(values), 0.5);
}

Row ComparedTimes(std::string name, int rounds, const std::function<double()>& subject,
                  const std::function<double()>& floor) {
    std::vector<double> ratios;
    std::vector<double> subjects;
    std::vector<double> floors;
    // The first round does not count: what both sides do only once is done in it.
    for (int round = -1; round < rounds; ++round) {
        double mine = 0;
        double least = 0;
        if (round % 2 == 0) {
            mine = subject();
            least = floor();
        } else {
            least = floor();
            mine = subject();
        }
        if (round >= 0) {
            ratios.push_back(mine / least);
            subjects.push_back(mine);
            floors.push_back(least);
        }
    }
    Row row;
    row.name = std::move(name);
    row.unit = "us";
    row.median = Median(ratios);
    row.lower = Quantile(ratios, 0.25);
    row.upper = Quantile(ratios, 0.75);
    row.subject = Median(subjects);
    row.floor = Median(floors);
    return row;
}

Row Compared(std::string name, int rounds, int repeat, const std::function<void()>& subject,
             const std::function<void()>& floor) {
    const auto timed = [repeat](const std::function<void()>& work) {
        return [repeat, &work] {
            return Microseconds([&] {
                       for (int i = 0; i < repeat; ++i) {
                           work();
                       }
                   }) /
                   repeat;
        };
    };
    return ComparedTimes(std::move(name), rounds, timed(subject), timed(floor));
}

std::string AsText(const std::vector<Row>& rows) {
    std::ostringstream text;
    text << std::left << std::setw(58) << "figure" << std::right << std::setw(9) << "median" << std::setw(15)
         << "quartiles" << std::setw(9) << "aim" << std::setw(14) << "measured" << std::setw(14) << "floor"
         << "\n";
    for (const Row& row : rows) {
        text << std::left << std::setw(58) << row.name << std::right << std::setw(9) << Number(row.median)
             << std::setw(15) << (Number(row.lower) + " - " + Number(row.upper)) << std::setw(9) << Aim(row)
             << std::setw(11) << Number(row.subject) << " " << row.unit << std::setw(11) << Number(row.floor)
             << " " << row.unit << (row.IsReached() ? "" : "  MISSED") << "\n";
    }
    return text.str();
}

std::string AsTable(const std::vector<Row>& rows) {
    std::ostringstream text;
    for (const Row& row : rows) {
        text << row.name << "\t" << row.median << "\t" << row.lower << "\t" << row.upper << "\t" << Aim(row)
             << "\t" << row.subject << "\t" << row.floor << "\t" << row.unit << "\t"
             << (row.IsReached() ? "reached" : "missed") << "\n";
    }
    return text.str();
}

}  // namespace kandora::benchmarks
