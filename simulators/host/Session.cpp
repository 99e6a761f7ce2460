#include "simulators/host/Session.h"

#include <windows.h>

#include <chrono>
#include <cstddef>
#include <utility>

#include "simulators/common/Files.h"
#include "simulators/common/Output.h"
#include "simulators/host/ChangesTable.h"
#include "simulators/host/MandantRegistration.h"
#include "simulators/host/Progress.h"
#include "simulators/host/RunReport.h"
#include "simulators/host/ScreenText.h"
#include "simulators/host/StoreReader.h"
#include "simulators/host/YearTable.h"

namespace kandora::simulators {

namespace {

/// Adds its lifetime in seconds to a sum, so that requests that throw count, too.
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

void PrintLines(const std::vector<std::wstring>& lines) {
    for (const std::wstring& line : lines) {
        PrintLine(line);
    }
}

}  // namespace

Session::Session(const CommandLine& options)
    : options_(options), accounting_(std::make_shared<Accounting>()),
      classObject_(
          MandantClass().id, [accounting = accounting_] { return MakeMandant(accounting); },
          CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER) {}

Driver Session::MakeDriver() {
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): Connect comes before everything that drives
    return {*accounting_, provider_.value(), boxes_.get(), options_.printerFile};
}

void Session::Connect() {
    EnsureMandantRegistered(options_.client);
    provider_ = options_.component.empty() ? ProviderLink::FromRegistration()
                                           : ProviderLink::FromLibrary(options_.component);
    if (options_.answerBoxes) {
        boxes_ = std::make_unique<BoxWatcher>(GetCurrentThreadId(), options_.pictureHook);
    }
}

void Session::RunRequests(const std::vector<Request>& requests, const std::wstring& name) {
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

void Session::RunYear(const std::vector<Request>& requests) {
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

void Session::WriteReport() const {
    if (!options_.report.empty()) {
        WriteFileAtomically(options_.report.wstring(), RenderReport(outcomes_, seconds_));
    }
}

/// Changes of the accounting's own data are shown with the request that follows them.
void Session::RunRequestsWithTable(const std::vector<Request>& requests, const std::wstring& name) {
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

void Session::Keep(Outcome outcome) {
    failed_ = failed_ || FAILED(outcome.code);
    outcomes_.push_back(std::move(outcome));
}

void Session::ShowOutcome(const Outcome& outcome) const {
    const std::wstring indent = L"  ";
    std::vector<std::wstring> lines;
    AppendWrapped(lines, DescribeOutcome(outcome), L"", indent, options_.width);
    for (const AnsweredBox& box : outcome.boxes) {
        AppendBox(lines, box, indent, options_.width);
    }
    PrintLines(lines);
}

void Session::ShowTable(const std::vector<Outcome>& outcomes, double seconds) {
    std::optional<StoreReader> store;
    if (!options_.store.empty()) {
        store = StoreReader::Read(options_.store);
        failed_ = failed_ || !IsEverythingFiled(outcomes, *store);
    }
    PrintLine(L"");
    PrintLines(RenderYearTable(*accounting_->Client(), outcomes, store ? &*store : nullptr, seconds,
                               {options_.tableRows, options_.width}));
}

}  // namespace kandora::simulators
