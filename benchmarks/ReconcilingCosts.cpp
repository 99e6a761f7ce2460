#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "benchmarks/Figures.h"
#include "benchmarks/RecordedRequests.h"
#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "tools/check/Reconciliation.h"
#include "tools/check/Surroundings.h"

// What comparing archive and accounting costs beside the calls that it has to make, and how it grows.
namespace kandora::benchmarks {

namespace fs = std::filesystem;

namespace {

// Beside it lie the settings; the program that compares is told where.
constexpr const char* copiedComponent = "Kandora.dll";

/// So many entries share three masks, of vouchers, debtors and creditors. Of each three one is the client's,
/// the others lie elsewhere. The store of make_surroundings.py is made accordingly.
struct Size {
    int entries;
    int firstMask;
    int rounds;
};
constexpr std::array<Size, 5> sizes{
    {{100, 20, 5}, {316, 23, 5}, {1000, 26, 5}, {3162, 29, 1}, {10000, 32, 1}}};
constexpr int largestOfQuick = 316;
/// The one whose ratio counts: nothing that is said once weighs in it, and it can be repeated.
constexpr int countingSize = 1000;
constexpr Size smallMemory{100, 20, 0};
constexpr Size largeMemory{30000, 35, 0};
constexpr double mostMegabytes = 100;

/// The component's settings for the masks of this size.
void WriteSettings(const fs::path& folder, const Size& size) {
    std::ofstream file(folder / "Kandora.ini", std::ios::binary);
    std::string section;
    for (const cost_tests::Key& key : cost_tests::Keys()) {
        std::string value = key.value;
        constexpr std::array<std::string_view, 3> masks{"Belege", "Debi", "Kredi"};
        const auto* const mask = std::ranges::find(masks, key.name);
        if (key.section == std::string_view("Maske") && mask != masks.end()) {
            value = std::to_string(size.firstMask + (mask - masks.begin()));
        }
        if (std::exchange(section, key.section) != key.section) {
            file << "[" << key.section << "]\r\n";
        }
        file << key.name << "=" << value << "\r\n";
    }
}

/// The machine, with a listener before each object that is made as long as there is a conversation.
class HeardPlatform final : public check::ForwardingPlatform {
public:
    explicit HeardPlatform(Platform& machine) : ForwardingPlatform(machine) {}

    LateBound CreateObject(const Text& progId) override {
        LateBound object = ForwardingPlatform::CreateObject(progId);
        if (conversation == nullptr) {
            return object;
        }
        object.Pointer()->AddRef();
        return LateBound(
            ComPtr<IDispatch>::Adopt(conversation->Listen(ClassOf(progId.c_str()), object.Pointer())).Get());
    }

    Conversation* conversation = nullptr;
};

/// Everything that a comparison works with, ready for one.
class Comparison {
public:
    Comparison(const fs::path& folder, Conversation* listening)
        : platform_(Hearing(listening), (folder / copiedComponent).wstring()), globals_(platform_, screen_) {
        SharedState& state = globals_.state;
        state.gbIniOK = globals_.IniLesen();
        globals_.goSesamSOK()->EinstellungenLesen(state.gbMandantArchivAktiv);
    }
    ~Comparison() { globals_.ReleaseServices(); }
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;

    /// Nothing is wrong in the store, so that whatever is found tells that something else is measured.
    void Run(const Size& size) {
        const check::Reconciled result = check::Reconcile(globals_, options_);
        if (!result.isComplete || !result.findings.empty() || result.judged + result.others != size.entries) {
            throw std::runtime_error(
                "a comparison of " + std::to_string(size.entries) + " entries went otherwise: " +
                Utf8FromText(result.findings.empty() ? result.reason : result.findings.front().text));
        }
    }

private:
    HeardPlatform& Hearing(Conversation* listening) {
        heard_.conversation = listening;
        return heard_;
    }

