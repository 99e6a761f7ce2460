#include "interfaces/CodePages.h"
#include "tests/component/Host.h"
#include "tests/component/OwnProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "tests/support/BuiltFile.h"
#include "tests/support/ModuleHook.h"
#include "tools/check/Registry.h"

// Registration as administrators do it, and what it opens: creation by ProgID, scripts, calls across
// apartments. Every test leaves the registry as it found it.
namespace kandora::component_tests {
namespace {

using check::ownView;
using check::RegistryKey;

using namespace std::literals;

constexpr const wchar_t* classesPath = L"Software\\Classes";
const std::wstring providerClass = L"{6129D4B6-648D-4312-890E-F7F9C45BC617}";
const std::wstring hostInterface = L"{CC5421A5-6F61-4DA2-BC42-D0C3E160672A}";
const std::wstring componentLibrary = L"{30FCF751-6858-4A17-9CD0-B9022EFD4E11}";
const std::wstring hostLibrary = L"{07DCC125-329B-4325-B2C4-E4AC26DC100E}";

constexpr bool is64Bit = sizeof(void*) == 8;
constexpr const wchar_t* ownBitness = is64Bit ? L"win64" : L"win32";
constexpr const wchar_t* otherBitness = is64Bit ? L"win32" : L"win64";
constexpr REGSAM otherView = is64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

/// What lies below a key: one text for each key and each value. Keys that are not the component's count only
/// as being there, and only down to the level of classes and interfaces.
class Content {
public:
    void Collect(HKEY root, REGSAM view, const std::wstring& name) {
        Add(root, view, classesPath, name, false, 0);
    }
    [[nodiscard]] const std::set<std::wstring>& Items() const { return items_; }

private:
    static bool IsOurs(const std::wstring& name) {
        const auto is = [&](const PublicClass& each) { return name == each.clsid || name == each.iid; };
        return name.starts_with(L"Kandora.") || name == componentLibrary || name == hostLibrary ||
               name == hostInterface || std::ranges::any_of(PublicClasses(), is);
    }

    void Add(HKEY parent, REGSAM view, const std::wstring& name, const std::wstring& path, bool isOurs,
             int level) {
        const RegistryKey key(parent, name, view);
        if (!key) {
            return;
        }
        if (isOurs) {
            AddValues(key.Get(), path);
        }
        std::vector<wchar_t> child(256);
        for (DWORD at = 0;; ++at) {
            auto length = static_cast<DWORD>(child.size());
            if (RegEnumKeyExW(key.Get(), at, child.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
                ERROR_SUCCESS) {
                break;
            }
            const std::wstring childName = child.data();
            const std::wstring childPath = path + L"\\" + childName;
            const bool isContainer =
                childName == L"CLSID" || childName == L"Interface" || childName == L"TypeLib";
            const bool childIsOurs = isOurs || IsOurs(childName);
            if (level > 0 || !isContainer) {  // a container that was missing may stay
                items_.insert(childPath);
            }
            if (childIsOurs || (level == 0 && isContainer)) {
                Add(key.Get(), view, childName, childPath, childIsOurs, level + 1);
            }
        }
    }

    void AddValues(HKEY key, const std::wstring& path) {
        std::vector<wchar_t> name(256);
        std::vector<BYTE> data(4096);
        for (DWORD at = 0;; ++at) {
            auto length = static_cast<DWORD>(name.size());
            auto size = static_cast<DWORD>(data.size());
            if (RegEnumValueW(key, at, name.data(), &length, nullptr, nullptr, data.data(), &size) !=
                ERROR_SUCCESS) {
                break;
            }
            const std::wstring text(reinterpret_cast<wchar_t*>(data.data()), size / sizeof(wchar_t));
            items_.insert(path + L" @" + name.data() + L"=" + text.substr(0, text.find(L'\0')));
        }
    }

    std::set<std::wstring> items_;
};

/// All registered classes, interfaces and type libraries: of machine and user, for 32-bit and 64-bit
/// programs.
std::set<std::wstring> AllRegistrations() {
    Content content;
    content.Collect(HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY, L"machine 32");
    content.Collect(HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY, L"machine 64");
    content.Collect(HKEY_CURRENT_USER, KEY_WOW64_32KEY, L"user 32");
    content.Collect(HKEY_CURRENT_USER, KEY_WOW64_64KEY, L"user 64");
    return content.Items();
}

std::string Difference(const std::set<std::wstring>& from, const std::set<std::wstring>& to) {
    std::string text;
    for (const std::wstring& each : from) {
        text += to.contains(each) ? "" : "- " + Utf8FromText(each) + "\n";
    }
    for (const std::wstring& each : to) {
        text += from.contains(each) ? "" : "+ " + Utf8FromText(each) + "\n";
    }
    return text;
}

/// A value below the classes key; "(fehlt)" without one.
std::wstring Registered(HKEY root, const std::wstring& path, const wchar_t* name = nullptr,
                        REGSAM view = ownView) {
    const RegistryKey key(root, classesPath + L"\\"s + path, view);
    if (!key) {
        return L"(fehlt)";
    }
    std::vector<wchar_t> text(1024);
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    DWORD type = REG_NONE;
    const LSTATUS status =
        RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size);
    return status == ERROR_SUCCESS && type == REG_SZ ? text.data() : L"(fehlt)";
}

void Register(const fs::path& component) {
    const Ended ended = RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", component.wstring()});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
}

void Unregister(const fs::path& component) {
    const Ended ended = RunProgram(SystemProgram(L"regsvr32.exe"), {L"/s", L"/u", component.wstring()});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
}

class Registration : public testing::Test {
protected:
    /// The script host registers something of its own when it runs for the first time.
    static void SetUpTestSuite() {
        const TemporaryFolder folder;
        WriteBytes(folder.Path() / L"empty.vbs", "WScript.Quit 7");
        EXPECT_EQ(
            RunProgram(SystemProgram(L"cscript.exe"), {L"//nologo", folder.Path() / L"empty.vbs"}).exitCode,
            7U);
    }

