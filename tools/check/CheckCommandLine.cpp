#include "tools/check/CheckCommandLine.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "interfaces/CodePages.h"
#include "tools/check/Report.h"

namespace kandora::check {

namespace {

struct Given {
    CommandLine flags;
    std::string component;
    std::string hostTypeLib;
    std::vector<std::string> voucher;
    bool version = false;
};

void Declare(CLI::App& app, Given& given) {
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->column_width(34);
    app.option_defaults()->group("Angaben");
    app.allow_extras();
    app.footer(Utf8FromText(L"Prüft nur und ändert nichts, ausser mit --probe und --adopt.\n"
                            L"Ergebnis: 0 alles gut, 1 Warnungen, 2 Fehler."));
    app.set_help_flag("-h,--help", "Zeigt diese Hilfe.")->group("Angaben");
    app.add_flag("--version", given.version, "Zeigt die Version.");
    app.add_flag("--json", given.flags.json, Utf8FromText(L"Gibt das Ergebnis als JSON aus, für Skripte."));
    app.add_option("--component", given.component,
                   Utf8FromText(L"Prüft diese Kandora.dll (oder die zu dieser INI-Datei gehörende) statt der "
                                L"registrierten."))
        ->type_name("DATEI");
    app.add_option("--voucher", given.voucher,
                   Utf8FromText(L"Zeigt, was eine Ablage dieses Belegs schreiben würde, ohne zu schreiben."))
        ->expected(2)
        ->type_name("NUMMER INDEX");
    app.add_flag(
        "--probe", given.flags.probe,
        Utf8FromText(
            L"Legt in jeden Ordner des Mandanten einen Platzhalter ab, liest ihn zurück und entfernt "
            L"ihn wieder."));
    app.add_option(
           "--host-typelib", given.hostTypeLib,
           Utf8FromText(L"Typbibliothek der Finanzbuchhaltung, deren DMSProvider verglichen wird; sonst wird "
                        L"die registrierte gesucht."))
        ->type_name("DATEI");
    app.add_flag(
        "--adopt", given.flags.adopt,
        Utf8FromText(L"Lässt Kandora auf die Kennung der Finanzbuchhaltung antworten, wenn deren Methoden "
                     L"übereinstimmen."));
}

Text Complaint(const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return L"Einer Angabe auf der Befehlszeile fehlt ein Wert (--voucher hat zwei, --component und "
               L"--host-typelib haben einen).";
    }
    return L"Die Befehlszeile ist nicht richtig.";
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<Text>& arguments) {
    CLI::App app(Utf8FromText(L"Prüft, ob Kandora auf diesem Arbeitsplatz richtig eingerichtet ist."),
                 "kandora-check");
    Given given;
    Declare(app, given);
    std::vector<std::string> remaining;
    std::ranges::transform(arguments, std::back_inserter(remaining),
                           [](const Text& argument) { return Utf8FromText(argument); });
    // The library takes the arguments last one first.
    std::ranges::reverse(remaining);
    try {
        app.parse(remaining);
    } catch (const CLI::CallForHelp&) {
        given.flags.answer = TextFromUtf8(app.help());
        return given.flags;
    } catch (const CLI::ParseError& error) {
        throw UsageError(Complaint(error));
    }
    if (const auto extras = app.remaining(); !extras.empty()) {
        throw UsageError(L"Unbekannte Angabe «" + TextFromUtf8(extras.front()) + L"».");
    }
    CommandLine result = given.flags;
    if (given.version) {
        result.answer = L"kandora-check " KANDORA_VERSION;
    }
    result.component = TextFromUtf8(given.component);
    result.hostTypeLib = TextFromUtf8(given.hostTypeLib);
    if (!given.voucher.empty()) {
        result.voucher = {TextFromUtf8(given.voucher[0]), TextFromUtf8(given.voucher[1])};
    }
    return result;
}

}  // namespace kandora::check