    WindowsPlatform windows_;
    HeardPlatform heard_{windows_};
    check::CheckedPlatform platform_;
    check::SilentUserInterface screen_;
    MGlobals globals_;
    check::ReconcileOptions options_;
};

void MeasureSize(Figures& figures, const Size& size) {
    const fs::path folder = figures.Given().directory;
    WriteSettings(folder, size);
    Conversation conversation(&Registered);
    std::size_t begin = 0;
    std::size_t end = 0;
    {
        Comparison recorded(folder, &conversation);
        recorded.Run(size);
        begin = conversation.Steps();
        recorded.Run(size);
        end = conversation.Steps();
    }
    Comparison comparison(folder, nullptr);
    conversation.SayAgain(0, end, false);
    const bool counts = size.entries == countingSize;
    for (const bool askingIds : {false, true}) {
        if (askingIds && !counts && !figures.Given().isQuick) {
            continue;
        }
        const std::string than = askingIds ? " / its calls and id questions" : " / its bare calls";
        const Row row = Compared(
            "reconciling " + std::to_string(size.entries) + " entries" + than,
            std::min(figures.Rounds(size.rounds), size.rounds), 1, [&] { comparison.Run(size); },
            [&] { conversation.SayAgain(begin, end, askingIds); });
        if (!askingIds && !figures.Given().curve.empty()) {
            std::ofstream(figures.Given().curve, std::ios::app)
                << "out\t" << size.entries << "\t" << row.subject << "\t" << row.floor << "\n";
        }
        figures.Add(row, counts && askingIds ? Row::Aim::AtMost : Row::Aim::Shown, 1.10);
    }
    std::cout << "    " << conversation.Calls(begin, end) << " calls, " << conversation.Questions(begin, end)
              << " id questions\n";
    conversation.Release();
}

/// The private memory of a whole run of kandora-check where it was largest, in kilobytes.
double PeakOfWholeRun(const Options& given, const Size& size) {
    const fs::path folder = given.directory;
    WriteSettings(folder, size);
    CopyFileW(fs::path(given.component).c_str(), (folder / copiedComponent).c_str(), FALSE);
    const fs::path output = folder / "Ergebnis.json";
    std::string command = "\"" + (fs::path(given.component).parent_path() / "kandora-check.exe").string() +
                          "\" --reconcile --json --component \"" + (folder / copiedComponent).string() + "\"";
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    const HANDLE file = CreateFileW(output.c_str(), GENERIC_WRITE, 0, &inherited, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file;
    PROCESS_INFORMATION process{};
    const BOOL hasStarted = CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW,
                                           nullptr, nullptr, &startup, &process);
    CloseHandle(file);
    if (hasStarted == FALSE) {
        throw std::runtime_error("kandora-check does not start");
    }
    // Wine tells what is used now as the peak.
    constexpr DWORD pause = 10;
    SIZE_T peak = 0;
    do {
        PROCESS_MEMORY_COUNTERS counters{};
        if (GetProcessMemoryInfo(process.hProcess, &counters, sizeof counters) != FALSE) {
            peak = std::max({peak, counters.PagefileUsage, counters.PeakPagefileUsage});
        }
    } while (WaitForSingleObject(process.hProcess, pause) != WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (code != 0 || peak == 0) {
        throw std::runtime_error("kandora-check did not compare, see " + output.string());
    }
    return static_cast<double>(peak) / 1024;
}

void MeasureMemoryOfRun(Figures& figures) {
    const Size& large = figures.Given().isQuick ? sizes[2] : largeMemory;
    Row row;
    row.name = "memory of reconciling " + std::to_string(large.entries) + " entries, in MB";
    row.unit = "KB";
    row.floor = PeakOfWholeRun(figures.Given(), smallMemory);
    row.subject = PeakOfWholeRun(figures.Given(), large);
    row.median = row.lower = row.upper = row.subject / 1024;
    figures.Add(row, Row::Aim::AtMost, mostMegabytes);
}

}  // namespace

void MeasureReconciling(Figures& figures) {
    // Its files are read here and leave an index: COM does not wait so long for a program to start.
    TimeToWindow(figures.Given().simulator, figures.Given().comparison);
    const Apartment apartment;
    for (const Size& size : sizes) {
        if (!figures.Given().isQuick || size.entries <= largestOfQuick) {
            MeasureSize(figures, size);
        }
    }
    MeasureMemoryOfRun(figures);
}

}  // namespace kandora::benchmarks
