#include <algorithm>
#include <array>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/kit/Parts.h"
#include "tools/kit/SampleSite.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

constexpr DWORD refused = 1603;
/// Done, and Windows would like to be restarted.
constexpr DWORD needsRestart = 3010;
constexpr std::size_t longestInstallerLog = 100'000;  // bytes of its end

Call InstallerCall(const Text& line) {
    Call call;
    call.program = SystemProgram(L"msiexec.exe");
    // Quotes belong around the value of a property and not around all of it.
    call.line = line;
    // Its service would go on without it.
    call.isWhole = true;
    return call;
}

/// Windows' installer writes UTF-16.
std::string InstallerLog(const fs::path& file) {
    std::string log = ContentOf(file);
    if (log.starts_with("\xFF\xFE")) {
        std::wstring text(log.size() / sizeof(wchar_t) - 1, L'\0');
        log.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t), sizeof(wchar_t));
        log = Utf8FromText(text);
    }
    return log.size() > longestInstallerLog ? log.substr(log.size() - longestInstallerLog) : log;
}

/// The installer, for the machine or for the user.
class Installer {
public:
    Installer(const Kit& kit, Steps& steps) : kit_(kit), steps_(steps) {}

    /// True when it was done; the installer may refuse.
    bool Run(const Text& what, const Text& line) {
        const fs::path log = kit_.work / L"msiexec.txt";
        std::error_code ignored;
        fs::remove(log, ignored);
        const Text scope = kit_.isForMachine ? L"" : L" MSIINSTALLPERUSER=1 ALLUSERS=\"\"";
        const DWORD code = steps_.RunForCode(
            what, InstallerCall(line + L" /qn /norestart /l*v " + Quoted(log.wstring()) + scope));
        if (code == needsRestart) {
            wantsRestart_ = true;
        } else if (code != 0) {
            steps_.Note(InstallerLog(log));
        }
        lastCode_ = code;
        return code == 0 || code == needsRestart;
    }
    void Must(const Text& what, const Text& line) {
        if (!Run(what, line)) {
            throw StepFailure(what + L": msiexec endete mit " + Decimal(lastCode_));
        }
    }
    [[nodiscard]] DWORD LastCode() const noexcept { return lastCode_; }
    [[nodiscard]] bool WantsRestart() const noexcept { return wantsRestart_; }

private:
    const Kit& kit_;
    Steps& steps_;
    DWORD lastCode_ = 0;
    bool wantsRestart_ = false;
};

/// The names of what is left in a folder.
Text FilesIn(const fs::path& folder) {
    std::vector<Text> names;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
        names.push_back(entry.path().filename().wstring());
    }
    return names.empty() ? L"alles darin" : Joined(names, L", ");
}

bool IsSameCode(const Text& left, const Text& right) {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

/// Wine's installer knows no patterns of files that are to go with the product; Windows' does.
void RemoveLogs(const fs::path& folder) {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.path().extension() == L".log") {
            fs::remove(entry.path(), ignored);
        }
    }
    fs::remove(folder, ignored);
}

void Check(Steps& steps, const fs::path& folder) {
    Call call;
    call.program = folder / L"Werkzeuge" / L"kandora-check.exe";
    constexpr DWORD failures = 2;
    const DWORD code = steps.RunForCode(L"kandora-check", std::move(call));
    steps.Require(L"kandora-check findet keinen Fehler", code < failures);
}

/// What the accounting does first: the client's folders are made and a voucher is filed.
void FileAVoucher(const Kit& kit, Steps& steps, const SampleSite& site, const wchar_t* number) {
    const fs::path requests = site.Folder() / L"Anfragen.txt";
    WriteContent(requests,
                 "InitProvider\nStartProvider\nSaveDocument booking " + Utf8FromText(number) + " 1\n");
    steps.Run(L"Beleg " + Text(number) + L" ablegen", kit.Bin(L"HostSimulator.exe"),
              {L"--client", site.Client().wstring(), L"--requests", requests.wstring(), L"--answer-boxes",
               L"--report", (site.Folder() / L"Bericht.json").wstring()});
}

}  // namespace

