#include <algorithm>

#include "DmsSolution.h"
#include "Kandora.h"
#include "component/Classes.h"
#include "tools/check/Checks.h"
#include "tools/check/InterfaceDescription.h"
#include "tools/check/Registry.h"
#include "tools/check/Spelling.h"
#include "tools/check/TypeDescriptions.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* libraryName = L"DmsSolution";
constexpr const wchar_t* interfaceName = L"DMSProvider";
constexpr const wchar_t* typeLibraries = L"Software\\Classes\\TypeLib";

Text NameOfLibrary(ITypeLib* library) {
    BSTR name = nullptr;
    library->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
    Text text = TextOf(name);
    SysFreeString(name);
    return text;
}

struct Entry {
    Text description;
    Text file;
};

/// The libraries registered under one identifier, of whatever version, language and bitness.
std::vector<Entry> EntriesOf(HKEY root, REGSAM view, const Text& libraryKey) {
    std::vector<Entry> entries;
    for (const Text& version : RegistryKeys(root, libraryKey, view)) {
        const Text versionKey = libraryKey + L"\\" + version;
        const Text description = RegistryText(root, versionKey, nullptr, view).value_or(Text());
        for (const Text& language : RegistryKeys(root, versionKey, view)) {
            for (const wchar_t* bitness : {L"win32", L"win64"}) {
                const Text key = versionKey + L"\\" + language + L"\\" + bitness;
                if (const auto file = RegistryText(root, key, nullptr, view); file && !file->empty()) {
                    entries.push_back({description, *file});
                }
            }
        }
    }
    return entries;
}

/// All registered libraries except for the component's own.
std::vector<Entry> RegisteredLibraries(const GUID& own) {
    std::vector<Entry> all;
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const REGSAM view : {ownView, otherView}) {
            for (const Text& id : RegistryKeys(root, typeLibraries, view)) {
                if (EqualIgnoringCase(id, TextOfGuid(own))) {
                    continue;
                }
                for (Entry& entry : EntriesOf(root, view, Text(typeLibraries) + L"\\" + id)) {
                    if (std::ranges::find(all, entry.file, &Entry::file) == all.end()) {
                        all.push_back(std::move(entry));
                    }
                }
            }
        }
    }
    return all;
}

bool Mentions(const Text& text) {
    return LowerCase(text).find(LowerCase(libraryName)) != Text::npos;
}

/// The first of the files that is a library of the host's name, among those whose entries mention the name or
/// (`mentioning` false) among the others; empty when there is none.
Text FirstOfName(const std::vector<Entry>& entries, bool mentioning) {
    for (const Entry& entry : entries) {
        if ((Mentions(entry.description) || Mentions(entry.file)) != mentioning) {
            continue;
        }
        ComPtr<ITypeLib> library;
        if (SUCCEEDED(LoadTypeLibEx(entry.file.c_str(), REGKIND_NONE, library.Receive())) &&
            EqualIgnoringCase(NameOfLibrary(library.Get()), libraryName)) {
            return entry.file;
        }
    }
    return {};
}

/// A library's name stands in the library itself; most registrations tell it too, and those are tried first.
Text FindLibrary(ITypeLib* own) {
    const LibraryAttributes attributes(own);
    if (!attributes) {
        return {};
    }
    const std::vector<Entry> entries = RegisteredLibraries(attributes->guid);
    const Text file = FirstOfName(entries, true);
    return file.empty() ? FirstOfName(entries, false) : file;
}

Text ProviderKey() {
    return L"Software\\Classes\\CLSID\\" + TextOfGuid(CLSID_ELOProvider);
}

/// Where the component's classes are registered for programs of this bitness.
HKEY RegistrationRoot() {
    return RegistryKeyExists(HKEY_CURRENT_USER, ProviderKey(), ownView) ? HKEY_CURRENT_USER
                                                                        : HKEY_LOCAL_MACHINE;
}

bool Answers(const Subject& subject, REFIID iid) {
    ComPtr<IUnknown> provider;
    ComPtr<IUnknown> requests;
    return SUCCEEDED(CreateProvider(subject, provider)) &&
           SUCCEEDED(provider->QueryInterface(iid, requests.ReceiveVoid()));
}

LSTATUS WriteHostInterface(const Text& iid) {
    const RegistryKey key(RegistrationRoot(), ProviderKey(), ownView, KEY_SET_VALUE);
    return key ? RegSetValueExW(key.Get(), hostInterfaceValue, 0, REG_SZ,
                                reinterpret_cast<const BYTE*>(iid.c_str()),
                                static_cast<DWORD>((iid.size() + 1) * sizeof(wchar_t)))
               : key.Outcome();
}

class HostInterfaceCheck {
public:
    HostInterfaceCheck(Report& report, const Subject& subject, bool adopt)
        : report_(report), subject_(subject), adopt_(adopt) {}

