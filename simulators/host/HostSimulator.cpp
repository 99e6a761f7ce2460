/// The accounting's stand-in: serves "FibuNT.Mandant" and calls the archive component as the accounting does.
#include <windows.h>

#include <objbase.h>

#include <chrono>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/Output.h"
#include "simulators/common/Unicode.h"
#include "simulators/host/Accounting.h"
#include "simulators/host/BoxWatcher.h"
#include "simulators/host/ChangesTable.h"
#include "simulators/host/CommandLine.h"
#include "simulators/host/Driver.h"
#include "simulators/host/Menu.h"
#include "simulators/host/ProviderLink.h"
#include "simulators/host/RunReport.h"
#include "simulators/host/ScreenText.h"
#include "simulators/host/StoreReader.h"
#include "simulators/host/YearTable.h"

namespace kandora::simulators {

namespace {

/// How the program ends, for scripts.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitBadInput = 2;

constexpr std::size_t bookingsPerProgressLine = 50;
/// A program that COM has started outlives its last client by this much: the component gives its object back
/// and asks for a new one straight away, and must not be sent to a program that is just ending.
constexpr ULONGLONG lingerMilliseconds = 2000;
constexpr UINT lifeCheckMilliseconds = 250;

class ComApartment {
public:
    ComApartment() {
        const HRESULT code = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        if (FAILED(code)) {
            throw Failure(L"COM steht nicht zur Verfügung: " + DescribeCode(code));
        }
    }
    ~ComApartment() { CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

/// The real accounting's registration is never touched, neither to write nor to use it.
void RefuseForeignRegistration() {
    CLSID registered{};
    if (SUCCEEDED(CLSIDFromProgID(MandantClass().progId.c_str(), &registered)) &&
        registered != MandantClass().id) {
        throw Failure(L"Auf diesem Rechner ist FibuNT.Mandant schon von einem anderen Programm eingetragen. "
                      L"Die Nachbildung "
                      L"lässt diesen Eintrag unberührt und kann hier nicht laufen.");
    }
}

void Register(const std::filesystem::path& client) {
    RefuseForeignRegistration();
    std::wstring command = L"\"" + ProgramPath() + L"\"";
    if (!client.empty()) {
        command += L" --client \"" + std::filesystem::absolute(client).wstring() + L"\"";
    }
    RegisterServer(MandantClass(), command);
}

/// The component finds the class through its ProgID, so that much of a registration must exist even for
/// objects that are served within this process.
void EnsureRegistered(const std::filesystem::path& client) {
    CLSID registered{};
    if (FAILED(CLSIDFromProgID(MandantClass().progId.c_str(), &registered))) {
        Register(client);
        PrintErrorLine(L"FibuNT.Mandant war nicht eingetragen und wurde es jetzt. --unregister nimmt den "
                       L"Eintrag wieder weg.");
    }
    RefuseForeignRegistration();
}

/// Shows how far a year has got: in place at a console, a line now and then elsewhere.
class Progress {
public:
    explicit Progress(std::size_t total) : total_(total) {
        DWORD mode = 0;
        inPlace_ = GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
    }

    void Show(std::size_t done) const {
        const std::wstring text =
            std::to_wstring(done) + L" von " + std::to_wstring(total_) + L" Belegen gespeichert";
        if (inPlace_) {
            const std::wstring line = L"\r" + text + (done == total_ ? L"\r\n" : L"");
            DWORD written = 0;
            WriteConsoleW(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()),
                          &written, nullptr);
        } else if (done % bookingsPerProgressLine == 0 || done == total_) {
            PrintLine(text);
        }
    }

    /// Gives other output a line of its own.
    void Interrupt() const {
        if (inPlace_) {
            PrintLine(L"");
        }
    }

private:
    std::size_t total_;
    bool inPlace_ = false;
};

void PrintLines(const std::vector<std::wstring>& lines) {
    for (const std::wstring& line : lines) {
        PrintLine(line);
    }
}

/// The accounting at work: everything between start and end of the program's main tasks.
class Session {
public:
    explicit Session(const CommandLine& options)
        : options_(options), accounting_(std::make_shared<Accounting>()),
          classObject_(
              MandantClass().id, [accounting = accounting_] { return MakeMandant(accounting); },
              CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER) {}

    Accounting& State() { return *accounting_; }

    void Connect() {
        EnsureRegistered(options_.client);
        provider_ = options_.component.empty() ? ProviderLink::FromRegistration()
                                               : ProviderLink::FromLibrary(options_.component);
        if (options_.answerBoxes) {
            boxes_ = std::make_unique<BoxWatcher>(GetCurrentThreadId(), options_.pictureHook);
        }
    }

