// kandora-check.exe: tells an administrator whether this installation works.

#include <exception>

#include <windows.h>

#include <objbase.h>

#include "tools/check/checks.h"
#include "tools/check/command_line.h"

namespace kandora::check {

namespace {

constexpr int exitFailure = 2;

class Apartment {
public:
    Apartment() { RequireSuccess(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

void CheckEverything(Report& report, const CommandLine& options) {
    const Subject subject = FindSubject(options.component);
    CheckComponent(report, subject);
    Surroundings surroundings(subject.file);
    const bool hasSettings = CheckSettings(report, surroundings);
    const bool isArchiveUsable = CheckArchive(report, subject, surroundings);
    const bool isClientReady = CheckHost(report, subject, surroundings, isArchiveUsable);
    if (hasSettings) {
        CheckFolders(report, surroundings);
    }
    CheckHostInterface(report, subject, options.hostTypeLib, options.adopt);
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
            Probe(report, surroundings);
        } else {
            report.Fail(area::probe, L"Ablage", notReady, notReadyHint);
        }
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
    PrintLine(options.json ? TextFromUtf8(report.Json()) : report.Summary());
    return report.ExitCode();
}

}  // namespace

}  // namespace kandora::check

int wmain(int count, wchar_t** arguments) {
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