    void Run(Text file) {
        const ComPtr<ITypeLib> own = LibraryIn(subject_, hostLibrary);
        const auto component = own ? DescribeInterface(own.Get(), interfaceName) : std::nullopt;
        if (!component) {
            report_.Fail(area::hostInterface, interfaceName,
                         L"Kandora.dll beschreibt ihre Schnittstelle nicht", L"Kandora.dll neu installieren");
            return;
        }
        if (file.empty()) {
            file = FindLibrary(own.Get());
        }
        if (file.empty()) {
            ReportNoLibrary(*component);
            return;
        }
        ComPtr<ITypeLib> library;
        const HRESULT loaded = LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Receive());
        if (FAILED(loaded)) {
            report_.Fail(
                area::hostInterface, L"Typbibliothek", file + L" ist nicht lesbar",
                L"Gesucht ist die Typbibliothek DmsSolution der Finanzbuchhaltung (.tlb, .dll, .exe)");
            return;
        }
        const auto host = DescribeInterface(library.Get(), interfaceName);
        if (!host) {
            report_.Fail(area::hostInterface, L"Typbibliothek",
                         file + L" (" + NameOfLibrary(library.Get()) + L") kennt DMSProvider nicht",
                         L"Gesucht ist die Typbibliothek DmsSolution der Finanzbuchhaltung");
            return;
        }
        report_.Good(area::hostInterface, L"Typbibliothek", file);
        if (ReportDifferences(*host, Compare(*host, *component))) {
            CheckIdentifier(*host, *component);
        }
    }

private:
    void ReportNoLibrary(const InterfaceDescription& component) {
        constexpr const wchar_t* value = L"keine eigene der Finanzbuchhaltung registriert";
        if (adopt_) {
            report_.Fail(area::hostInterface, L"Typbibliothek", value,
                         L"Mit --host-typelib DATEI angeben, was zu übernehmen ist");
            return;
        }
        report_.Good(area::hostInterface, L"Typbibliothek",
                     Text(value) + L"; Kandora antwortet auf " + TextOfGuid(component.iid));
    }

    /// True when the component can serve the host's interface.
    bool ReportDifferences(const InterfaceDescription& host, const std::vector<Difference>& differences) {
        bool isServed = true;
        for (const Difference& difference : differences) {
            if (difference.isServed) {
                report_.Warn(area::hostInterface, L"Abweichung", difference.text,
                             L"Ohne Folgen für die Anfragen der Finanzbuchhaltung");
            } else {
                isServed = false;
                report_.Fail(area::hostInterface, L"Abweichung", difference.text,
                             L"Diese Version der Finanzbuchhaltung kann Kandora nicht bedienen");
            }
        }
        if (isServed) {
            report_.Good(area::hostInterface, L"Methoden",
                         Decimal(static_cast<std::int64_t>(host.methods.size())) +
                             L" in gleicher Reihenfolge mit gleichen Argumenten");
        } else if (adopt_) {
            report_.Fail(
                area::hostInterface, L"Übernahme", L"abgelehnt, nichts geändert",
                L"Die Methoden der Finanzbuchhaltung weichen ab; eine passende Kandora.dll verlangen");
        }
        return isServed;
    }

    void CheckIdentifier(const InterfaceDescription& host, const InterfaceDescription& component) {
        constexpr const wchar_t* name = L"Kennung";
        const Text iid = TextOfGuid(host.iid);
        if (host.iid == component.iid) {
            report_.Good(area::hostInterface, name, iid + L", dieselbe wie in Kandora");
        } else if (!subject_.isRegistered) {
            report_.Fail(area::hostInterface, name, iid + L", Kandora ist nicht registriert",
                         L"Kandora registrieren, danach kandora-check --adopt ausführen");
        } else if (Answers(subject_, host.iid)) {
            report_.Good(area::hostInterface, name, iid + L", von Kandora übernommen");
        } else if (adopt_) {
            Adopt(host.iid);
        } else {
            report_.Fail(
                area::hostInterface, name, iid + L", Kandora antwortet nur auf " + TextOfGuid(component.iid),
                L"Als Administrator kandora-check --adopt ausführen: Kandora übernimmt diese Kennung");
        }
    }

    void Adopt(REFIID iid) {
        constexpr const wchar_t* name = L"Übernahme";
        const Text text = TextOfGuid(iid);
        if (const LSTATUS status = WriteHostInterface(text); status != ERROR_SUCCESS) {
            report_.Fail(area::hostInterface, name,
                         text + L": Eintrag in der Registrierung nicht möglich (Windows-Fehler " +
                             Decimal(status) + L")",
                         L"Als Administrator ausführen");
        } else if (!Answers(subject_, iid)) {
            report_.Fail(area::hostInterface, name, text + L": Kandora antwortet nicht darauf",
                         L"Kandora.dll neu installieren");
        } else {
            report_.Good(area::hostInterface, name, text + L": Kandora antwortet jetzt auf diese Kennung");
        }
    }

    Report& report_;
    const Subject& subject_;
    bool adopt_;
};

}  // namespace

void CheckHostInterface(Report& report, const Subject& subject, const Text& typeLibrary, bool adopt) {
    if (!subject.IsLoadable()) {
        return;  // reported with the component
    }
    HostInterfaceCheck(report, subject, adopt).Run(typeLibrary);
}

}  // namespace kandora::check
