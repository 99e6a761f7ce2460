#include <array>
#include <fstream>
#include <thread>

#include "benchmarks/Figures.h"
#include "benchmarks/RecordedRequests.h"
#include "interfaces/Apartment.h"

namespace kandora::benchmarks {

using cost_tests::MetaData;
using cost_tests::Surroundings;
using cost_tests::Workbench;

namespace {

/// Numbers of hits for which searches are measured; the archive of make_surroundings.py has a mask for each.
constexpr std::array<int, 5> searchSizes{100, 316, 1000, 3162, 10001};
constexpr int firstSearchMask = 11;

}  // namespace

/// Each search is a request that looks for a document which is not there.
void MeasureSearches(Figures& figures, Workbench& bench, Surroundings surroundings) {
    const bool isQuiet = surroundings == Surroundings::Quiet;
    const BSTR unknown = SysAllocString(L"20991231235959");
    const MetaData general(L"1001", L"1", L"4711");
    for (std::size_t size = 0; size < searchSizes.size(); ++size) {
        const int hits = searchSizes[size];
        if (figures.Given().isQuick && hits > 1000) {
            break;
        }
        bench.world.hits = hits;
        bench.SetVoucherMask(firstSearchMask + static_cast<int>(size));
        Conversation found(MakerFor(bench, surroundings));
        std::size_t begin = 0;
        std::size_t end = 0;
        // A thread of its own gives the recorded provider a state of its own.
        const auto record = [&] {
            const Apartment recorded;
            Workbench::Watch([&](REFCLSID clsid, IDispatch* made) { return found.Listen(clsid, made); });
            const auto watched = bench.NewProvider();
            Init(*watched);
            begin = found.Steps();
            watched->DeleteDocument(unknown, general.Value());
            end = found.Steps();
            Workbench::Watch(nullptr);
        };
        std::thread(record).join();
        const auto provider = bench.NewProvider();
        Init(*provider);
        found.SayAgain(0, end, false);
        const int rounds = figures.Rounds(isQuiet ? 7 : hits > 1000 ? 3 : 5);
        const Row row = Compared(
            "search over " + std::to_string(hits) + " hits / its bare calls" + PlaceOf(surroundings), rounds,
            1, [&] { provider->DeleteDocument(unknown, general.Value()); },
            [&] { found.SayAgain(begin, end, false); });
        if (!figures.Given().curve.empty()) {
            std::ofstream(figures.Given().curve, std::ios::app)
                << (isQuiet ? "in" : "out") << "\t" << hits << "\t" << row.subject << "\t" << row.floor
                << "\n";
        }
        const bool counts = hits == searchSizes.back();
        figures.Add(row, counts ? Row::Aim::AtMost : Row::Aim::Shown, isQuiet ? 1.15 : 1.05);
    }
    SysFreeString(unknown);
}

}  // namespace kandora::benchmarks
