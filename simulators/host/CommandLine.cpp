#include "simulators/host/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string_view>

#include "interfaces/CodePages.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Unicode.h"
#include "simulators/host/RequestFile.h"

namespace kandora::simulators {

namespace {

/// Columns: the tables do not fit into fewer, and no screen has more.
constexpr int narrowestOutput = 80;
constexpr int widestOutput = 1000;

std::wstring WidthRange() {
    return std::to_wstring(narrowestOutput) + L" bis " + std::to_wstring(widestOutput);
}

/// In German; the library's own complaints are English.
std::wstring Complaint(const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
        return L"Einer Angabe auf der Befehlszeile fehlt ihr Wert.";
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error)) {
        const bool isLinger = std::string_view(error.what()).find("--linger") != std::string_view::npos;
        return std::wstring(L"Der Wert von ") + (isLinger ? L"--linger" : L"--table-rows") +
               L" ist eine Zahl.";
    }
    if (dynamic_cast<const CLI::ValidationError*>(&error)) {
        return L"Der Wert von --width ist eine Zahl von " + WidthRange() + L".";
    }
    return L"Die Befehlszeile ist nicht richtig.";
}

/// The values as the library fills them in: UTF-8.
struct Given {
    std::string client;
    std::string clientCopy;
    std::string requests;
    std::string component;
    std::string report;
    std::string store;
    std::string printerFile;
    std::string pictureHook;
    unsigned linger = CommandLine().linger;
    bool answerBoxes = false;
    bool table = false;
    std::size_t tableRows = CommandLine().tableRows;
    std::size_t width = CommandLine().width;
    bool year = false;
    bool menu = false;
    bool serve = false;
    bool registerClass = false;
    bool unregisterClass = false;
};

void Declare(CLI::App& app, Given& given) {
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->label("TEXT", "PFAD");
    app.get_formatter()->label("UINT", "ZAHL");
    app.get_formatter()->column_width(28);
    app.option_defaults()->group("Angaben");
    app.allow_extras();
    app.set_help_flag("-h,--help", "Zeigt diese Hilfe.")->group("Angaben");
    app.add_option("--client", given.client, "Mandantendatei (JSON)");
    app.add_option("--client-copy", given.clientCopy,
                   "Arbeitet auf einer Kopie der Mandantendatei, die hier angelegt wird.");
    app.add_option("--requests", given.requests,
                   Utf8FromText(L"Sendet die Anfragen dieser Datei, mit --year nach den Buchungen."));
    app.add_flag("--year", given.year, "Speichert alle Buchungen des Mandanten.");
    app.add_flag("--menu", given.menu,
                 Utf8FromText(L"Bietet Beispielläufe zur Auswahl an (Vorgabe an der Konsole)."));
    app.add_flag("--serve", given.serve,
                 Utf8FromText(L"Bedient nur «FibuNT.Mandant», bis Ctrl+C gedrückt wird."));
    app.add_option("--component", given.component,
                   Utf8FromText(L"Lädt die Komponente aus dieser DLL statt aus der Registrierung."));
    app.add_flag("--answer-boxes", given.answerBoxes,
                 Utf8FromText(L"Bestätigt Meldungen und Eingabefenster von selbst."));
    app.add_option("--report", given.report, "Schreibt das Ergebnis als JSON in diese Datei.");
    app.add_flag(
        "--table", given.table,
        Utf8FromText(L"Zeigt nach --year, was wo abgelegt wurde, und nach --requests, was sich im Archiv "
                     L"geändert hat."));
    app.add_option("--table-rows", given.tableRows,
                   Utf8FromText(L"Einträge je Buchungsart in der Tabelle, 0 für alle."));
    app.add_option("--width", given.width,
                   Utf8FromText(L"Spalten, die die Ausgabe breit sein darf: " + WidthRange() +
                                L", ohne Angabe " + std::to_wstring(given.width) + L"."))
        // The library would describe the range in English.
        ->check(CLI::Range(narrowestOutput, widestOutput).description(""));
    app.add_option("--store", given.store, "Ablageordner des Archivs, aus dem die Tabelle gelesen wird.");
    app.add_option(
        "--printer-file", given.printerFile,
        Utf8FromText(L"Datei, in die PrintDocument vor der Anfrage eine Saldobilanz (PDF) druckt."));
    app.add_option(
        "--picture-hook", given.pictureHook,
        Utf8FromText(L"Schreibt vor dem Klick auf «Archivieren» PFAD.ready und wartet auf PFAD.done."));
    app.add_option(
        "--linger", given.linger,
        Utf8FromText(L"Mit --register: so viele Sekunden bleibt die von COM gestartete Nachbildung nach "
                     L"dem letzten Benutzer, ohne Angabe " +
                     std::to_wstring(given.linger) + L"."));
    app.add_flag("--register", given.registerClass,
                 Utf8FromText(L"Trägt «FibuNT.Mandant» in die Registrierung ein."));
    app.add_flag("--unregister", given.unregisterClass, "Nimmt den Eintrag wieder weg.");
}

