// The accounting's stand-in: serves "FibuNT.Mandant" and calls the archive component as the accounting does.

#include <windows.h>

#include <objbase.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/LocalServer.h"
#include "simulators/common/Output.h"
#include "simulators/host/Accounting.h"
#include "simulators/host/CommandLine.h"
#include "simulators/host/Driver.h"
#include "simulators/host/MandantRegistration.h"
#include "simulators/host/Menu.h"
#include "simulators/host/RequestFile.h"
#include "simulators/host/Session.h"

namespace kandora::simulators {

namespace {

/// How the program ends, for scripts.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitBadInput = 2;

constexpr UINT lifeCheckMilliseconds = 250;

std::vector<Request> ReadRequests(const std::filesystem::path& path) {
    return ParseRequests(TextFromUtf8(ReadWholeFile(path.wstring())), path.wstring());
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
            end = GetTickCount64() + 1000ULL * options.linger;
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
    const Apartment apartment;
    if (options->task == Task::Register) {
        RegisterMandant(options->client, options->linger);
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
        PrintErrorLine(L"Unerwarteter Fehler: " + kandora::TextFromUtf8(error.what()));
        return exitFailed;
    }
    return exitBadInput;
}
