#include "tools/check/Subject.h"

#include <array>

#include "Kandora.h"
#include "tools/check/FileSystem.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* componentName = L"Kandora.dll";

Text OwnFolder() {
    std::array<wchar_t, 32768> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return ParentFolder(path.data());
}

/// In this program's folder or the one above: installed, it lies in a folder of its own below the component.
Text BesideThisProgram() {
    const Text folder = OwnFolder();
    for (const Text& place : {folder, ParentFolder(folder)}) {
        Text file = place + L"\\" + componentName;
        if (FileExists(file)) {
            return file;
        }
    }
    return folder + L"\\" + componentName;
}

/// INI file and component bear the same name.
Text ComponentOf(const Text& given) {
    Text full = FullPath(given);
    const Text name = FileName(full);
    const std::size_t dot = name.find_last_of(L'.');
    if (dot != Text::npos && EqualIgnoringCase(name.substr(dot), L".ini")) {
        return ParentFolder(full) + L"\\" + name.substr(0, dot) + L".dll";
    }
    return full;
}

}  // namespace

Subject FindSubject(const Text& given, const OwnRights& rights) {
    Subject subject;
    subject.registered = ServerOf(providerClass, rights);
    const Registrations registrations = RegistrationsOf(TextOfGuid(CLSID_ELOProvider));
    const auto isFileOf = [&](const std::optional<Text>& file) {
        return file && SameFile(*file, subject.file);
    };
    if (!given.empty()) {
        subject.file = ComponentOf(given);
    } else if (subject.registered) {
        subject.file = FullPath(subject.registered->file);
    } else if (registrations.forUser) {
        subject.file = FullPath(*registrations.forUser);  // hidden from this program
    } else {
        subject.file = BesideThisProgram();
    }
    subject.architecture = ArchitectureOf(subject.file);
    subject.isForOneUser = isFileOf(registrations.forUser) && !isFileOf(registrations.forMachine);
    subject.isRegistered = subject.registered && SameFile(subject.registered->file, subject.file);
    return subject;
}

ComPtr<ITypeLib> LibraryIn(const Subject& subject, int resource) {
    ComPtr<ITypeLib> library;
    LoadTypeLibEx((subject.file + L"\\" + Decimal(resource)).c_str(), REGKIND_NONE, library.Receive());
    return library;
}

HRESULT CreateProvider(const Subject& subject, ComPtr<IUnknown>& provider) {
    if (subject.isRegistered && subject.registered) {
        return CoCreateInstance(subject.registered->clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                provider.ReceiveVoid());
    }
    // Never unloaded: the component stays in a process once it has handed out a class.
    const HMODULE module = LoadLibraryExW(subject.file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    if (getClassObject == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    }
    ComPtr<IClassFactory> factory;
    const HRESULT found = getClassObject(CLSID_ELOProvider, IID_IClassFactory, factory.ReceiveVoid());
    return FAILED(found) ? found : factory->CreateInstance(nullptr, IID_IUnknown, provider.ReceiveVoid());
}

}  // namespace kandora::check
