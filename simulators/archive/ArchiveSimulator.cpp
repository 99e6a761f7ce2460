// ArchiveSimulator.exe: the archive stand-in as a program.
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>

#include <algorithm>
#include <array>
#include <memory>

#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "interfaces/ComPtr.h"
#include "simulators/archive/ArchiveObject.h"
#include "simulators/archive/Window.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/LocalServer.h"
#include "simulators/common/Output.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr CLSID archiveClassId = {
    0x6D1C7B52, 0x0A94, 0x4E3B, {0x9C, 0x5E, 0x3F, 0x27, 0xB8, 0xD1, 0x60, 0x4A}};

constexpr int exitUsage = 2;

constexpr unsigned defaultLinger = 5;  // seconds
constexpr unsigned longestLinger = 24 * 60 * 60;
constexpr UINT lingerCheck = 500;  // milliseconds

ServerClass ArchiveClass() {
    return {archiveClassId, archiveProgId, L"Archiv-Simulator"};
}

struct Options {
    bool registers = false;
    bool unregisters = false;
    bool stops = false;
    bool isHidden = false;
    bool isStartedByCom = false;
    std::string sample;
    std::string store;
    std::string script;
    std::string trace;
    /// How long a program that COM started waits for another client after the last one, in seconds.
    unsigned linger = defaultLinger;
};

std::wstring FullPath(const std::string& path) {
    std::wstring full = LongPath(TextFromUtf8(path)).substr(4);
    while (full.size() > 3 && (full.back() == L'\\' || full.back() == L'/')) {
        full.pop_back();
    }
    return full;
}

/// One event per store, so that a running program can be told to end without knowing its process.
std::wstring StopEventName(const std::wstring& store) {
    std::wstring name = FoldCase(store);
    std::ranges::replace(name, L'\\', L'/');
    return L"Local\\Kandora.ArchiveSimulator.Stop." + name;
}

class StopEvent {
public:
    explicit StopEvent(const std::wstring& store)
        : handle_(CreateEventW(nullptr, TRUE, FALSE, StopEventName(store).c_str())) {
        // An event left set by an earlier request would end this program at once.
        ResetEvent(handle_);
        forConsole = handle_;
        SetConsoleCtrlHandler(&StopEvent::OnConsoleEvent, TRUE);
    }
    ~StopEvent() {
        SetConsoleCtrlHandler(&StopEvent::OnConsoleEvent, FALSE);
        CloseHandle(handle_);
    }
    StopEvent(const StopEvent&) = delete;
    StopEvent& operator=(const StopEvent&) = delete;

    HANDLE Handle() const noexcept { return handle_; }

private:
    static BOOL WINAPI OnConsoleEvent(DWORD) {
        SetEvent(forConsole);
        return TRUE;
    }

    static inline HANDLE forConsole = nullptr;
    HANDLE handle_;
};

int Stop(const std::wstring& store) {
    const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, StopEventName(store).c_str());
    if (event == nullptr) {
        PrintLine(L"Für dieses Archiv läuft kein Archiv-Simulator: " + store);
        return 0;
    }
    SetEvent(event);
    CloseHandle(event);
    const std::wstring lock = store + L"\\archiv.lock";
    constexpr ULONGLONG patience = 30000;
    for (const ULONGLONG end = GetTickCount64() + patience; IsFile(lock);) {
        if (GetTickCount64() >= end) {
            throw Failure(L"Der Archiv-Simulator beendet sich nicht: " + store);
        }
        Sleep(20);
    }
    return 0;
}

std::wstring QuotedArgument(const std::wstring& text) {
    return L"\"" + text + L"\"";
}

int Register(const Options& options, const std::wstring& store) {
    // A mistake shows here, to the person who registers, and not when COM starts the program with no one
    // looking.
    ReadArchiveSettings(store + L"\\archiv.json");
    std::wstring command = QuotedArgument(ProgramPath()) + L" --store " + QuotedArgument(store);
    if (!options.script.empty()) {
        CallScript::Read(FullPath(options.script), ArchiveObject::Members());
        command += L" --script " + QuotedArgument(FullPath(options.script));
    }
    if (!options.trace.empty()) {
        command += L" --trace " + QuotedArgument(FullPath(options.trace));
    }
    if (options.isHidden) {
        command += L" --hidden";
    }
    if (options.linger != defaultLinger) {
        command += L" --linger " + std::to_wstring(options.linger);
    }
    RegisterServer(ArchiveClass(), command);
    PrintLine(std::wstring(archiveProgId) + L" ist registriert: " + command);
    return 0;
}

