#include "command_line.h"

#include "request_file.h"
#include "simulators/common/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace simulators {
namespace {

// The library's own complaints are English.
std::wstring Complaint(const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
        return L"Einer Angabe auf der Befehlszeile fehlt ihr Wert.";
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error)) {
        return L"Der Wert von --table-rows ist eine Zahl.";
    }
    return L"Die Befehlszeile ist nicht richtig.";
}

}  // namespace

std::optional<CommandLine> ParseCommandLine(const std::vector<std::wstring>& arguments, std::wstring& help) {
    CommandLine result;
    std::vector<std::string> remaining;
    for (const std::wstring& argument : arguments) {
        if (EqualIgnoringCase(argument, L"-Embedding") || EqualIgnoringCase(argument, L"/Embedding")) {
            result.embedding = true;
        } else {
            remaining.push_back(ToUtf8(argument));
        }
    }

    CLI::App app(ToUtf8(L"Nachbildung der Finanzbuchhaltung: bedient «FibuNT.Mandant» aus einer "
                        L"Mandantendatei und ruft die "
                        L"Archivkomponente so auf, wie es die Buchhaltung tut."),
                 "HostSimulator.exe");
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.option_defaults()->group("Angaben");
    app.allow_extras();
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->label("TEXT", "DATEI");
    app.get_formatter()->label("UINT", "ZAHL");
    app.get_formatter()->column_width(28);
    app.set_help_flag("-h,--help", "Zeigt diese Hilfe.")->group("Angaben");
    std::string client;
    std::string clientCopy;
    std::string requests;
    std::string component;
    std::string report;
    std::string store;
    bool year = false;
    bool menu = false;
    bool serve = false;
    bool registerClass = false;
    bool unregisterClass = false;
    app.add_option("--client", client, "Mandantendatei (JSON)");
    app.add_option("--client-copy", clientCopy,
                   "Arbeitet auf einer Kopie der Mandantendatei, die hier angelegt wird.");
    app.add_option("--requests", requests, "Sendet die Anfragen dieser Datei.");
    app.add_flag("--year", year, "Speichert alle Buchungen des Mandanten.");
    app.add_flag("--menu", menu, ToUtf8(L"Bietet Beispielläufe zur Auswahl an (Vorgabe an der Konsole)."));
    app.add_flag("--serve", serve, ToUtf8(L"Bedient nur «FibuNT.Mandant», bis Ctrl+C gedrückt wird."));
    app.add_option("--component", component,
                   ToUtf8(L"Lädt die Komponente aus dieser DLL statt aus der Registrierung."));
    app.add_flag("--answer-boxes", result.answerBoxes,
                 ToUtf8(L"Bestätigt Meldungen und Eingabefenster von selbst."));
    app.add_option("--report", report, "Schreibt das Ergebnis als JSON in diese Datei.");
    app.add_flag("--table", result.table, ToUtf8(L"Zeigt nach --year, was wo abgelegt wurde."));
    app.add_option("--table-rows", result.tableRows,
                   ToUtf8(L"Einträge je Buchungsart in der Tabelle, 0 für alle."));
    app.add_option("--store", store,
                   ToUtf8(L"Ablageordner des Archivs, aus dem die Tabelle gelesen wird (Ordner)."));
    app.add_flag("--register", registerClass, ToUtf8(L"Trägt «FibuNT.Mandant» in die Registrierung ein."));
    app.add_flag("--unregister", unregisterClass, "Nimmt den Eintrag wieder weg.");

    std::reverse(remaining.begin(), remaining.end());
    try {
        app.parse(remaining);
    } catch (const CLI::CallForHelp&) {
        help = FromUtf8(app.help());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(Complaint(error) + L" Hilfe gibt HostSimulator.exe --help.");
    }
    if (const auto extras = app.remaining(); !extras.empty()) {
        throw Failure(L"Unbekannte Angabe " + Guillemets(FromUtf8(extras.front())) +
                      L". Hilfe gibt HostSimulator.exe --help.");
    }

    result.client = FromUtf8(client);
    result.clientCopy = FromUtf8(clientCopy);
    result.requests = FromUtf8(requests);
    result.component = FromUtf8(component);
    result.report = FromUtf8(report);
    result.store = FromUtf8(store);
    if ((!requests.empty()) + year + menu + serve + registerClass + unregisterClass > 1) {
        throw Failure(L"Nur eine dieser Angaben ist möglich: --requests, --year, --menu, --serve, "
                      L"--register, --unregister.");
    }
    using Task = CommandLine::Task;
    result.task = !requests.empty()           ? Task::Requests
                  : year                      ? Task::Year
                  : registerClass             ? Task::Register
                  : unregisterClass           ? Task::Unregister
                  : serve || result.embedding ? Task::Serve
                                              : Task::Menu;
    const bool needsClient =
        result.task == Task::Requests || result.task == Task::Year || result.task == Task::Menu;
    if (needsClient && client.empty()) {
        throw Failure(L"Es fehlt die Mandantendatei: --client DATEI. Hilfe gibt HostSimulator.exe --help.");
    }
    if (!clientCopy.empty() && client.empty()) {
        throw Failure(L"--client-copy braucht --client.");
    }
    if (result.table && result.task == Task::Requests) {
        throw Failure(L"--table gibt es nur zusammen mit --year.");
    }
    return result;
}

}  // namespace simulators
