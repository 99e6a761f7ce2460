#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/Measure.h"
#include "tests/cost/Workbench.h"

namespace kandora::benchmarks {

/// What the program was started with; --help tells what each is for.
struct Options {
    std::string directory;
    std::string component;
    std::string empty;
    std::string only;
    std::string table;
    std::string curve;
    std::string simulator;
    std::string large;
    std::string small;
    std::string comparison;
    int rounds = 15;
    bool isQuick = false;
};

/// The figures so far. Each is printed, and written to the table, as soon as it is known.
class Figures {
public:
    explicit Figures(Options options) : options_(std::move(options)) {}

    void Add(Row row, Row::Aim aim, double limit);
    [[nodiscard]] const Options& Given() const noexcept { return options_; }
    /// How many rounds a figure gets that usually has so many.
    [[nodiscard]] int Rounds(int usual) const noexcept { return options_.isQuick ? 3 : usual; }

private:
    Options options_;
    std::vector<Row> rows_;
};

/// Figures made of very short pieces of work take this many times more, and shorter, rounds: rounds of a
/// millisecond are hardly ever interrupted.
constexpr int shortRounds = 10;

// The groups of figures; all throw std::exception when something cannot be measured.
void MeasureCalls(Figures& figures);
void MeasureRendering(Figures& figures);
void MeasureLoading(Figures& figures);
/// With the traced line when the surroundings are quiet, and with the searches.
void MeasureRequests(Figures& figures, cost_tests::Surroundings surroundings);
void MeasureSearches(Figures& figures, cost_tests::Workbench& bench, cost_tests::Surroundings surroundings);
void MeasureMemory(Figures& figures);
/// The archive's stand-in with many entries.
void MeasureLargeArchive(Figures& figures);
/// kandora-check's comparison of archive and accounting.
void MeasureReconciling(Figures& figures);

/// Microseconds from the start of the archive's simulator until its window answers and shows its tree. Ends
/// the simulator again. Throws std::runtime_error when it does not start.
double TimeToWindow(const std::string& simulator, const std::string& store);

/// The number that a command prints. Throws std::runtime_error when it prints none or fails.
double NumberToldBy(const std::string& command);

}  // namespace kandora::benchmarks
