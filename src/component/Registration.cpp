#include "component/Registration.h"

#include <vector>

#include <oaidl.h>

#include "automation/Errors.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "automation/WindowsPlatform.h"
#include "component/Classes.h"
#include "component/TypeLibraries.h"
#include "interfaces/ComPtr.h"

namespace kandora {

namespace {

constexpr const wchar_t* classesPath = L"Software\\Classes";
/// The platform's own marshaller for interfaces that a type library describes.
constexpr const wchar_t* automationMarshaller = L"{00020424-0000-0000-C000-000000000046}";
constexpr const wchar_t* majorMinor = L"1.0";
constexpr const wchar_t* programIdPrefix = L"Kandora.";
constexpr const wchar_t* versionSuffix = L".1";

#ifdef _WIN64
constexpr const wchar_t* bitness = L"win64";
constexpr const wchar_t* otherBitness = L"win32";
constexpr REGSAM otherView = KEY_WOW64_32KEY;
#else
constexpr const wchar_t* bitness = L"win32";
constexpr const wchar_t* otherBitness = L"win64";
constexpr REGSAM otherView = KEY_WOW64_64KEY;
#endif

Text TextOfGuid(REFGUID guid) {
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return text;
}

void RequireWritten(LSTATUS status) {
    if (status != ERROR_SUCCESS) {
        throw RuntimeError(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
    }
}

/// The part of the registry that a scope's classes lie in.
class ClassesKey {
public:
    explicit ClassesKey(RegistrationScope scope)
        : root_(scope == RegistrationScope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER) {}

    /// Sets a value, the default value when `name` is null, creating the key if need be.
    void Set(const Text& path, const wchar_t* name, const Text& value) const {
        HKEY key = nullptr;
        RequireWritten(
            RegCreateKeyExW(root_, Full(path).c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr));
        const LSTATUS status =
            RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
        RequireWritten(status);
    }

    void DeleteTree(const Text& path) const noexcept {
        if (RegDeleteTreeW(root_, Full(path).c_str()) == ERROR_SUCCESS) {
            RegDeleteKeyExW(root_, Full(path).c_str(), 0, 0);
        }
    }

    [[nodiscard]] bool Exists(const Text& path, REGSAM view = 0) const noexcept {
        HKEY key = nullptr;
        if (RegOpenKeyExW(root_, Full(path).c_str(), 0, KEY_READ | view, &key) != ERROR_SUCCESS) {
            return false;
        }
        RegCloseKey(key);
        return true;
    }

private:
    static Text Full(const Text& path) { return Text(classesPath) + L"\\" + path; }

    HKEY root_;
};

Text ClassPath(const PublicClass& row) {
    return L"CLSID\\" + TextOfGuid(row.clsid);
}

ComPtr<ITypeLib> Library(int resource) {
    ComPtr<ITypeLib> library;
    RequireSuccess(LoadLibraryOf(resource, library.Receive()));
    return library;
}

struct LibraryIdentity {
    GUID guid;
    Text description;
};

LibraryIdentity IdentityOf(ITypeLib* library) {
    TLIBATTR* attributes = nullptr;
    RequireSuccess(library->GetLibAttr(&attributes));
    const GUID guid = attributes->guid;
    library->ReleaseTLibAttr(attributes);
    BSTR description = nullptr;
    library->GetDocumentation(-1, nullptr, &description, nullptr, nullptr);
    LibraryIdentity identity{guid, TextOf(description)};
    SysFreeString(description);
    return identity;
}

struct InterfaceIdentity {
    Text iid;
    Text name;
};

/// The dual interfaces that a library declares.
std::vector<InterfaceIdentity> InterfacesOf(ITypeLib* library) {
    std::vector<InterfaceIdentity> interfaces;
    const UINT count = library->GetTypeInfoCount();
    for (UINT i = 0; i < count; ++i) {
        ComPtr<ITypeInfo> info;
        RequireSuccess(library->GetTypeInfo(i, info.Receive()));
        TYPEATTR* attributes = nullptr;
        RequireSuccess(info->GetTypeAttr(&attributes));
        const bool isDual =
            attributes->typekind == TKIND_DISPATCH && (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
        const Text iid = TextOfGuid(attributes->guid);
        info->ReleaseTypeAttr(attributes);
        if (isDual) {
            BSTR name = nullptr;
            library->GetDocumentation(static_cast<INT>(i), &name, nullptr, nullptr, nullptr);
            interfaces.push_back({iid, TextOf(name)});
            SysFreeString(name);
        }
    }
    return interfaces;
}

void RegisterClass(const ClassesKey& classes, const PublicClass& row, const Text& file,
                   const Text& libraryId) {
    const Text path = ClassPath(row);
    const Text programId = Text(programIdPrefix) + row.name;
    const Text versioned = programId + versionSuffix;
    classes.Set(path, nullptr, row.description);
    classes.Set(path + L"\\InprocServer32", nullptr, file);
    classes.Set(path + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    classes.Set(path + L"\\ProgID", nullptr, versioned);
    classes.Set(path + L"\\VersionIndependentProgID", nullptr, programId);
    classes.Set(path + L"\\TypeLib", nullptr, libraryId);
    classes.Set(path + L"\\Version", nullptr, majorMinor);
    classes.Set(path + L"\\Programmable", nullptr, {});
    classes.Set(programId, nullptr, row.description);
    classes.Set(programId + L"\\CLSID", nullptr, TextOfGuid(row.clsid));
    classes.Set(programId + L"\\CurVer", nullptr, versioned);
    classes.Set(versioned, nullptr, row.description);
    classes.Set(versioned + L"\\CLSID", nullptr, TextOfGuid(row.clsid));
}

void RegisterTypeLibrary(const ClassesKey& classes, int resource, const Text& file, const Text& folder) {
    const ComPtr<ITypeLib> library = Library(resource);
    const LibraryIdentity identity = IdentityOf(library.Get());
    const Text libraryId = TextOfGuid(identity.guid);
    const Text path = L"TypeLib\\" + libraryId + L"\\" + majorMinor;
    classes.Set(path, nullptr, identity.description);
    classes.Set(path + L"\\FLAGS", nullptr, L"0");
    classes.Set(path + L"\\HELPDIR", nullptr, folder);
    classes.Set(path + L"\\0\\" + bitness, nullptr, file + L"\\" + Decimal(resource));
    for (const InterfaceIdentity& each : InterfacesOf(library.Get())) {
        const Text key = L"Interface\\" + each.iid;
        classes.Set(key, nullptr, each.name);
        classes.Set(key + L"\\ProxyStubClsid32", nullptr, automationMarshaller);
        classes.Set(key + L"\\TypeLib", nullptr, libraryId);
        classes.Set(key + L"\\TypeLib", L"Version", majorMinor);
    }
}

void UnregisterTypeLibrary(const ClassesKey& classes, int resource) {
    const ComPtr<ITypeLib> library = Library(resource);
    for (const InterfaceIdentity& each : InterfacesOf(library.Get())) {
        classes.DeleteTree(L"Interface\\" + each.iid);
    }
    const Text path = L"TypeLib\\" + TextOfGuid(IdentityOf(library.Get()).guid);
    const Text places = path + L"\\" + majorMinor + L"\\0\\";
    classes.DeleteTree(places + bitness);
    if (!classes.Exists(places + otherBitness)) {
        classes.DeleteTree(path);
    }
}

}  // namespace

HRESULT Register(RegistrationScope scope) noexcept {
    try {
        const ClassesKey classes(scope);
        WindowsPlatform platform;
        const Text file = platform.ComponentFile();
        const Text folder = ComponentFolder(platform);
        const Text libraryId = TextOfGuid(IdentityOf(Library(ownLibrary).Get()).guid);
        for (const PublicClass& row : PublicClasses()) {
            RegisterClass(classes, row, file, libraryId);
        }
        RegisterTypeLibrary(classes, ownLibrary, file, folder);
        RegisterTypeLibrary(classes, hostLibrary, file, folder);
        return S_OK;
    } catch (...) {
        const std::int32_t number = CurrentNumber();
        Unregister(scope);
        return HresultOf(number);
    }
}

HRESULT Unregister(RegistrationScope scope) noexcept {
    try {
        const ClassesKey classes(scope);
        for (const PublicClass& row : PublicClasses()) {
            classes.DeleteTree(ClassPath(row));
            if (!classes.Exists(ClassPath(row), otherView)) {
                classes.DeleteTree(Text(programIdPrefix) + row.name);
                classes.DeleteTree(Text(programIdPrefix) + row.name + versionSuffix);
            }
        }
        UnregisterTypeLibrary(classes, ownLibrary);
        UnregisterTypeLibrary(classes, hostLibrary);
        return S_OK;
    } catch (...) {
        return HresultOf(CurrentNumber());
    }
}

IID RegisteredHostInterface() noexcept {
    IID iid = IID_NULL;
    try {
        wchar_t value[64] = {};
        DWORD size = sizeof(value) - sizeof(wchar_t);
        const Text path = ClassPath(PublicClasses().front());
        if (RegGetValueW(HKEY_CLASSES_ROOT, path.c_str(), hostInterfaceValue, RRF_RT_REG_SZ, nullptr, value,
                         &size) != ERROR_SUCCESS ||
            FAILED(IIDFromString(value, &iid))) {
            return IID_NULL;
        }
    } catch (...) {
        return IID_NULL;
    }
    return iid;
}

}  // namespace kandora