    void RunRequests(const std::vector<Request>& requests, const std::wstring& name) {
        if (options_.table && !options_.store.empty()) {
            RunRequestsWithTable(requests, name);
            return;
        }
        const Timer timer(seconds_);
        Driver driver = MakeDriver();
        for (const Request& request : requests) {
            Keep(driver.Run(request, name));
            ShowOutcome(outcomes_.back());
        }
    }

    void RunYear(const std::vector<Request>& requests) {
        const std::size_t first = outcomes_.size();
        const double before = seconds_;
        {
            const Timer timer(seconds_);
            Driver driver = MakeDriver();
            const Progress progress(accounting_->Client()->Bookings().size());
            std::size_t saved = 0;
            for (const Request& request : requests) {
                Keep(driver.Run(request, L"--year"));
                const Outcome& outcome = outcomes_.back();
                saved += outcome.kind == RequestKind::SaveDocument ? 1U : 0U;
                if (FAILED(outcome.code) || !outcome.boxes.empty()) {
                    progress.Interrupt();
                    ShowOutcome(outcome);
                }
                if (outcome.kind == RequestKind::SaveDocument) {
                    progress.Show(saved);
                }
            }
        }
        if (options_.table) {
            ShowTable({outcomes_.begin() + static_cast<std::ptrdiff_t>(first), outcomes_.end()},
                      seconds_ - before);
        }
    }

    void WriteReport() const {
        if (!options_.report.empty()) {
            WriteFileAtomically(options_.report.wstring(), RenderReport(outcomes_, seconds_));
        }
    }

    /// True when a call failed or a voucher is not in the archive although it was sent with a barcode.
    bool HasFailed() const { return failed_; }

private:
    /// Adds the time until it goes to a sum, also when a request cannot be run.
    class Timer {
    public:
        explicit Timer(double& sum) : sum_(sum) {}
        ~Timer() { sum_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;

    private:
        double& sum_;
        std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    };

    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): it is connected before it drives anything
    Driver MakeDriver() { return {*accounting_, provider_.value(), boxes_.get(), options_.printerFile}; }

    /// Reads the archive back after every request. What the accounting changes in its own data is shown with
    /// the request that follows.
    void RunRequestsWithTable(const std::vector<Request>& requests, const std::wstring& name) {
        Driver driver = MakeDriver();
        StoreReader before = StoreReader::Read(options_.store);
        ChangeStep step;
        ChangeTotals totals;
        for (const Request& request : requests) {
            {
                const Timer timer(seconds_);
                Keep(driver.Run(request, name));
            }
            step.outcome = outcomes_.back();
            if (!IsSentToComponent(request.kind)) {
                step.preparations.push_back(DescribeOutcome(step.outcome));
                continue;
            }
            StoreReader after = StoreReader::Read(options_.store);
            totals.Add(CompareStores(before, after));
            PrintLine(L"");
            PrintLines(RenderChange(totals.requests, step, before, after, options_.width));
            before = std::move(after);
            step = {};
        }
        PrintLine(L"");
        PrintLine(RenderChangeTotals(totals));
    }

    void Keep(Outcome outcome) {
        failed_ = failed_ || FAILED(outcome.code);
        outcomes_.push_back(std::move(outcome));
    }

    void ShowOutcome(const Outcome& outcome) const {
        const std::wstring indent = L"  ";
        std::vector<std::wstring> lines;
        AppendWrapped(lines, DescribeOutcome(outcome), L"", indent, options_.width);
        for (const AnsweredBox& box : outcome.boxes) {
            AppendBox(lines, box, indent, options_.width);
        }
        PrintLines(lines);
    }

    void ShowTable(const std::vector<Outcome>& outcomes, double seconds) {
        std::optional<StoreReader> store;
        if (!options_.store.empty()) {
            store = StoreReader::Read(options_.store);
            failed_ = failed_ || !IsEverythingFiled(outcomes, *store);
        }
        PrintLine(L"");
        PrintLines(RenderYearTable(*accounting_->Client(), outcomes, store ? &*store : nullptr, seconds,
                                   {options_.tableRows, options_.width}));
    }

