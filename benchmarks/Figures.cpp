#include "benchmarks/Figures.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace kandora::benchmarks {

void Figures::Add(Row row, Row::Aim aim, double limit) {
    row.aim = aim;
    row.limit = limit;
    std::cout << AsText({row}).substr(AsText({}).size()) << std::flush;
    rows_.push_back(row);
    if (!options_.table.empty()) {
        std::ofstream(options_.table) << AsTable(rows_);
    }
}

double NumberToldBy(const std::string& command) {
    FILE* const output = _popen(command.c_str(), "r");  // NOLINT(bugprone-command-processor)
    double number = 0;
    // NOLINTNEXTLINE(bugprone-unchecked-string-to-number-conversion): how many were read is asked
    const int read = output == nullptr ? 0 : std::fscanf(output, "%lf", &number);
    if (output == nullptr || _pclose(output) != 0 || read != 1) {
        throw std::runtime_error("no number came from " + command);
    }
    return number;
}

}  // namespace kandora::benchmarks