std::vector<Text> InstalledProducts(const Text& upgradeCode) {
    using Enumerate = UINT(WINAPI*)(LPCWSTR, DWORD, DWORD, LPWSTR);
    std::vector<Text> products;
    const HMODULE library = LoadLibraryW(SystemProgram(L"msi.dll").c_str());
    if (library == nullptr) {
        return products;
    }
    const auto enumerate = reinterpret_cast<Enumerate>(
        reinterpret_cast<void*>(GetProcAddress(library, "MsiEnumRelatedProductsW")));
    std::array<wchar_t, 39> code{};
    for (DWORD at = 0;
         enumerate != nullptr && enumerate(upgradeCode.c_str(), 0, at, code.data()) == ERROR_SUCCESS; ++at) {
        products.emplace_back(code.data());
    }
    FreeLibrary(library);
    return products;
}

bool RemoveProduct(const Kit& kit, const Text& code) {
    const auto isInstalled = [&] {
        return std::ranges::any_of(InstalledProducts(kit.plan.package.upgradeCode),
                                   [&](const Text& each) { return IsSameCode(each, code); });
    };
    if (!isInstalled()) {
        return true;
    }
    Call call = InstallerCall(L"/x " + code + L" /qn /norestart ENTFERNEALLES=1");
    call.output = kit.work / L"entfernen.log";
    call.environment = kit.Environment();
    RunToEnd(call, kit.interruption);
    return !isInstalled();
}

Text TryThePackage(const Kit& kit, Pledges& pledges, Steps& steps) {
    const PlannedPackage& package = kit.plan.package;
    const fs::path folder = kit.work / L"Paket" / L"Kandora";
    const Text first = L"/i " + Quoted((kit.folder / package.first).make_preferred().wstring());
    const Text next = L"/i " + Quoted((kit.folder / package.next).make_preferred().wstring());
    const Text here = L" INSTALLDIR=\"" + folder.wstring() + L"\"";
    const auto has = [&](const wchar_t* name) { return fs::exists(folder / name); };
    const auto only = [&](const Text& product) {
        const std::vector<Text> found = InstalledProducts(package.upgradeCode);
        return found.size() == 1 && IsSameCode(found.front(), product);
    };
    Installer installer(kit, steps);
    SampleSite site(kit, steps, kit.work / L"Paket");
    pledges.KeepProduct(package.firstProduct);
    pledges.KeepProduct(package.nextProduct);

    installer.Must(L"Installieren", first + here);
    steps.Require(L"das Paket ist installiert", only(package.firstProduct));
    steps.Require(L"die Komponente liegt im gewählten Ordner", has(L"Kandora.dll") && has(L"Kandora.ini"));
    site.WriteSettings(folder / L"Kandora.ini");
    FileAVoucher(kit, steps, site, L"26101");
    Check(steps, folder);

    const std::string settings = ContentOf(folder / L"Kandora.ini");
    installer.Must(L"Nächste Version darüber installieren", next);
    steps.Require(L"nur die nächste Version ist installiert", only(package.nextProduct));
    steps.Require(L"die Einstellungen sind noch dieselben", ContentOf(folder / L"Kandora.ini") == settings);
    FileAVoucher(kit, steps, site, L"26501");
    steps.Require(L"eine ältere Version geht nicht darüber",
                  !installer.Run(L"Ältere Version darüber installieren", first) &&
                      installer.LastCode() == refused);

    fs::remove(folder / L"Kandora.dll");
    fs::remove(folder / L"DmsSolution.tlb");
    installer.Must(L"Reparieren", L"/i " + package.nextProduct + L" REINSTALL=ALL REINSTALLMODE=omus");
    steps.Require(L"was fehlte, ist wieder da", has(L"Kandora.dll") && has(L"DmsSolution.tlb"));
    steps.Require(L"die Einstellungen sind noch dieselben", ContentOf(folder / L"Kandora.ini") == settings);
    Check(steps, folder);

    site.Close();
    installer.Must(L"Entfernen", L"/x " + package.nextProduct + L" ENTFERNEALLES=1");
    if (!WineVersion().empty()) {
        RemoveLogs(folder);
    }
    steps.Require(L"nichts ist mehr installiert", InstalledProducts(package.upgradeCode).empty());
    steps.Require(L"der Ordner ist weg, auch " + FilesIn(folder), !fs::exists(folder));
    return Text(kit.isForMachine ? L"für den Rechner" : L"für den Benutzer") +
           (installer.WantsRestart() ? L"; Windows möchte neu gestartet werden" : L"");
}

}  // namespace kandora::kit