    Registration() : before_(AllRegistrations()) {}
    ~Registration() override { EXPECT_EQ(Difference(before_, AllRegistrations()), "") << "stays behind"; }

    /// What a registration for the machine or the user consists of.
    static void ExpectRegistered(HKEY root, const fs::path& component) {
        for (const PublicClass& each : PublicClasses()) {
            SCOPED_TRACE(Utf8FromText(each.name));
            const std::wstring path = L"CLSID\\"s + each.clsid;
            const std::wstring programId = L"Kandora."s + each.name;
            EXPECT_EQ(Registered(root, path + L"\\InprocServer32"), component.wstring());
            EXPECT_EQ(Registered(root, path + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
            EXPECT_EQ(Registered(root, path + L"\\ProgID"), programId + L".1");
            EXPECT_EQ(Registered(root, path + L"\\VersionIndependentProgID"), programId);
            EXPECT_EQ(Registered(root, path + L"\\TypeLib"), componentLibrary);
            EXPECT_EQ(Registered(root, programId + L"\\CLSID"), each.clsid);
            EXPECT_EQ(Registered(root, programId + L"\\CurVer"), programId + L".1");
            EXPECT_EQ(Registered(root, programId + L".1\\CLSID"), each.clsid);
            EXPECT_EQ(Registered(root, L"Interface\\"s + each.iid), L"_"s + each.name);
            EXPECT_EQ(Registered(root, L"Interface\\"s + each.iid + L"\\TypeLib"), componentLibrary);
        }
        EXPECT_EQ(Registered(root, L"Interface\\" + hostInterface), L"DMSProvider");
        EXPECT_EQ(Registered(root, L"Interface\\" + hostInterface + L"\\TypeLib"), hostLibrary);
        EXPECT_EQ(Registered(root, L"Interface\\" + hostInterface + L"\\ProxyStubClsid32"),
                  L"{00020424-0000-0000-C000-000000000046}");
        EXPECT_EQ(Registered(root, L"TypeLib\\" + componentLibrary + L"\\1.0\\0\\" + ownBitness),
                  component.wstring() + L"\\1");
        EXPECT_EQ(Registered(root, L"TypeLib\\" + hostLibrary + L"\\1.0\\0\\" + ownBitness),
                  component.wstring() + L"\\2");
    }

    Installation installation_;

private:
    std::set<std::wstring> before_;
};

TEST_F(Registration, IsForTheMachine) {
    Register(installation_.Component());
    ExpectRegistered(HKEY_LOCAL_MACHINE, installation_.Component());
    EXPECT_EQ(Registered(HKEY_CURRENT_USER, L"CLSID\\" + providerClass + L"\\InprocServer32"), L"(fehlt)");
    Unregister(installation_.Component());
}

TEST_F(Registration, CanBeRepeatedAndMoved) {
    Register(installation_.Component());
    Register(installation_.Component());
    const Installation moved;
    Register(moved.Component());
    ExpectRegistered(HKEY_LOCAL_MACHINE, moved.Component());
    Unregister(moved.Component());
    // Nothing is there any more, which is no failure.
    Unregister(moved.Component());
}

TEST_F(Registration, CanBeForTheUserAlone) {
    const fs::path regsvr32 = SystemProgram(L"regsvr32.exe");
    const std::wstring file = installation_.Component().wstring();
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/i:user", file}).exitCode, 0U);
    ExpectRegistered(HKEY_CURRENT_USER, installation_.Component());
    EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"CLSID\\" + providerClass + L"\\InprocServer32"), L"(fehlt)");
    EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"TypeLib\\" + hostLibrary + L"\\1.0\\0\\" + ownBitness),
              L"(fehlt)");
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/u", L"/i:user", file}).exitCode, 0U);
}

