#include "tools/check/ReconcileCommand.h"

#include <algorithm>

#include "tools/check/Interruption.h"
#include "tools/check/OutputFile.h"
#include "tools/check/Page.h"
#include "tools/check/Progress.h"
#include "tools/check/ReconcileReport.h"
#include "tools/check/Reconciliation.h"
#include "tools/check/Reindexing.h"
#include "tools/check/Spreadsheet.h"
#include "tools/check/Wording.h"

namespace kandora::check {

namespace {

class Command {
public:
    Command(Report& report, Surroundings& surroundings, const Subject& subject, const CommandLine& options)
        : report_(report), surroundings_(surroundings), subject_(subject), options_(options) {}

    void Run(bool isArchiveUsable, bool isClientReady) {
        // Before the work: hours later it would be in vain.
        const OutputFile sheet(options_.csv);
        const OutputFile page(options_.html);
        report_.isOfSeveralClients = !options_.clients.empty();
        if (options_.clients.empty()) {
            Compare(isClientReady, {});
        }
        for (const Text& client : options_.clients) {
            if (Interruption::IsWanted()) {
                LeaveOut(client, L"unterbrochen");
            } else {
                CompareClient(client, isArchiveUsable);
            }
        }
        if (report_.isOfSeveralClients && !options_.json) {
            std::ranges::for_each(report_.reconciled,
                                  [](const Reconciled& one) { PrintLine(SummaryOf(one)); });
        }
        sheet.Write([&] { return SpreadsheetOf(report_.reconciled); });
        page.Write([&] {
            return PageWith(PageTemplate(), PageData(report_.reconciled, report_.isOfSeveralClients));
        });
    }

private:
    /// Opens the client through the host's objects and leaves it again; what its user has open stays.
    void CompareClient(const Text& client, bool isArchiveUsable) {
        Say(L"");
        surroundings_.platform.UseClient(client);
        Report checks([&](const Finding& finding) {
            if (finding.verdict != Verdict::Good) {
                report_.Add(finding);
            }
        });
        const bool isReady = CheckHost(checks, subject_, surroundings_, isArchiveUsable);
        Compare(isReady, client);
        surroundings_.globals.ReleaseServices();
        surroundings_.globals.state.folders = {};
        surroundings_.platform.LeaveHost();
        surroundings_.platform.UseClient({});
    }

    void Compare(bool isReady, const Text& client) {
        if (!isReady) {
            LeaveOut(client, L"Zuerst die Fehler und Warnungen zu Archiv und Finanzbuchhaltung beheben");
            return;
        }
        Reconciled result = Reconcile(surroundings_.globals, Options());
        progress_.Clear();
        for (const MaskFill& mask : result.masks) {
            Say(LineOf(LineFinding(mask)));
        }
        if (options_.reindex && result.isComplete) {
            MendDifferences(result);
        }
        Add(std::move(result));
    }

    void LeaveOut(const Text& client, const Text& reason) {
        Reconciled result;
        result.client = client;
        result.reason = reason;
        Add(std::move(result));
    }

    void Add(Reconciled result) {
        if (!report_.isOfSeveralClients) {
            Say(SummaryOf(result));
        }
        report_.reconciled.push_back(std::move(result));
    }

    ReconcileOptions Options() {
        ReconcileOptions options;
        options.days = options_.days;
        options.logs = options_.logs;
        options.isInterrupted = &Interruption::IsWanted;
        options.onProgress = [this](const ReconcileProgress& progress) {
            if (!options_.json) {
                progress_.Show([&](std::uint64_t elapsed) { return ProgressText(progress, elapsed); });
            }
        };
        options.onFinding = [this](const EntryFinding& finding) {
            progress_.Clear();
            Say(LineOf(LineFinding(finding)));
        };
        options.takeMessages = [this] { return surroundings_.screen.TakeMessages(); };
        progress_.Begin();
        return options;
    }

    void MendDifferences(Reconciled& result) {
        const std::vector<EntryFinding> entries = Differing(result);
        if (entries.empty() || !MayWrite(entries.size())) {
            return;
        }
        ReindexWatch watch;
        watch.isInterrupted = &Interruption::IsWanted;
        watch.onEntry = [this](std::int32_t entry, const Text& reason) {
            const Text name = L"Eintrag " + Decimal(entry);
            Say(LineOf(
                reason.empty()
                    ? Finding{area::reconciliation, name, Verdict::Good, L"neu geschrieben", {}}
                    : Finding{area::reconciliation, name, Verdict::Warning, L"nicht geschrieben", reason}));
        };
        result.reindexed = Reindex(surroundings_.globals, entries, watch);
        const Reindexed& done = *result.reindexed;
        Say(CountOf(done.written.size()) + L" neu geschrieben, " + CountOf(done.left.size()) +
            L" ausgelassen, " + CountOf(entries.size() - done.written.size() - done.left.size()) +
            L" nicht versucht");
        if (!done.failure.empty()) {
            Say(LineOf({area::reconciliation, L"Neu schreiben", Verdict::Failure, done.failure,
                        L"Ursache beheben und wiederholen; was geschrieben ist, bleibt"}));
        }
    }

    static Text CountOf(std::size_t count) {
        return Counted(static_cast<std::int64_t>(count), L" Eintrag", L" Einträge");
    }

    bool MayWrite(std::size_t count) const {
        if (options_.yes) {
            return true;
        }
        PrintLine(CountOf(count) + L" neu schreiben? Der Status wird dabei «Pendent». [j/N]");
        const Text answer = LowerCase(ReadLine());
        return answer == L"j" || answer == L"ja";
    }

    void Say(TextView line) const {
        if (!options_.json) {
            PrintLine(line);
        }
    }

    Report& report_;
    Surroundings& surroundings_;
    const Subject& subject_;
    const CommandLine& options_;
    ProgressLine progress_;
};

}  // namespace

void ReconcileAsTold(Report& report, Surroundings& surroundings, const Subject& subject,
                     const CommandLine& options, bool isArchiveUsable, bool isClientReady) {
    const Interruption interruption;
    Command(report, surroundings, subject, options).Run(isArchiveUsable, isClientReady);
}

}  // namespace kandora::check
