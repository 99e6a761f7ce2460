#include "tests/outside/Workplace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

#include "interfaces/CodePages.h"
#include "tests/support/ComponentWindows.h"
#include "tests/support/ServedClasses.h"

namespace kandora::outside_tests {

namespace {

using nlohmann::json;
using test::inputText;
using test::reportDescription;
using test::reportTitle;
using test::TextOf;
using test::Type;

json Mask(int number, const char* name, const std::vector<std::string>& fields) {
    json mask{{"nummer", number}, {"name", name}, {"felder", json::array()}};
    for (const std::string& field : fields) {
        mask["felder"].push_back({{"zeile", mask["felder"].size() + 1}, {"name", field}});
    }
    return mask;
}

const std::vector<std::string> voucherFields{"Barcode",    "BelegNr",     "BelegIndex", "Belegstatus",
                                             "SesamDocID", "Valutadatum", "Betrag"};
const std::vector<std::string> reportFields{"Listenbeschreibung", "DatumVon", "DatumBis"};

std::vector<std::string> PartnerFields() {
    std::vector<std::string> fields = voucherFields;
    fields.insert(fields.end(), {"Rechnungsdatum", "OPNr", "PKNr", "AdressNr", "Kundenname", "Kundenort"});
    return fields;
}

json Archive() {
    return {{"archive", {"Testarchiv"}},
            {"trennzeichen", "¶"},
            {"benutzer", {{{"name", "Kandora"}, {"passwort", "geheim"}, {"kuerzel", "KAN"}}}},
            {"masken",
             {Mask(1, "Ordner", {}), Mask(2, "Belege", voucherFields), Mask(3, "Auswertungen", reportFields),
              Mask(4, "Debitoren", PartnerFields()), Mask(5, "Kreditoren", PartnerFields())}}};
}

/// One booking of each kind, and a creditor's without an open item. The archive is off for this client at
/// first.
json ClientAtFirst() {
    return json::parse(R"json({
        "mandant": "C:\\Daten\\Mandanten\\Muster AG",
        "optionen": {"600": {"100": "False"}},
        "buchungen": [
            {"belegNr": "1001", "belegIndex": "1", "ursprung": 0, "text": "Saldovortrag Bank", "datum": "2026-01-05",
             "betrag": 84312.75, "opNr": ""},
            {"belegNr": "2001", "belegIndex": "1", "ursprung": 1, "text": "Rechnung an Bäckerei", "datum": "2026-01-06",
             "betrag": 120.5, "opNr": "D-1"},
            {"belegNr": "3001", "belegIndex": "1", "ursprung": 2, "text": "Rechnung der Garage", "datum": "2026-01-07",
             "betrag": 99, "opNr": "K-1"},
            {"belegNr": "3002", "belegIndex": "1", "ursprung": 2, "text": "Barbezug", "datum": "2026-01-08",
             "betrag": 15, "opNr": ""}],
        "offenePosten": {
            "debitoren": [{"opNr": "D-1", "datum": "2026-01-02", "betragFaktura": 120.5, "pkNr": 1001}],
            "kreditoren": [{"opNr": "K-1", "datum": "2026-01-03", "betragFaktura": 99, "pkNr": 1002}]},
        "konten": {"debitoren": [{"pkNr": 1001, "adressId": 5001}], "kreditoren": [{"pkNr": 1002, "adressId": 5002}]},
        "adressen": [
            {"adressId": 5001, "firma": "Bäckerei Zürcher", "plz": "8001", "ort": "Zürich"},
            {"adressId": 5002, "firma": "Garage Zäch", "plz": "9000", "ort": "St. Gallen"}]
    })json");
}

std::string IndexSection(const std::string& name, const std::vector<std::string>& fields) {
    std::string text = "[" + name + "]\r\n";
    for (std::size_t at = 0; at < fields.size(); ++at) {
        text += fields[at] + "=" + std::to_string(at + 1) + "\r\n";
    }
    return text;
}

std::string Settings(const fs::path& printerFile) {
    return "[Debug]\r\nTest=False\r\n"
           "[Archiv]\r\nArchivAktiv=True\r\nArchivname=Testarchiv\r\nTreuhand=False\r\nSagePFad="
           "Buchhaltung\r\n"
           "EloPrinterFile=" +
           Utf8FromText(printerFile.wstring()) +
           "\r\n"
           "[Maske]\r\nStruktur=1\r\nBelege=2\r\nAuswertung=3\r\nDebi=4\r\nKredi=5\r\n" +
           IndexSection("IndexBelege", voucherFields) + IndexSection("IndexAuswertungen", reportFields) +
           IndexSection("IndexDebi", PartnerFields()) + IndexSection("IndexKredi", PartnerFields()) +
           "[Login]\r\nELOUSERNAME=Kandora\r\nELOPW=geheim\r\nELOKUERZEL=KAN\r\n";
}

std::wstring CommandLine(const fs::path& program, const std::vector<std::wstring>& arguments) {
    std::wstring line = L"\"" + program.wstring() + L"\"";
    for (const std::wstring& argument : arguments) {
        line += L" \"" + argument + L"\"";
    }
    return line;
}

void Run(const fs::path& program, const std::vector<std::wstring>& arguments) {
    const Ended ended = RunProgram(program, arguments);
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
}

}  // namespace

