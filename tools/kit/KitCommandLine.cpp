#include "tools/kit/KitCommandLine.h"

#include <algorithm>
#include <iterator>

#include "interfaces/CodePages.h"
#include "tools/check/Arguments.h"

namespace kandora::kit {

namespace {

struct Given {
    KitCommandLine flags;
    std::vector<std::string> only;
    std::string report;
    bool version = false;
};

void Declare(CLI::App& app, Given& given) {
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->column_width(30);
    app.option_defaults()->group("Angaben");
    app.allow_extras();
    app.footer(Utf8FromText(
        L"Ohne Angaben läuft alles, was auf diesem Windows laufen kann. Was über diesen Ordner und den "
        L"Bereich des Benutzers in der Registrierung hinausgeht, wird vorher gefragt. Ctrl+C bricht ab und "
        L"gibt alles "
        L"zurück.\n"
        L"Ergebnis: 0 alles bestanden, 1 etwas gescheitert, 2 nicht zu Ende gekommen."));
    app.set_help_flag("-h,--help", "Zeigt diese Hilfe.")->group("Angaben");
    app.add_flag("--version", given.version, "Zeigt die Version.");
    app.add_flag("--list", given.flags.list,
                 Utf8FromText(L"Zählt auf, was es zu prüfen gibt, und führt nichts aus."));
    app.add_option("--only", given.only, "Nur diese Tests oder Teile.")->type_name("NAME");
    app.add_flag("--yes", given.flags.yes, "Bejaht alle Fragen, für Skripte.");
    app.add_option("--report", given.report,
                   Utf8FromText(L"Schreibt den Bericht in diese Datei statt neben das Programm."))
        ->type_name("DATEI");
    app.add_flag("--without-package", given.flags.withoutPackage, "Installiert das Paket nicht.");
    app.add_flag("--without-measurements", given.flags.withoutMeasurements,
                 "Misst nicht, wie lange Aufrufe dauern.");
}

std::vector<Text> TextsFrom(const std::vector<std::string>& given) {
    std::vector<Text> texts;
    std::ranges::transform(given, std::back_inserter(texts),
                           [](const std::string& each) { return TextFromUtf8(each); });
    return texts;
}

Text Complaint(const CLI::ParseError& error) {
    return dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr
               ? L"Einer Angabe auf der Befehlszeile fehlt ein Wert."
               : L"Die Befehlszeile ist nicht richtig.";
}

}  // namespace

KitCommandLine ParseKitCommandLine(const std::vector<Text>& arguments) {
    CLI::App app(
        Utf8FromText(L"Prüft Kandora auf diesem Windows und schreibt einen Bericht zum Zurücksenden."),
        "pruefen");
    Given given;
    Declare(app, given);
    given.flags.answer = check::ReadArguments(app, arguments, Complaint);
    if (!given.flags.answer.empty()) {
        return given.flags;
    }
    KitCommandLine result = given.flags;
    if (given.version) {
        result.answer = L"pruefen " KANDORA_VERSION;
    }
    result.only = TextsFrom(given.only);
    result.report = TextFromUtf8(given.report);
    return result;
}

}  // namespace kandora::kit
