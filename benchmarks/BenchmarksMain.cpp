// Measures what the component adds to the calls that it has to make. See README.md.

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>
#include <functional>
#include <vector>

#include "benchmarks/Figures.h"

namespace kandora::benchmarks {

namespace {

void Run(const Options& options) {
    Figures figures(options);
    struct Group {
        const char* name;
        std::function<void()> measure;
    };
    const std::vector<Group> groups{
        {"late-bound call", [&] { MeasureCalls(figures); }},
        {"rendering", [&] { MeasureRendering(figures); }},
        {"load", [&] { MeasureLoading(figures); }},
        {"in process", [&] { MeasureRequests(figures, cost_tests::Surroundings::Quiet); }},
        {"memory", [&] { MeasureMemory(figures); }},
        {"out of process", [&] { MeasureRequests(figures, cost_tests::Surroundings::Registered); }},
        {"simulator",
         [&] {
             if (!options.large.empty()) {
                 MeasureLargeArchive(figures);
             }
         }},
    };
    // The comparison has an archive and a client of its own, which are registered for it alone.
    const std::vector<Group> ofComparison{{"reconcile", [&] { MeasureReconciling(figures); }}};
    for (const Group& group : options.comparison.empty() ? groups : ofComparison) {
        if (std::string(group.name).find(options.only) != std::string::npos) {
            group.measure();
        }
    }
}

}  // namespace

}  // namespace kandora::benchmarks

int main(int argc, char** argv) {
    using namespace kandora::benchmarks;
    try {
        Options options;
        CLI::App app("Measures what the component adds to the calls that it has to make.");
        struct Row {
            const char* name;
            std::string Options::* place;
            const char* meaning;
        };
        const Row rows[] = {
            {"--directory", &Options::directory, "folder for INI file, log and scripts"},
            {"--component", &Options::component, "the DLL to measure"},
            {"--empty", &Options::empty, "an empty COM DLL"},
            {"--only", &Options::only, "only the groups whose names hold this text"},
            {"--table", &Options::table, "writes the figures to this file"},
            {"--curve", &Options::curve, "appends the times of searches or comparisons to this file"},
            {"--simulator", &Options::simulator, "the archive simulator"},
            {"--large", &Options::large, "a store with many entries"},
            {"--small", &Options::small, "a store without entries"},
            {"--comparison", &Options::comparison,
             "the archive's store for comparing with the accounting; nothing else is measured then"},
        };
        for (const Row& row : rows) {
            app.add_option(row.name, options.*row.place, row.meaning);
        }
        app.add_option("--rounds", options.rounds, "rounds per figure");
        app.add_flag("--quick", options.isQuick, "few rounds and small searches, to try the program out");
        CLI11_PARSE(app, argc, argv);
        Run(options);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
