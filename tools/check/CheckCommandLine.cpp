#include "tools/check/CheckCommandLine.h"

#include <algorithm>

#include "interfaces/CodePages.h"
#include "tools/check/Arguments.h"
#include "tools/check/FileSystem.h"

namespace kandora::check {

namespace {

struct Given {
    CommandLine flags;
    std::string component;
    std::string hostTypeLib;
    std::vector<std::string> voucher;
    std::string logs;
    std::string csv;
    std::string html;
    std::vector<std::string> clients;
    bool version = false;
};

void DeclareReconciliation(CLI::App& app, Given& given) {
    app.add_flag(
        "--reconcile", given.flags.reconcile,
        Utf8FromText(L"Vergleicht alle Einträge des Mandanten mit der Finanzbuchhaltung und nennt, was "
                     L"nicht stimmt, ohne zu schreiben."));
    app.add_flag(
        "--reindex", given.flags.reindex,
        Utf8FromText(L"Vergleicht und schreibt dann, nach Rückfrage, die abweichenden Einträge neu."));
    app.add_flag("--yes", given.flags.yes, Utf8FromText(L"Bejaht die Rückfrage von --reindex, für Skripte."));
    app.add_option("--days", given.flags.days,
                   Utf8FromText(L"Nennt Einträge, die mehr als so viele Tage pendent sind (sonst 30)."))
        ->check(CLI::Validator(CLI::NonNegativeNumber).description(""))
        ->type_name("TAGE");
    app.add_option("--logs", given.logs,
                   Utf8FromText(L"Vergleicht auch mit den Anfragen in den Protokollen dieses Ordners."))
        ->type_name("ORDNER");
    app.add_option("--csv", given.csv, Utf8FromText(L"Schreibt die Befunde für eine Tabellenkalkulation."))
        ->type_name("DATEI");
    app.add_option("--html", given.html, Utf8FromText(L"Schreibt die Befunde als Seite."))
        ->type_name("DATEI");
    app.add_option(
           "--client", given.clients,
           Utf8FromText(L"Vergleicht diesen Mandanten statt des offenen, auch mehrmals; @DATEI nennt eine "
                        L"Liste, eine Zeile je Mandant."))
        ->allow_extra_args(false)
        ->type_name("PFAD");
}

void Declare(CLI::App& app, Given& given) {
    app.get_formatter()->label("OPTIONS", "ANGABEN");
    app.get_formatter()->label("Usage", "Aufruf");
    app.get_formatter()->column_width(34);
    app.option_defaults()->group("Angaben");
    app.allow_extras();
    app.footer(Utf8FromText(L"Prüft nur und ändert nichts, ausser mit --probe, --adopt und --reindex.\n"
                            L"Ergebnis: 0 alles gut, 1 Warnungen, 2 Fehler; mit --reconcile und --reindex\n"
                            L"0 keine Befunde, 1 Befunde, 2 nicht zu Ende gekommen."));
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
    DeclareReconciliation(app, given);
}

Text Complaint(const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return L"Einer Angabe auf der Befehlszeile fehlt ein Wert (--voucher hat zwei, --component, "
               L"--host-typelib, --days, --logs, --csv, --html und --client haben einen).";
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr ||
        dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) {
        return L"--days verlangt eine ganze Zahl, die nicht negativ ist.";
    }
    return L"Die Befehlszeile ist nicht richtig.";
}

/// What goes only with another one.
void RequireCompany(const CommandLine& line) {
    const bool writesMore =
        !line.logs.empty() || !line.csv.empty() || !line.html.empty() || !line.clients.empty();
    if (writesMore && !line.reconcile) {
        throw UsageError(L"--logs, --csv, --html und --client gehören zu --reconcile oder --reindex.");
    }
    if (line.yes && !line.reindex) {
        throw UsageError(L"--yes gehört zu --reindex.");
    }
    if (line.json && line.reindex && !line.yes) {
        throw UsageError(L"--reindex mit --json fragt nicht zurück und verlangt --yes.");
    }
}

/// The paths that `--client` names, those of lists included.
std::vector<Text> ClientsIn(const std::vector<std::string>& given) {
    std::vector<Text> clients;
    for (const std::string& one : given) {
        const Text client = TextFromUtf8(one);
        if (!client.starts_with(L'@')) {
            clients.push_back(client);
            continue;
        }
        const Text file = client.substr(1);
        if (!FileExists(file)) {
            throw UsageError(L"Die Liste «" + file + L"» gibt es nicht.");
        }
        for (const Text& line : LinesOf(BytesOf(file))) {
            clients.push_back(line);
        }
    }
    if (clients.empty() && !given.empty()) {
        throw UsageError(L"In den Listen steht kein Mandant.");
    }
    return clients;
}

}  // namespace

std::vector<Text> LinesOf(const std::string& bytes) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    // Editors here write UTF-8 or the system's own code page.
    const bool isMarked = bytes.starts_with(byteOrderMark);
    const Text utf8 = TextFromUtf8(isMarked ? bytes.substr(byteOrderMark.size()) : bytes);
    const Text text = utf8.find(L'\xFFFD') == Text::npos ? utf8 : TextFromAnsi(bytes);
    std::vector<Text> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(L'\n', begin), text.size());
        Text line = text.substr(begin, end - begin);
        if (line.ends_with(L'\r')) {
            line.pop_back();
        }
        line = Trimmed(line);
        if (!line.empty()) {
            lines.push_back(line);
        }
        begin = end + 1;
    }
    return lines;
}

CommandLine ParseCommandLine(const std::vector<Text>& arguments) {
    CLI::App app(Utf8FromText(L"Prüft, ob Kandora auf diesem Arbeitsplatz richtig eingerichtet ist."),
                 "kandora-check");
    Given given;
    Declare(app, given);
    given.flags.answer = ReadArguments(app, arguments, Complaint);
    if (!given.flags.answer.empty()) {
        return given.flags;
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
    result.reconcile = result.reconcile || result.reindex;
    result.logs = TextFromUtf8(given.logs);
    result.csv = TextFromUtf8(given.csv);
    result.html = TextFromUtf8(given.html);
    result.clients = ClientsIn(given.clients);
    RequireCompany(result);
    return result;
}

}  // namespace kandora::check
