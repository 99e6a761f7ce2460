#include "tests/cost/Workbench.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace kandora::cost_tests {

namespace {

constexpr CLSID archiveClass = {0x5b1f2f0e, 0x3d43, 0x4e0f, {0x90, 0x8a, 0x1c, 0x7f, 0x0a, 0x52, 0x11, 0x01}};
constexpr CLSID hostClass = {0x5b1f2f0e, 0x3d43, 0x4e0f, {0x90, 0x8a, 0x1c, 0x7f, 0x0a, 0x52, 0x11, 0x02}};

long allocations = 0;
long texts = 0;
long files = 0;
std::vector<std::wstring> boxes;
std::wstring pretendedFile;
Workbench::Watcher currentWatcher;
bool isQuiet = true;
QuietWorld* current = nullptr;

void* CountedMalloc(std::size_t size) {
    ++allocations;
    return std::malloc(size);
}

BSTR WINAPI CountedSysAllocStringLen(const OLECHAR* text, UINT length) {
    ++texts;
    return SysAllocStringLen(text, length);
}

HANDLE WINAPI CountedCreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                 DWORD creation, DWORD flags, HANDLE model) {
    ++files;
    return CreateFileW(name, access, share, security, creation, flags, model);
}

DWORD WINAPI CountedGetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR missing, LPSTR buffer,
                                             DWORD size, LPCSTR file) {
    ++files;
    return GetPrivateProfileStringA(section, key, missing, buffer, size, file);
}

int WINAPI NotedMessageBoxW(HWND /*owner*/, LPCWSTR text, LPCWSTR /*caption*/, UINT /*style*/) {
    boxes.emplace_back(text);
    return IDOK;
}

/// The component looks for its files beside itself, so it is told that it lies in the workbench's folder.
DWORD WINAPI PretendedGetModuleFileNameW(HMODULE /*module*/, LPWSTR buffer, DWORD size) {
    const std::size_t length = pretendedFile.copy(buffer, size);
    if (length < size) {
        buffer[length] = L'\0';
    }
    return static_cast<DWORD>(length);
}

HRESULT WINAPI KnownCLSIDFromProgID(LPCOLESTR name, LPCLSID clsid) {
    *clsid = std::wstring_view(name) == L"ELO.professional" ? archiveClass : hostClass;
    return S_OK;
}