// --- Programs ---

RunningProgram::Output::Output(const fs::path& file) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    handle_ = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                          CREATE_ALWAYS, 0, nullptr);
}

RunningProgram::RunningProgram(const fs::path& program, const std::vector<std::wstring>& arguments)
    : name_(Utf8FromText(program.filename().wstring())), output_(folder_.Path() / L"output.txt"),
      program_({CommandLine(program, arguments), output_.Handle(), output_.Handle()}) {}

bool RunningProgram::Says(const std::string& text) {
    return program_.ShowsLife(
        [&] { return BytesOf(folder_.Path() / L"output.txt").find(text) != std::string::npos; });
}

bool RunningProgram::Ends(DWORD patience, bool isAsked) {
    const auto ask = [&] {
        return isAsked && PostThreadMessageW(program_.MainThreadId(), WM_QUIT, 0, 0) != FALSE;
    };
    if (!program_.Ends(ask, patience)) {
        ADD_FAILURE() << name_ << " does not end; it is ended by force";
        program_.End();
    }
    return program_.ExitCode() == 0;
}

// --- The user ---

User::User()
    : thread_([this] {
          while (!ended_) {
              seen_.clear();
              test::ForEachBox([this](HWND window) { Look(window); });
              // The handle of a window that is gone may be given to another one.
              std::erase_if(open_, [this](HWND window) { return !seen_.contains(window); });
              std::this_thread::sleep_for(std::chrono::milliseconds(10));
          }
      }) {}

User::~User() {
    ended_ = true;
    thread_.join();
}

std::vector<std::wstring> User::Answered() const {
    const std::lock_guard guard(lock_);
    return answered_;
}

/// A click can be lost while a window is coming up, so it is repeated for as long as the window stays.
void User::Look(HWND window) {
    if (IsWindowVisible(window) != FALSE) {
        seen_.insert(window);
    }
    const auto question = test::QuestionIn(window, inputText);
    if (!question) {
        return;
    }
    if (!open_.contains(window)) {
        const std::wstring caption = TextOf(window);
        const std::wstring text = TextOf(question->prompt);
        if (caption.empty() || (question->isBox && text.empty())) {
            return;
        }
        if (caption == L"Auswertung Indizieren") {
            Type(window, reportTitle, L"Bilanz");
            Type(window, reportDescription, L"Bilanz per Ende Jahr");
        }
        open_.insert(window);
        const std::lock_guard guard(lock_);
        answered_.push_back(L"[" + caption + L"] " + text);
    }
    PostMessageW(question->button, BM_CLICK, 0, 0);
}

// --- The workplace ---