/// Runs until the window is closed, the stop event is set, or nobody needs a program that COM started.
void ServeMessages(ArchiveWindow& window, HANDLE stop, const Options& options) {
    ULONGLONG idleSince = GetTickCount64();
    for (;;) {
        const DWORD timeout = options.isStartedByCom ? lingerCheck : INFINITE;
        const DWORD reason = MsgWaitForMultipleObjectsEx(1, &stop, timeout, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (reason == WAIT_OBJECT_0) {
            return;
        }
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
            if (message.message == WM_QUIT) {
                return;
            }
            if (!window.HandleKeys(message)) {
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
        }
        if (DispatchObject::LiveObjects() > 0 || ClassObject::IsLocked() || window.IsInUse()) {
            idleSince = GetTickCount64();
        }
        if (options.isStartedByCom && GetTickCount64() - idleSince >= 1000ULL * options.linger) {
            return;
        }
    }
}

ArchiveWindow::Appearance AppearanceOf(const Options& options) {
    if (options.isHidden) {
        return ArchiveWindow::Appearance::Concealed;
    }
    return options.isStartedByCom ? ArchiveWindow::Appearance::Minimized : ArchiveWindow::Appearance::Normal;
}

int Serve(const Options& options, const std::wstring& storeDirectory) {
    if (options.isStartedByCom) {
        FreeConsole();  // nobody asked for the one that the system opened
    }
    std::optional<CallScript> script;
    if (!options.script.empty()) {
        script = CallScript::Read(FullPath(options.script), ArchiveObject::Members());
    }
    std::optional<CallTrace> trace;
    if (!options.trace.empty()) {
        trace.emplace(FullPath(options.trace));
    }
    ArchiveStore store(storeDirectory);
    for (const std::wstring& warning : store.Warnings()) {
        PrintErrorLine(L"Hinweis: " + warning);
    }
    const StopEvent stop(storeDirectory);
    ArchiveWindow window(store, AppearanceOf(options));
    ArchiveProgram program{store, window, script ? &*script : nullptr, trace ? &*trace : nullptr};
    window.CountSessionsOf(program);

    // Leaving the apartment ends the objects of clients that are still there, so it has to happen before
    // the things that the objects use are gone.
    const Apartment apartment;
    std::optional<ClassObject> classObject;
    classObject.emplace(archiveClassId,
                        [&program] { return ComPtr<IDispatch>(MakeObject<ArchiveObject>(program).Get()); });
    // Windows forgets the class of a process that has died and starts another one; wine would go on sending
    // clients to the dead one, so that no rehearsal could show how they recover.
    window.BeforeDeath([&classObject] { classObject.reset(); });
    if (!options.isStartedByCom) {
        CLSID registered{};
        if (FAILED(CLSIDFromProgID(archiveProgId, &registered)) || registered != archiveClassId) {
            PrintErrorLine(
                L"Hinweis: " + std::wstring(archiveProgId) +
                L" ist nicht für diesen Simulator registriert; Programme finden ihn erst nach --register.");
        }
        PrintLine(L"Bereit: " + std::wstring(archiveProgId) + L" mit " + std::to_wstring(store.EntryCount()) +
                  L" Einträgen aus " + storeDirectory);
    }
    ServeMessages(window, stop.Handle(), options);
    return 0;
}

int Run(const Options& options) {
    const std::array<bool, 4> actions{options.registers, options.unregisters, options.stops,
                                      !options.sample.empty()};
    if (std::ranges::count(actions, true) > 1) {
        throw Failure(L"--register, --unregister, --stop und --create-sample-store schliessen sich aus.");
    }
    if (!options.sample.empty()) {
        const std::wstring directory = FullPath(options.sample);
        PrintLine((CreateSampleStore(directory) ? L"Das Muster-Archiv ist erstellt: "
                                                : L"Hier ist schon ein Archiv: ") +
                  directory);
        return 0;
    }
    if (options.unregisters) {
        UnregisterServer(ArchiveClass());
        PrintLine(std::wstring(archiveProgId) + L" ist abgemeldet.");
        return 0;
    }
    if (options.store.empty()) {
        throw Failure(L"Die Angabe --store VERZEICHNIS fehlt.");
    }
    const std::wstring store = FullPath(options.store);
    if (options.stops) {
        return Stop(store);
    }
    return options.registers ? Register(options, store) : Serve(options, store);
}

std::wstring GermanMessage(const CLI::ParseError& error) {
    const std::wstring detail = TextFromUtf8(error.what());
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        const std::size_t colon = detail.rfind(L':');
        return L"Unbekannte Angabe:" +
               (colon == std::wstring::npos ? L" " + detail : detail.substr(colon + 1));
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr ||
        dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) {
        return L"Der Wert von --linger ist eine Zahl von 0 bis " + std::to_wstring(longestLinger) + L".";
    }
    const std::wstring option = detail.substr(0, detail.find(L' '));
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return L"Zur Angabe " + option.substr(0, option.find(L':')) + L" gehört genau ein Wert.";
    }
    return L"Die Angaben sind nicht richtig: " + detail;
}

