#include "DmsSolution.h"
#include "Kandora.h"
#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"
#include "tools/check/Registry.h"
#include "tools/check/Spelling.h"
#include "tools/check/TypeDescriptions.h"

namespace kandora::check {

namespace {

constexpr int ownLibrary = 1;

const wchar_t* RegisterHint() {
    return ownArchitecture == Architecture::X86
               ? L"als Administrator registrieren: C:\\Windows\\SysWOW64\\regsvr32.exe (auf 32-Bit-Windows "
                 L"System32) mit dem Pfad von Kandora.dll"
               : L"als Administrator registrieren: C:\\Windows\\System32\\regsvr32.exe mit dem Pfad von "
                 L"Kandora.dll";
}

struct PublicClass {
    Text name;
    Text clsid;
};

/// The classes that the component's own library names.
std::vector<PublicClass> ClassesIn(ITypeLib* library) {
    std::vector<PublicClass> classes;
    for (UINT place = 0; place < library->GetTypeInfoCount(); ++place) {
        ComPtr<ITypeInfo> info;
        if (FAILED(library->GetTypeInfo(place, info.Receive()))) {
            continue;
        }
        const TypeAttributes attributes(info.Get());
        if (attributes && attributes->typekind == TKIND_COCLASS) {
            BSTR name = nullptr;
            library->GetDocumentation(static_cast<INT>(place), &name, nullptr, nullptr, nullptr);
            classes.push_back({TextOf(name), TextOfGuid(attributes->guid)});
            SysFreeString(name);
        }
    }
    return classes;
}

/// What is wrong with the registration of one class; empty when it is right.
Text Fault(HKEY root, const PublicClass& row, const Text& file) {
    const Text key = classesPath + (L"CLSID\\" + row.clsid) + L"\\InprocServer32";
    const auto path = RegistryText(root, key, nullptr, ownView);
    if (!path) {
        return row.name + L" ist nicht registriert";
    }
    if (!SameFile(*path, file)) {
        return row.name + L" zeigt auf " + *path;
    }
    const Text model = RegistryText(root, key, L"ThreadingModel", ownView).value_or(Text());
    if (!EqualIgnoringCase(model, L"Apartment")) {
        return row.name + L" hat ThreadingModel «" + model + L"» statt «Apartment»";
    }
    const Text programId = L"Kandora." + row.name;
    CLSID found{};
    if (FAILED(CLSIDFromProgID(programId.c_str(), &found)) ||
        !EqualIgnoringCase(TextOfGuid(found), row.clsid)) {
        return L"der Name " + programId + L" führt nicht zu dieser Klasse";
    }
    return {};
}

Text WithPresence(const Text& file) {
    return FileExists(file) ? file : file + L" (fehlt)";
}

/// Per machine and per user side by side: the user's shadows the machine's, whatever becomes of that, and who
/// removes the one leaves the other.
void CheckTwofold(Report& report, const std::vector<PublicClass>& classes, const OwnRights& rights) {
    for (const PublicClass& row : classes) {
        const Registrations both = RegistrationsOf(row.clsid);
        if (!both.forMachine || !both.forUser) {
            continue;
        }
        Text value = L"für alle Benutzer " + WithPresence(*both.forMachine) + L", nur für diesen Benutzer " +
                     WithPresence(*both.forUser) + L"; für diesen Benutzer gilt " + *both.forUser;
        if (rights.ignoresUserClasses) {
            value += L", in diesem Lauf mit erhöhten Rechten " + *both.forMachine;
        }
        report.Fail(
            area::component, L"Doppelte Registrierung", value,
            L"Eine der beiden entfernen: ihr Paket deinstallieren; von Hand Eingetragenes mit «regsvr32 /u» "
            L"(für alle Benutzer, als Administrator) oder «regsvr32 /u /n /i:user» (nur für diesen "
            L"Benutzer) und dem Pfad der Datei austragen, die dafür noch da sein muss");
        return;
    }
}

void CheckRegistration(Report& report, const Subject& subject, const std::vector<PublicClass>& classes,
                       const OwnRights& rights) {
    constexpr const wchar_t* name = L"Registrierung";
    if (!subject.registered) {
        const Text otherKey = classesPath + (L"CLSID\\" + classes.front().clsid) + L"\\InprocServer32";
        const bool otherBitness = RegistryText(HKEY_LOCAL_MACHINE, otherKey, nullptr, otherView) ||
                                  RegistryText(HKEY_CURRENT_USER, otherKey, nullptr, otherView);
        report.Fail(area::component, name,
                    otherBitness ? L"nur für die andere Architektur registriert" : L"nicht registriert",
                    RegisterHint());
        return;
    }
    const bool forUser =
        !rights.ignoresUserClasses &&
        RegistryKeyExists(HKEY_CURRENT_USER, classesPath + (L"CLSID\\" + classes.front().clsid), ownView);
    const HKEY root = forUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    std::vector<Text> faults;
    for (const PublicClass& row : classes) {
        if (Text fault = Fault(root, row, subject.file); !fault.empty()) {
            faults.push_back(std::move(fault));
        }
    }
    if (faults.empty()) {
        report.Good(area::component, name,
                    Decimal(static_cast<std::int64_t>(classes.size())) + L" Klassen, Apartment, " +
                        (forUser ? L"für diesen Benutzer" : L"für alle Benutzer"));
    } else {
        report.Fail(area::component, name, Joined(faults, L"; "), RegisterHint());
    }
}

void CheckTypeLibrary(Report& report, const Subject& subject, int resource, const wchar_t* libraryName) {
    const Text name = Text(L"Typbibliothek ") + libraryName;
    const ComPtr<ITypeLib> library = LibraryIn(subject, resource);
    const auto isMissing = [&] {
        report.Fail(area::component, name, L"fehlt in der Datei", L"Kandora.dll neu installieren");
    };
    if (!library) {
        isMissing();
        return;
    }
    const LibraryAttributes attributes(library.Get());
    if (!attributes) {
        isMissing();
        return;
    }
    const Text path = classesPath + (L"TypeLib\\" + TextOfGuid(attributes->guid)) + L"\\" +
                      Decimal(attributes->wMajorVerNum) + L"." + Decimal(attributes->wMinorVerNum) +
                      (ownArchitecture == Architecture::X86 ? L"\\0\\win32" : L"\\0\\win64");
    auto place = RegistryText(HKEY_CURRENT_USER, path, nullptr, ownView);
    if (!place) {
        place = RegistryText(HKEY_LOCAL_MACHINE, path, nullptr, ownView);
    }
    if (!place) {
        report.Fail(area::component, name, L"nicht registriert", RegisterHint());
        return;
    }
    ComPtr<ITypeLib> registered;
    if (FAILED(LoadTypeLibEx(place->c_str(), REGKIND_NONE, registered.Receive()))) {
        report.Fail(area::component, name, *place + L" ist nicht lesbar", RegisterHint());
        return;
    }
    report.Good(area::component, name, *place);
}

void CheckObject(Report& report, const Subject& subject) {
    constexpr const wchar_t* name = L"Objekt";
    ComPtr<IUnknown> provider;
    const HRESULT created = CreateProvider(subject, provider);
    ComPtr<IUnknown> requests;
    if (FAILED(created)) {
        report.Fail(
            area::component, name,
            L"Kandora.ELOProvider kann nicht erzeugt werden: " + TextOfError(RuntimeError(created)),
            L"Ist die Datei gesperrt, beschädigt oder von einem Virenschutz zurückgehalten? Sonst neu "
            L"installieren");
    } else if (FAILED(provider->QueryInterface(IID_DMSProvider, requests.ReceiveVoid()))) {
        report.Fail(area::component, name, L"antwortet nicht auf DMSProvider",
                    L"Kandora.dll neu installieren");
    } else {
        report.Good(area::component, name, L"Kandora.ELOProvider lässt sich erzeugen");
    }
}

}  // namespace

void CheckComponent(Report& report, const Subject& subject, const OwnRights& rights) {
    report.component = subject.file;
    const bool isHidden = WarnOfHiddenServers(report, area::component, providerClass, rights);
    std::vector<PublicClass> classes;
    if (const ComPtr<ITypeLib> library =
            subject.IsLoadable() ? LibraryIn(subject, ownLibrary) : ComPtr<ITypeLib>()) {
        classes = ClassesIn(library.Get());
    }
    const PublicClass provider{L"ELOProvider", TextOfGuid(CLSID_ELOProvider)};
    CheckTwofold(report, classes.empty() ? std::vector{provider} : classes, rights);
    if (!FileExists(subject.file)) {
        report.Fail(area::component, L"Datei", subject.file + L" fehlt",
                    subject.registered
                        ? L"Kandora neu installieren: registriert ist eine Datei, die es nicht "
                          L"gibt"
                        : L"Kandora installieren oder mit --component angeben, wo Kandora.dll "
                          L"liegt");
        return;
    }
    report.Good(area::component, L"Datei", subject.file);

    const Text version = VersionOf(subject.file);
    if (version == Text(KANDORA_VERSION) + L".0") {
        report.Good(area::component, L"Version", version);
    } else {
        report.Warn(area::component, L"Version", version.empty() ? L"keine" : version,
                    L"gehört nicht zu diesem kandora-check "
                    L"(" KANDORA_VERSION L"): beide aus derselben Installation verwenden");
    }

    if (!subject.IsLoadable()) {
        report.Fail(
            area::component, L"Architektur", NameOf(subject.architecture),
            Text(L"Dieses kandora-check ist ein Programm mit ") + NameOf(ownArchitecture) +
                L": zur Finanzbuchhaltung gehört die Kandora.dll ihrer Architektur, und zu dieser das "
                L"kandora-check aus demselben Ordner");
        return;
    }
    report.Good(area::component, L"Architektur", NameOf(subject.architecture));

    if (classes.empty()) {
        report.Fail(area::component, L"Registrierung", L"Die Datei nennt keine Klassen",
                    L"Kandora.dll neu installieren");
        return;
    }
    if (subject.registered || !isHidden) {
        CheckRegistration(report, subject, classes, rights);
    }
    CheckTypeLibrary(report, subject, ownLibrary, L"Kandora");
    CheckTypeLibrary(report, subject, hostLibrary, L"DmsSolution");
    CheckObject(report, subject);
}

}  // namespace kandora::check