Workplace::Workplace() {
    try {
        SetUp();
    } catch (...) {
        TidyUp();
        throw;
    }
}

// NOLINTNEXTLINE(bugprone-exception-escape): what cannot be tidied up ends the program, whose summary says so
Workplace::~Workplace() {
    TidyUp();
}

void Workplace::SetUp() {
    fs::copy_file(ComponentFile(), File(L"Kandora.dll"));
    fs::copy_file(BinFolder() / L"Platzhalter.pdf", File(L"Platzhalter.pdf"));
    WriteBytes(File(L"Kandora.ini"), Settings(File(L"Druck.pdf")));
    WriteBytes(File(L"Druck.pdf"), "%PDF-1.4 Auswertung");
    WriteBytes(File(L"Beleg.pdf"), "%PDF-1.4 Beleg");
    WriteBytes(File(L"Mandant.json"), ClientAtFirst().dump());
    fs::create_directory(File(L"Archiv"));
    WriteBytes(File(L"Archiv") / L"archiv.json", Archive().dump());

    const fs::path archive = BinFolder() / L"ArchiveSimulator.exe";
    const fs::path accounting = BinFolder() / L"HostSimulator.exe";
    const std::wstring store = File(L"Archiv").wstring();
    const std::wstring client = File(L"Mandant.json").wstring();
    Run(SystemProgram(L"regsvr32.exe"), {L"/s", File(L"Kandora.dll").wstring()});
    Run(archive, {L"--register", L"--store", store, L"--hidden"});
    Run(accounting, {L"--register", L"--client", client});
    archive_ = std::make_unique<RunningProgram>(
        archive, std::vector<std::wstring>{L"--store", store, L"--hidden", L"--trace",
                                           File(L"Gespräch.txt").wstring()});
    EXPECT_TRUE(archive_->Says("Bereit:"));
    accounting_ = std::make_unique<RunningProgram>(
        accounting, std::vector<std::wstring>{L"--client", client, L"--serve"});
    EXPECT_TRUE(accounting_->Says("FibuNT.Mandant wird bedient."));
}

/// COM must not start the programs again from here on, so both are unregistered first.
void Workplace::TidyUp() {
    const fs::path archive = BinFolder() / L"ArchiveSimulator.exe";
    Run(archive, {L"--unregister"});
    Run(BinFolder() / L"HostSimulator.exe", {L"--unregister"});
    Run(SystemProgram(L"regsvr32.exe"), {L"/s", L"/u", File(L"Kandora.dll").wstring()});
    bool endedWell = true;
    if (archive_) {
        Run(archive, {L"--stop", L"--store", File(L"Archiv").wstring()});
        endedWell = archive_->Ends(patience_, false);
    }
    if (accounting_) {
        endedWell = accounting_->Ends(patience_, true) && endedWell;
    }
    archive_.reset();
    accounting_.reset();
    if (!endedWell) {
        EXPECT_TRUE(test::ForgetServedClasses());
    }
}

std::vector<std::string> Workplace::Trace() const {
    return LinesOf(BytesOf(File(L"Gespräch.txt")));
}

std::ptrdiff_t Workplace::Traced(const std::string& beginning) const {
    return std::ranges::count_if(Trace(),
                                 [&](const std::string& line) { return line.starts_with(beginning); });
}

std::map<int, json> Workplace::Entries() const {
    std::map<int, json> entries;
    const fs::path folders = File(L"Archiv") / L"Ordner";
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(folders)) {
        if (file.path().extension() == L".json" && file.path().filename() != L"ordner.json") {
            json entry = json::parse(BytesOf(file.path()));
            entry["ordner"] =
                Utf8FromText(file.path().parent_path().lexically_relative(folders).generic_wstring());
            const int id = entry["id"];
            entries[id] = std::move(entry);
        }
    }
    return entries;
}

json Workplace::Client() const {
    return json::parse(BytesOf(File(L"Mandant.json")));
}

std::vector<std::string> LinesOf(const std::string& output) {
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
    }
    return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

}  // namespace kandora::outside_tests