CommandLine::Task TaskOf(const Given& given, bool embedding) {
    using Task = CommandLine::Task;
    std::vector<Task> tasks;
    const auto add = [&](bool wanted, Task task) {
        if (wanted) {
            tasks.push_back(task);
        }
    };
    add(!given.requests.empty() && !given.year, Task::Requests);
    add(given.year, Task::Year);
    add(given.menu, Task::Menu);
    add(given.serve || embedding, Task::Serve);
    add(given.registerClass, Task::Register);
    add(given.unregisterClass, Task::Unregister);
    if (tasks.size() > 1) {
        throw Failure(
            L"Nur eine dieser Angaben ist möglich: --requests oder --year, --menu, --serve, --register, "
            L"--unregister.");
    }
    return tasks.empty() ? Task::Menu : tasks.front();
}

void RequireSense(const CommandLine& options) {
    using Task = CommandLine::Task;
    const bool needsClient =
        options.task == Task::Requests || options.task == Task::Year || options.task == Task::Menu;
    if (needsClient && options.client.empty()) {
        throw Failure(L"Es fehlt die Mandantendatei: --client DATEI. Hilfe gibt HostSimulator.exe --help.");
    }
    if (!options.clientCopy.empty() && options.client.empty()) {
        throw Failure(L"--client-copy braucht --client.");
    }
    if (options.table && options.task == Task::Requests && options.store.empty()) {
        throw Failure(L"--table braucht bei --requests den Ablageordner des Archivs: --store ORDNER.");
    }
    if (!options.pictureHook.empty() && !options.answerBoxes) {
        throw Failure(L"--picture-hook gibt es nur zusammen mit --answer-boxes.");
    }
}

}  // namespace

std::optional<CommandLine> ParseCommandLine(const std::vector<std::wstring>& arguments, std::wstring& help) {
    CommandLine result;
    std::vector<std::string> remaining;
    for (const std::wstring& argument : arguments) {
        if (EqualIgnoringCase(argument, L"-Embedding") || EqualIgnoringCase(argument, L"/Embedding")) {
            result.embedding = true;
        } else {
            remaining.push_back(Utf8FromText(argument));
        }
    }
    CLI::App app(
        Utf8FromText(
            L"Nachbildung der Finanzbuchhaltung: bedient «FibuNT.Mandant» aus einer Mandantendatei und "
            L"ruft die Archivkomponente so auf, wie es die Buchhaltung tut."),
        "HostSimulator.exe");
    Given given;
    Declare(app, given);
    // The library takes the arguments last one first.
    std::ranges::reverse(remaining);
    try {
        app.parse(remaining);
    } catch (const CLI::CallForHelp&) {
        help = TextFromUtf8(app.help());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(Complaint(error) + L" Hilfe gibt HostSimulator.exe --help.");
    }
    if (const auto extras = app.remaining(); !extras.empty()) {
        throw Failure(L"Unbekannte Angabe " + Guillemets(TextFromUtf8(extras.front())) +
                      L". Hilfe gibt HostSimulator.exe --help.");
    }
    result.task = TaskOf(given, result.embedding);
    result.client = TextFromUtf8(given.client);
    result.clientCopy = TextFromUtf8(given.clientCopy);
    result.requests = TextFromUtf8(given.requests);
    result.component = TextFromUtf8(given.component);
    result.report = TextFromUtf8(given.report);
    result.store = TextFromUtf8(given.store);
    result.printerFile = TextFromUtf8(given.printerFile);
    result.pictureHook = TextFromUtf8(given.pictureHook);
    result.answerBoxes = given.answerBoxes;
    result.table = given.table;
    result.tableRows = given.tableRows;
    result.width = given.width;
    result.linger = given.linger;
    RequireSense(result);
    return result;
}

}  // namespace kandora::simulators