TEST_F(Registration, InstallsForTheMachineUnlessTold) {
    const fs::path regsvr32 = SystemProgram(L"regsvr32.exe");
    const std::wstring file = installation_.Component().wstring();
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/i:machine", file}).exitCode, 0U);
    ExpectRegistered(HKEY_LOCAL_MACHINE, installation_.Component());
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/u", L"/i:machine", file}).exitCode, 0U);
}

TEST_F(Registration, LeavesTheOneForTheUserAlone) {
    const fs::path regsvr32 = SystemProgram(L"regsvr32.exe");
    const std::wstring file = installation_.Component().wstring();
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/i:user", file}).exitCode, 0U);
    Register(installation_.Component());
    Unregister(installation_.Component());
    ExpectRegistered(HKEY_CURRENT_USER, installation_.Component());
    EXPECT_EQ(RunProgram(regsvr32, {L"/s", L"/n", L"/u", L"/i:user", file}).exitCode, 0U);
}

/// Calls that succeed before one fails.
int writesLeft = 0;

LSTATUS WINAPI CreateSomeKeys(HKEY parent, const wchar_t* path, DWORD reserved, wchar_t* keyClass,
                              DWORD options, REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key,
                              DWORD* created) {
    return writesLeft-- == 0
               ? ERROR_ACCESS_DENIED
               : RegCreateKeyExW(parent, path, reserved, keyClass, options, access, security, key, created);
}
LSTATUS WINAPI WriteSomeValues(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data,
                               DWORD size) {
    return writesLeft-- == 0 ? ERROR_REGISTRY_IO_FAILED
                             : RegSetValueExW(key, name, reserved, type, data, size);
}
HRESULT WINAPI LoadNoLibrary(const wchar_t*, REGKIND, ITypeLib** library) {
    *library = nullptr;
    return TYPE_E_CANTLOADLIBRARY;
}

/// Registration by calls of the loaded component, whose own calls of the system are diverted.
class FailingRegistration : public Registration {
protected:
    /// One that succeeds against expectation must not disturb the tests after this one.
    void TearDown() override {
        Called("DllUnregisterServer");
        Installed(FALSE, L"user");
    }
    static HRESULT Called(const char* function) {
        const auto exported = reinterpret_cast<HRESULT(WINAPI*)()>(
            reinterpret_cast<void*>(GetProcAddress(Component::Built().Module(), function)));
        return exported();
    }
    static HRESULT Installed(BOOL install, const wchar_t* commandLine) {
        const auto exported = reinterpret_cast<HRESULT(WINAPI*)(BOOL, const wchar_t*)>(
            reinterpret_cast<void*>(GetProcAddress(Component::Built().Module(), "DllInstall")));
        return exported(install, commandLine);
    }
    template <class Function>
    static test::ModuleHook Diverted(const char* library, const char* name, Function* replacement) {
        return {Component::Built().Module(), library, name, reinterpret_cast<void*>(replacement)};
    }

    const std::set<std::wstring> before = AllRegistrations();
};

