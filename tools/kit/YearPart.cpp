#include <array>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/kit/Parts.h"
#include "tools/kit/SampleSite.h"

namespace kandora::kit {

namespace {

/// Dates and amounts as a Swiss workstation writes them: 31.12.2026 and 1'234.50. The programs that start
/// from here on read them.
constexpr std::array<std::pair<const wchar_t*, const wchar_t*>, 15> swissFormats{{
    {L"sShortDate", L"dd.MM.yyyy"},
    {L"sLongDate", L"dddd, d. MMMM yyyy"},
    {L"sDate", L"."},
    {L"iDate", L"1"},
    {L"sTime", L":"},
    {L"iTime", L"1"},
    {L"sTimeFormat", L"HH:mm:ss"},
    {L"sShortTime", L"HH:mm"},
    {L"sDecimal", L"."},
    {L"sThousand", L"'"},
    {L"sMonDecimalSep", L"."},
    {L"sMonThousandSep", L"'"},
    {L"sCurrency", L"CHF"},
    {L"iCountry", L"41"},
    {L"sList", L";"},
}};

void RegisterComponent(const Kit& kit, Steps& steps, const fs::path& component, bool isOn) {
    std::vector<Text> arguments{L"/s"};
    if (!isOn) {
        arguments.emplace_back(L"/u");
    }
    if (!kit.isForMachine) {
        arguments.insert(arguments.end(), {L"/n", L"/i:user"});
    }
    arguments.push_back(component.wstring());
    steps.Run(isOn ? L"Kandora eintragen" : L"Kandora austragen", SystemProgram(L"regsvr32.exe"), arguments);
}

/// The line that sums up the vouchers: what was saved, filed, without barcode, missing.
Text TotalIn(std::string_view output) {
    for (const std::string_view line : LinesOf(output)) {
        if (line.starts_with("Total ")) {
            return TextFromUtf8(line);
        }
    }
    return {};
}

Text InSingleBlanks(const Text& text) {
    Text result;
    for (const wchar_t character : text) {
        if (character != L' ' || !result.ends_with(L' ')) {
            result += character;
        }
    }
    return Trimmed(result);
}

}  // namespace

RegistryPlace FormatsOfUser() {
    return {HKEY_CURRENT_USER, KEY_WOW64_64KEY, L"Control Panel\\International"};
}

Text FileTheYear(const Kit& kit, const Judge& judge, Steps& steps) {
    const fs::path folder = kit.work / L"Jahr";
    const fs::path component = folder / L"Kandora" / L"Kandora.dll";
    for (const auto& [name, value] : swissFormats) {
        SetText(FormatsOfUser(), name, value);
    }
    fs::create_directories(component.parent_path());
    for (const wchar_t* const name : {L"Kandora.dll", L"Platzhalter.pdf", L"Kandora.ini.template"}) {
        CopyOver(kit.Bin(name), component.parent_path() / name);
    }
    SampleSite site(kit, steps, folder);
    site.WriteSettings(component.parent_path() / L"Kandora.ini");
    RegisterComponent(kit, steps, component, true);
    const fs::path clients = kit.folder / L"simulators" / L"clients";
    const std::string output = steps.Run(
        L"Alle Belege eines Jahres ablegen, danach ändern und löschen", kit.Bin(L"HostSimulator.exe"),
        {L"--client", (clients / L"Muster AG.json").wstring(), L"--client-copy", site.Client().wstring(),
         L"--year", L"--requests", (clients / L"Aenderungen.txt").wstring(), L"--table", L"--width", L"100",
         L"--store", site.Store().wstring(), L"--answer-boxes", L"--printer-file", site.Print().wstring(),
         L"--report", (folder / L"Bericht.json").wstring()});
    // The program has compared the archive with the client's file: nothing is missing, or it would not have
    // ended well.
    const Text total = TotalIn(output);
    const std::vector<std::string_view> lines = LinesOf(output);
    steps.Require(L"die Tabelle des Jahres hat ein Total", !total.empty());
    steps.Require(L"das Ende zählt die Anfragen zusammen",
                  !lines.empty() && lines.back().find(" Anfragen: ") != std::string_view::npos);
    steps.Require(L"kein Programm stürzte ab", judge.FaultIn(output).empty());
    steps.Require(L"das Archiv hat die gedruckte Auswertung", fs::exists(site.Print()));
    site.Close();
    RegisterComponent(kit, steps, component, false);
    return InSingleBlanks(total) + L" (gespeichert, abgelegt, ohne Barcode, fehlt); " +
           TextFromUtf8(lines.back());
}

}  // namespace kandora::kit
