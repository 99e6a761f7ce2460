// kandora-check.exe: tells an administrator whether this installation works.

#include <utility>

#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"
#include "tools/check/Checks.h"
#include "tools/check/ReconcileCommand.h"

namespace kandora::check {

namespace {

constexpr int exitFailure = 2;

/// Runs one part of the checks. An error that it does not handle becomes a finding; the others go on.
template <class Part>
bool Guarded(Report& report, const wchar_t* area, Part&& part) {
    try {
        return std::forward<Part>(part)();
    } catch (...) {
        report.Fail(area, L"Prüfung", TextOfError(CurrentError()),
                    L"Diese Prüfung konnte nicht beendet werden");
        return false;
    }
}

void CheckEverything(Report& report, const CommandLine& options) {
    const OwnRights rights = RightsOfThisProgram();
    const Subject subject = FindSubject(options.component, rights);
    const auto run = [&](const wchar_t* area, const auto& part) { return Guarded(report, area, part); };
    CheckRights(report, rights);
    run(area::component, [&] {
        CheckComponent(report, subject, rights);
        return true;
    });
    Surroundings surroundings(subject.file, rights);
    const bool hasSettings = run(area::settings, [&] { return CheckSettings(report, surroundings); });
    const bool isArchiveUsable =
        run(area::archive, [&] { return CheckArchive(report, subject, surroundings); });
    // Other clients than the one that is open are looked at one by one, when their turn comes.
    const bool isClientReady = options.clients.empty() && run(area::host, [&] {
                                   return CheckHost(report, subject, surroundings, isArchiveUsable);
                               });
    if (hasSettings) {
        CheckFolders(report, subject, surroundings);
    }
    run(area::hostInterface, [&] {
        CheckHostInterface(report, subject, options.hostTypeLib, options.adopt);
        return true;
    });
    constexpr const wchar_t* notReady = L"nicht möglich";
    constexpr const wchar_t* notReadyHint =
        L"Zuerst die Fehler und Warnungen zu Archiv und Finanzbuchhaltung "
        L"beheben";
    if (options.voucher) {
        if (isClientReady) {
            PreviewVoucher(report, surroundings, options.voucher->number, options.voucher->index);
        } else {
            report.Fail(area::preview, L"Beleg " + options.voucher->number, notReady, notReadyHint);
        }
    }
    if (options.probe) {
        if (isClientReady) {
            run(area::probe, [&] {
                Probe(report, surroundings);
                return true;
            });
        } else {
            report.Fail(area::probe, L"Ablage", notReady, notReadyHint);
        }
    }
    if (options.reconcile) {
        ReconcileAsTold(report, surroundings, subject, options, isArchiveUsable, isClientReady);
    }
    surroundings.globals.ReleaseServices();  // logs out of the archive
    surroundings.platform.LeaveHost();
}

int Run(const std::vector<Text>& arguments) {
    const CommandLine options = ParseCommandLine(arguments);
    if (!options.answer.empty()) {
        PrintLine(options.answer);
        return 0;
    }
    const Apartment apartment;
    Report report([&](const Finding& finding) {
        if (!options.json) {
            PrintLine(LineOf(finding));
        }
    });
    CheckEverything(report, options);
    if (options.json) {
        PrintLine(TextFromUtf8(report.Json()));
    } else if (!options.reconcile) {
        PrintLine(report.Summary());
    }
    return report.ExitCode();
}

}  // namespace

}  // namespace kandora::check

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    using namespace kandora;
    using namespace kandora::check;
    try {
        return Run(std::vector<Text>(arguments + 1, arguments + count));
    } catch (const UsageError& error) {
        PrintErrorLine(error.Message());
        PrintErrorLine(L"Hilfe: kandora-check --help");
    } catch (...) {
        PrintErrorLine(L"Unerwarteter Fehler: " + TextOfError(CurrentError()));
    }
    return exitFailure;
}