int Main(std::vector<std::string> arguments) {
    Options options;
    // COM adds this one; the parser knows no long names behind a single hyphen.
    const auto isEmbedding = [](const std::string& argument) {
        return EqualIgnoringCase(TextFromUtf8(argument), L"-Embedding") ||
               EqualIgnoringCase(TextFromUtf8(argument), L"/Embedding");
    };
    options.isStartedByCom = std::erase_if(arguments, isEmbedding) > 0;

    CLI::App app("Archiv-Simulator: dient Programmen als Archiv der Klasse ELO.professional.\n"
                 "Ohne --register und --unregister läuft er, bis sein Fenster geschlossen wird.",
                 "ArchiveSimulator.exe");
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.get_formatter()->column_width(40);
    app.option_defaults()->group("Angaben");
    app.set_help_flag("-h,--help", "Zeigt diese Hilfe")->group("Angaben");
    app.add_option("--store", options.store, "Verzeichnis des Archivs")->type_name("VERZEICHNIS");
    app.add_option("--script", options.script, "Probenskript: wie einzelne Aufrufe ausgehen")
        ->type_name("DATEI");
    app.add_option("--trace", options.trace, "Schreibt jeden Aufruf mit Antwort in diese Datei")
        ->type_name("DATEI");
    app.add_option("--linger", options.linger,
                   "So lange wartet der von COM gestartete Simulator auf den nächsten Benutzer (5)")
        ->type_name("SEKUNDEN")
        ->check(CLI::Range(0U, longestLinger));
    app.add_flag("--hidden", options.isHidden, "Zeigt kein Fenster");
    app.add_flag("--register", options.registers,
                 "Registriert die Klasse, so dass COM den Simulator mit diesen Angaben startet");
    app.add_flag("--unregister", options.unregisters, "Entfernt die Registrierung");
    app.add_flag("--stop", options.stops, "Beendet den Simulator, der dieses Archiv geöffnet hat");
    app.add_option("--create-sample-store", options.sample, "Erstellt ein Muster-Archiv")
        ->type_name("VERZEICHNIS");
    try {
        std::ranges::reverse(arguments);  // the parser takes them from the end
        app.parse(std::move(arguments));
        return Run(options);
    } catch (const CLI::CallForHelp&) {
        std::wstring help = TextFromUtf8(app.help());
        while (!help.empty() && help.back() == L'\n') {
            help.pop_back();
        }
        PrintLine(help);
        return 0;
    } catch (const CLI::ParseError& error) {
        PrintErrorLine(GermanMessage(error));
        PrintErrorLine(L"Hilfe: ArchiveSimulator.exe --help");
    } catch (const Failure& failure) {
        PrintErrorLine(failure.Message());
    } catch (const std::exception& error) {
        PrintErrorLine(L"Unerwarteter Fehler: " + TextFromUtf8(error.what()));
    }
    return exitUsage;
}

}  // namespace

}  // namespace kandora::simulators

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    std::vector<std::string> texts;
    for (int index = 1; index < count; ++index) {
        texts.push_back(kandora::Utf8FromText(arguments[index]));
    }
    return kandora::simulators::Main(std::move(texts));
}