    const CommandLine& options_;
    std::shared_ptr<Accounting> accounting_;
    ClassObject classObject_;
    std::unique_ptr<BoxWatcher> boxes_;
    std::optional<ProviderLink> provider_;
    std::vector<Outcome> outcomes_;
    double seconds_ = 0;
    bool failed_ = false;
};

std::vector<Request> ReadRequests(const std::filesystem::path& path) {
    return ParseRequests(FromUtf8(ReadWholeFile(path.wstring())), path.wstring());
}

void RunFile(Session& session, const std::filesystem::path& path) {
    const std::vector<Request> requests = ReadRequests(path);
    CheckRequests(requests, path.wstring(), session.State().Client());
    session.RunRequests(requests, path.wstring());
}

void OpenClient(Session& session, const CommandLine& options) {
    if (options.client.empty()) {
        return;
    }
    ClientFile client = LoadClient(options.client, options.clientCopy);
    for (const std::wstring& complaint : client.UnresolvedReferences()) {
        PrintErrorLine(L"Hinweis: " + complaint);
    }
    session.State().OpenClient(std::move(client));
}

/// A request that cannot be run must not cost the report of those that were.
template <class Work>
int RunAndReport(Session& session, Work work) {
    int result = exitDone;
    try {
        work();
    } catch (const Failure& failure) {
        PrintErrorLine(failure.Message());
        result = exitBadInput;
    }
    session.WriteReport();
    return result == exitDone && session.HasFailed() ? exitFailed : result;
}

DWORD mainThread = 0;

BOOL WINAPI OnConsoleEvent(DWORD) {
    PostThreadMessageW(mainThread, WM_QUIT, 0, 0);
    return TRUE;
}

/// Serves until Ctrl+C, or, started by COM, until the last client has been gone for a while.
void Serve(const CommandLine& options) {
    mainThread = GetCurrentThreadId();
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    if (!options.embedding) {
        PrintLine(L"FibuNT.Mandant wird bedient. Ctrl+C beendet.");
    }
    SetTimer(nullptr, 0, lifeCheckMilliseconds, nullptr);
    bool wasUsed = false;
    constexpr ULONGLONG never = std::numeric_limits<ULONGLONG>::max();
    ULONGLONG end = never;
    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
        if (DispatchObject::LiveObjects() > 0 || ClassObject::IsLocked()) {
            wasUsed = true;
            end = never;
        } else if (wasUsed && end == never) {
            end = GetTickCount64() + lingerMilliseconds;
        }
        if (options.embedding && GetTickCount64() >= end) {
            return;
        }
    }
}

int Run(const std::vector<std::wstring>& arguments) {
    std::wstring help;
    const auto options = ParseCommandLine(arguments, help);
    if (!options) {
        PrintLine(help);
        return exitDone;
    }
    using Task = CommandLine::Task;
    if (options->task == Task::Unregister) {
        UnregisterServer(MandantClass());
        PrintLine(L"FibuNT.Mandant ist nicht mehr eingetragen.");
        return exitDone;
    }
    if (options->task == Task::Menu && arguments.empty() && !HasConsole()) {
        throw Failure(
            L"Es fehlt eine Aufgabe: --requests, --year, --menu, --serve, --register oder --unregister.");
    }
    const ComApartment apartment;
    if (options->task == Task::Register) {
        Register(options->client);
        PrintLine(L"FibuNT.Mandant ist eingetragen.");
        return exitDone;
    }
    // Whatever is wrong with the input shows before the component is created.
    std::vector<Request> requests;
    if (!options->requests.empty()) {
        requests = ReadRequests(options->requests);
    }
    Session session(*options);
    OpenClient(session, *options);
    CheckRequests(requests, options->requests.wstring(), session.State().Client());
    std::vector<Request> year;
    if (options->task == Task::Year) {
        year = YearRequests(*session.State().Client());
    } else if (options->task == Task::Serve) {
        Serve(*options);
        return exitDone;
    }

    try {
        session.Connect();
    } catch (const Failure& failure) {
        PrintErrorLine(failure.Message());
        return exitFailed;
    }
    switch (options->task) {
    case Task::Year:
        return RunAndReport(session, [&] {
            session.RunYear(year);
            if (!requests.empty()) {
                session.RunRequests(requests, options->requests.wstring());
            }
        });
    case Task::Menu:
        return RunAndReport(session, [&] {
            session.RunRequests(ParseRequests(L"InitProvider\nStartProvider", L"Start"), L"Start");
            MenuActions actions;
            actions.run = [&](const std::wstring& text, const std::wstring& name) {
                session.RunRequests(ParseRequests(text, name), name);
            };
            actions.runYear = [&] { session.RunYear(YearRequests(*session.State().Client())); };
            actions.runFile = [&](const std::wstring& path) { RunFile(session, path); };
            RunMenu(session.State(), actions);
        });
    default:
        return RunAndReport(session, [&] { session.RunRequests(requests, options->requests.wstring()); });
    }
}

}  // namespace

}  // namespace kandora::simulators

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    using namespace kandora::simulators;
    try {
        return Run(std::vector<std::wstring>(arguments + 1, arguments + count));
    } catch (const Failure& failure) {
        PrintErrorLine(failure.Message());
    } catch (const std::exception& error) {
        PrintErrorLine(L"Unerwarteter Fehler: " + FromUtf8(error.what()));
        return exitFailed;
    }
    return exitBadInput;
}