HRESULT WINAPI WatchedCoCreateInstance(REFCLSID clsid, LPUNKNOWN outer, DWORD context, REFIID iid,
                                       LPVOID* object) {
    HRESULT made = S_OK;
    if (!isQuiet) {
        made = CoCreateInstance(clsid, outer, context, iid, object);
    } else {
        made = (clsid == archiveClass ? current->archive : current->NewHost()).QueryInterface(iid, object);
    }
    if (SUCCEEDED(made) && currentWatcher) {
        *object = currentWatcher(clsid, static_cast<IDispatch*>(*object));
    }
    return made;
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

const std::vector<Key>& Keys() {
    static const std::vector<Key> keys{
        {"Debug", "Test", "False"},
        {"Archiv", "ArchivAktiv", "True"},
        {"Archiv", "EloPrinterFile", "C:\\Druck\\Liste.pdf"},
        {"Archiv", "Archivname", "Muster-Archiv"},
        {"Archiv", "Treuhand", "False"},
        {"Archiv", "SagePFad", "Sesam"},
        {"Maske", "Struktur", "1"},
        {"Maske", "Belege", "2"},
        {"Maske", "Auswertung", "3"},
        {"Maske", "Debi", "4"},
        {"Maske", "Kredi", "5"},
        {"IndexBelege", "Barcode", "1"},
        {"IndexBelege", "BelegNr", "2"},
        {"IndexBelege", "BelegIndex", "3"},
        {"IndexBelege", "Belegstatus", "4"},
        {"IndexBelege", "SesamDocID", "5"},
        {"IndexBelege", "Valutadatum", "6"},
        {"IndexBelege", "Betrag", "7"},
        {"IndexAuswertungen", "Listenbeschreibung", "1"},
        {"IndexAuswertungen", "DatumVon", "2"},
        {"IndexAuswertungen", "DatumBis", "3"},
        {"IndexDebi", "Barcode", "1"},
        {"IndexDebi", "BelegNr", "2"},
        {"IndexDebi", "BelegIndex", "3"},
        {"IndexDebi", "Belegstatus", "4"},
        {"IndexDebi", "SesamDocID", "5"},
        {"IndexDebi", "Valutadatum", "6"},
        {"IndexDebi", "Betrag", "7"},
        {"IndexDebi", "Rechnungsdatum", "8"},
        {"IndexDebi", "OPNr", "9"},
        {"IndexDebi", "PKNr", "10"},
        {"IndexDebi", "AdressNr", "11"},
        {"IndexDebi", "Kundenname", "12"},
        {"IndexDebi", "Kundenort", "13"},
        {"IndexKredi", "Barcode", "1"},
        {"IndexKredi", "BelegNr", "2"},
        {"IndexKredi", "BelegIndex", "3"},
        {"IndexKredi", "Belegstatus", "4"},
        {"IndexKredi", "SesamDocID", "5"},
        {"IndexKredi", "Valutadatum", "6"},
        {"IndexKredi", "Betrag", "7"},
        {"IndexKredi", "Rechnungsdatum", "8"},
        {"IndexKredi", "OPNr", "9"},
        {"IndexKredi", "PKNr", "10"},
        {"IndexKredi", "AdressNr", "11"},
        {"IndexKredi", "Kundenname", "12"},
        {"IndexKredi", "Kundenort", "13"},
        {"Login", "ELOUSERNAME", "anna"},
        {"Login", "ELOPW", "geheim"},
        {"Login", "ELOKUERZEL", "an"},
    };
    return keys;
}

std::string IniText(bool isTraced, int voucherMask) {
    std::string text;
    std::string section;
    for (const Key& key : Keys()) {
        if (section != key.section) {
            section = key.section;
            text += "[" + section + "]\r\n";
        }
        std::string value = key.value;
        if (section == "Debug" && isTraced) {
            value = "True";
        } else if (section == "Maske" && key.name == std::string("Belege")) {
            value = std::to_string(voucherMask);
        }
        text += std::string(key.name) + "=" + value + "\r\n";
    }
    return text;
}

const CLSID& ArchiveClass() {
    return archiveClass;
}

Workbench::Workbench(const std::filesystem::path& component, const std::filesystem::path& folder,
                     Surroundings surroundings)
    : folder_(folder) {
    if (current != nullptr) {
        throw std::logic_error("one workbench at a time");
    }
    SetTracing(false);
    std::ofstream(folder_ / "Platzhalter.pdf") << "%PDF-1.4";
    world.options = {{100, L"true"},
                     {105, (folder_ / "Platzhalter.pdf").wstring()},
                     {109, L"/Sesam/Muster/Buchungen"},
                     {110, L"/Sesam/Muster/Auswertungen"},
                     {111, L"/Sesam/Muster/Debi"},
                     {112, L"/Sesam/Muster/Kredi"}};
    module_ = LoadLibraryW(component.c_str());
    if (module_ == nullptr) {
        throw std::runtime_error("the component cannot be loaded");
    }
    const auto divert = [this](const char* library, const char* function, void* replacement) {
        hooks_.push_back(std::make_unique<test::ModuleHook>(module_, library, function, replacement));
    };
    isQuiet = surroundings == Surroundings::Quiet;
    if (isQuiet) {
        divert("msvcrt.dll", "malloc", Address(&CountedMalloc));
        divert("oleaut32.dll", "SysAllocStringLen", Address(&CountedSysAllocStringLen));
        divert("kernel32.dll", "CreateFileW", Address(&CountedCreateFileW));
        divert("kernel32.dll", "GetPrivateProfileStringA", Address(&CountedGetPrivateProfileStringA));
        divert("ole32.dll", "CLSIDFromProgID", Address(&KnownCLSIDFromProgID));
    }
    divert("kernel32.dll", "GetModuleFileNameW", Address(&PretendedGetModuleFileNameW));
    divert("user32.dll", "MessageBoxW", Address(&NotedMessageBoxW));
    divert("ole32.dll", "CoCreateInstance", Address(&WatchedCoCreateInstance));
    pretendedFile = (folder_ / "Kandora.dll").wstring();
    current = &world;
}

Workbench::~Workbench() {
    hooks_.clear();
    currentWatcher = nullptr;
    current = nullptr;
}

void Workbench::SetTracing(bool isTraced) const {
    std::ofstream(folder_ / "Kandora.ini", std::ios::binary) << IniText(isTraced);
}

void Workbench::SetVoucherMask(int mask) const {
    std::ofstream(folder_ / "Kandora.ini", std::ios::binary) << IniText(false, mask);
}

void Workbench::Watch(Watcher watcher) {
    currentWatcher = std::move(watcher);
}

ComPtr<DMSProvider> Workbench::NewProvider() const {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(module_, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    ComPtr<DMSProvider> provider;
    if (getClassObject == nullptr ||
        FAILED(getClassObject(CLSID_ELOProvider, IID_IClassFactory, factory.ReceiveVoid()))) {
        throw std::runtime_error("the component has no class object");
    }
    if (FAILED(factory->CreateInstance(nullptr, IID_DMSProvider, provider.ReceiveVoid()))) {
        throw std::runtime_error("the plug-in object cannot be made");
    }
    return provider;
}

Cost Workbench::CostOf(const std::function<void()>& work) {
    allocations = texts = files = 0;
    QuietObject::asked = QuietObject::invoked = 0;
    work();
    return {QuietObject::asked, QuietObject::invoked, allocations, texts, files};
}

const std::vector<std::wstring>& Workbench::Boxes() {
    return boxes;
}

MetaData::MetaData(const wchar_t* number, const wchar_t* index, const wchar_t* barcode) {
    constexpr ULONG size = 5;
    SAFEARRAY* const array = SafeArrayCreateVector(VT_VARIANT, 0, size);
    const wchar_t* const elements[size] = {L"", L"", number, index, barcode};
    for (LONG i = 0; i < static_cast<LONG>(size); ++i) {
        VARIANT element{};
        element.vt = VT_BSTR;
        element.bstrVal = SysAllocString(elements[i]);
        SafeArrayPutElement(array, &i, &element);
        VariantClear(&element);
    }
    value_.vt = VT_ARRAY | VT_VARIANT;
    value_.parray = array;
}

}  // namespace kandora::cost_tests