TEST_F(FailingRegistration, LeavesNothingBehind) {
    for (const int writes : {0, 1, 20, 117, 118, 125, 164}) {
        {
            const auto keys = Diverted("advapi32.dll", "RegCreateKeyExW", &CreateSomeKeys);
            writesLeft = writes;
            EXPECT_EQ(Called("DllRegisterServer"), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)) << writes;
        }
        {
            const auto values = Diverted("advapi32.dll", "RegSetValueExW", &WriteSomeValues);
            writesLeft = writes;
            EXPECT_EQ(Installed(TRUE, L"user"), HRESULT_FROM_WIN32(ERROR_REGISTRY_IO_FAILED)) << writes;
        }
        EXPECT_EQ(Difference(before, AllRegistrations()), "") << writes;
    }
}

TEST_F(FailingRegistration, TellsThatItsTypeLibraryIsMissing) {
    const auto library = Diverted("oleaut32.dll", "LoadTypeLibEx", &LoadNoLibrary);
    EXPECT_EQ(Called("DllRegisterServer"), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(Called("DllUnregisterServer"), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(Installed(FALSE, L"user"), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(Installed(FALSE, nullptr), TYPE_E_CANTLOADLIBRARY);
}

/// The build of the other architecture, which may be installed on the same workstation.
class BothArchitectures : public Registration {
protected:
    void SetUp() override {
        const fs::path other = BinFolder().parent_path().parent_path() / (is64Bit ? L"x86" : L"x64") / L"bin";
        // A 32-bit program reaches the 64-bit system folder by another name, which not every Windows has.
        std::vector<wchar_t> windows(MAX_PATH);
        GetWindowsDirectoryW(windows.data(), static_cast<UINT>(windows.size()));
        regsvr32_ = fs::path(windows.data()) / (is64Bit ? L"syswow64" : L"sysnative") / L"regsvr32.exe";
        if (!fs::exists(other / L"Kandora.dll") || !fs::exists(regsvr32_)) {
            GTEST_SKIP() << "the other architecture is not built here, or not to be run";
        }
        component_ = folder_.Path() / L"Kandora.dll";
        fs::copy_file(other / L"Kandora.dll", component_);
        EXPECT_EQ(RunProgram(regsvr32_, {L"/s", component_.wstring()}).exitCode, 0U);
    }
    void TearDown() override {
        if (!component_.empty()) {
            EXPECT_EQ(RunProgram(regsvr32_, {L"/s", L"/u", component_.wstring()}).exitCode, 0U);
        }
    }
    void ExpectOtherRegistered() {
        for (const PublicClass& each : PublicClasses()) {
            SCOPED_TRACE(Utf8FromText(each.name));
            EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"CLSID\\"s + each.clsid + L"\\InprocServer32", nullptr,
                                 otherView),
                      component_.wstring());
            // Names are shared by both.
            EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"Kandora."s + each.name + L"\\CLSID", nullptr, 0),
                      each.clsid);
            EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"Interface\\"s + each.iid, nullptr, otherView),
                      L"_"s + each.name);
        }
        EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"Interface\\" + hostInterface, nullptr, otherView),
                  L"DMSProvider");
        for (const auto& [library, resource] :
             {std::pair(componentLibrary, L"\\1"), std::pair(hostLibrary, L"\\2")}) {
            EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"TypeLib\\" + library + L"\\1.0\\0\\" + otherBitness,
                                 nullptr, otherView),
                      component_.wstring() + resource);
        }
    }

private:
    TemporaryFolder folder_;
    fs::path regsvr32_;
    fs::path component_;
};

TEST_F(BothArchitectures, LiveSideBySide) {
    ExpectOtherRegistered();
    Register(installation_.Component());
    ExpectRegistered(HKEY_LOCAL_MACHINE, installation_.Component());
    ExpectOtherRegistered();
    Unregister(installation_.Component());
    ExpectOtherRegistered();
    EXPECT_EQ(Registered(HKEY_LOCAL_MACHINE, L"CLSID\\" + providerClass + L"\\InprocServer32"), L"(fehlt)");
}

/// A registered component with the archive switched off.
class RegisteredComponent : public Registration {
protected:
    void SetUp() override {
        installation_.WriteSettings("[Debug]\r\nTest=False\r\n[Archiv]\r\nArchivAktiv=False\r\n");
        Register(installation_.Component());
    }
    void TearDown() override { Unregister(installation_.Component()); }

