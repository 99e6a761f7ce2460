#include <windows.h>

#include <commctrl.h>

#include <filesystem>
#include <stdexcept>

#include "benchmarks/Figures.h"
#include "interfaces/CodePages.h"
#include "simulators/archive/Store.h"
#include "simulators/archive/Window.h"
#include "simulators/common/Unicode.h"

namespace kandora::benchmarks {

namespace fs = std::filesystem;

double TimeToWindow(const std::string& simulator, const std::string& store) {
    std::string command = "\"" + simulator + "\" --store \"" + store + "\"";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    const double time = Microseconds([&] {
        if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                           nullptr, &startup, &process) == FALSE) {
            throw std::runtime_error("the simulator does not start");
        }
        for (;;) {
            const HWND window = FindWindowW(simulators::ArchiveWindow::className, nullptr);
            const HWND tree =
                window == nullptr ? nullptr : FindWindowExW(window, nullptr, WC_TREEVIEWW, nullptr);
            if (tree != nullptr && IsWindowVisible(window) != FALSE &&
                SendMessageW(tree, TVM_GETCOUNT, 0, 0) > 0) {
                break;
            }
            if (WaitForSingleObject(process.hProcess, 1) == WAIT_OBJECT_0) {
                throw std::runtime_error("the simulator has ended");
            }
        }
    });
    PostMessageW(FindWindowW(simulators::ArchiveWindow::className, nullptr), WM_CLOSE, 0, 0);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return time;
}

void MeasureLargeArchive(Figures& figures) {
    // The first opening reads every entry's file and leaves an index for the following ones.
    Row first;
    first.name = "first window of an archive of 100 000 entries, in seconds";
    first.unit = "us";
    first.subject = TimeToWindow(figures.Given().simulator, figures.Given().large);
    first.floor = TimeToWindow(figures.Given().simulator, figures.Given().small);
    first.median = first.lower = first.upper = first.subject / 1e6;
    figures.Add(first, Row::Aim::Shown, 0);
    Row window = ComparedTimes(
        "window of an archive of 100 000 entries / of an empty one", figures.Rounds(3),
        [&] { return TimeToWindow(figures.Given().simulator, figures.Given().large); },
        [&] { return TimeToWindow(figures.Given().simulator, figures.Given().small); });
    figures.Add(window, Row::Aim::AtMost, 1.5);
    window.name = "window of an archive of 100 000 entries, in seconds";
    window.median = window.subject / 1e6;
    window.lower = window.lower * window.floor / 1e6;
    window.upper = window.upper * window.floor / 1e6;
    figures.Add(window, Row::Aim::AtMost, 1.0);

    simulators::ArchiveStore large(TextFromUtf8(figures.Given().large));
    simulators::ArchiveStore small(TextFromUtf8(figures.Given().small));
    const std::wstring document = (fs::path(figures.Given().directory) / "Platzhalter.pdf").wstring();
    const auto filing = [&](simulators::ArchiveStore& store) {
        return [&store, &document, folder = *store.CreateFolders(L"\u00b6Sesam\u00b6Muster\u00b6Kredi")] {
            simulators::Entry entry;
            entry.folder = folder;
            entry.mask = 2;
            entry.shortName = L"Miete";
            for (std::int16_t line = 1; line <= 7; ++line) {
                entry.fields[line] = L"Wert";
            }
            store.File(std::move(entry), store.AddToPostbox(document, L"anna"));
        };
    };
    figures.Add(Compared("filing into an archive of 100 000 entries / into an empty one",
                         figures.Rounds(figures.Given().rounds), 20, filing(large), filing(small)),
                Row::Aim::AtMost, 1.5);
}

}  // namespace kandora::benchmarks