    static void ExpectInside(const wchar_t* tests) {
        const Ended ended = RunInside(tests);
        EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    }
    /// The lines that a script writes.
    static std::vector<std::string> LinesOf(const wchar_t* script) {
        const fs::path file = test::BuiltFile(L"tests/component/scripts") / script;
        const Ended ended = RunProgram(SystemProgram(L"cscript.exe"), {L"//nologo", file.wstring()});
        EXPECT_EQ(ended.exitCode, 0U);
        std::vector<std::string> lines;
        std::istringstream stream(ended.output);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
        }
        return lines;
    }
};

const std::vector<std::wstring> loggedByScript{L"DMSProvider_FibuVersion  [7.2]",
                                               L"DMSProvider_InitProvider  [(Empty)]",
                                               L"Das Archiv ist deaktiviert. Alle Funktionen des DMS sind "
                                               L"bis zu einem Neustart von Sesam nicht verfügbar."
                                               L"[Kein Parameter]"};

// What a script is told without credentials.
const std::string noUser = "Fehler 5: Benutzer muss angemeldet sein, um ELO anzumelden.";

TEST_F(RegisteredComponent, ServesVBScript) {
    EXPECT_EQ(LinesOf(L"classes.vbs"),
              (std::vector<std::string>{
                  "ELOProvider: True",
                  "ELODMS: True",
                  "OrigELODMS: True",
                  "SOKInterface: True",
                  "cUser: True",
                  "cBeleg: True",
                  "cDebiBeleg: True",
                  "cKrediBeleg: True",
                  "cAuswertung: True",
                  "[  MU26000001 ]",
                  "aus einer Variablen",
                  "4711/3 8",
                  "8 0",
                  "4711",
                  "True",
                  "False",
                  "True",
                  noUser + " (ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.PFadErstellen)",
                  "True",
                  "/Sesam/Muster",
                  "[Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ]",
                  "False",
                  "True",
                  "True",
                  "[] []",
                  "True",
                  "False",
                  "Ende",
              }));
    EXPECT_EQ(installation_.LogLines(), loggedByScript);
}

TEST_F(RegisteredComponent, ServesJScript) {
    EXPECT_EQ(LinesOf(L"classes.js"), (std::vector<std::string>{
                                          "ELOProvider: object",
                                          "ELODMS: object",
                                          "OrigELODMS: object",
                                          "SOKInterface: object",
                                          "cUser: object",
                                          "cBeleg: object",
                                          "cDebiBeleg: object",
                                          "cKrediBeleg: object",
                                          "cAuswertung: object",
                                          "[  MU26000001 ]",
                                          "4711 string 12.5",
                                          "8 0",
                                          "boolean false",
                                          "boolean true",
                                          "[Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ]",
                                          noUser,
                                          "boolean false",
                                          "undefined",
                                          "boolean true",
                                          "[] []",
                                          "Ende",
                                      }));
    EXPECT_EQ(installation_.LogLines(), loggedByScript);
}

TEST_F(RegisteredComponent, IsMadeByItsProgramIds) {
    ExpectInside(L"RegisteredClasses.AreMadeByTheirProgramIds");
}

TEST_F(RegisteredComponent, CrossesApartments) {
    ExpectInside(L"RegisteredClasses.CrossApartments:RegisteredRecords.*:RegisteredErrors.*");
    EXPECT_EQ(installation_.LogLines(), loggedByScript);
}

TEST_F(RegisteredComponent, AnswersToTheIdentifierThatTheHostGivesItsInterface) {
    ExpectInside(L"HostInterface.IsUnknownUnlessRegistered");
    const std::wstring key = classesPath + L"\\CLSID\\"s + providerClass;
    const auto tell = [&](const std::wstring& identifier) {
        const LSTATUS status =
            RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DMSProvider", REG_SZ, identifier.c_str(),
                            static_cast<DWORD>((identifier.size() + 1) * sizeof(wchar_t)));
        EXPECT_EQ(status, 0);
    };
    tell(L"Unsinn");
    ExpectInside(L"HostInterface.IsUnknownUnlessRegistered");
    tell(foreignInterface);
    ExpectInside(L"HostInterface.IsAnsweredOnceRegistered");
    // A repeated registration keeps what the administrator entered.
    Register(installation_.Component());
    ExpectInside(L"HostInterface.IsAnsweredOnceRegistered");
}

}  // namespace
}  // namespace kandora::component_tests
