#include "tools/kit/Facts.h"

#include <array>
#include <filesystem>
#include <iterator>

#include <windows.h>

#include "interfaces/CodePages.h"
#include "tools/check/Handle.h"
#include "tools/check/Registry.h"

namespace kandora::kit {

namespace {

/// What the component and its tests call.
constexpr std::array<const wchar_t*, 12> systemLibraries{
    L"ntdll.dll",  L"kernel32.dll", L"kernelbase.dll", L"ole32.dll", L"combase.dll", L"oleaut32.dll",
    L"rpcrt4.dll", L"comctl32.dll", L"user32.dll",     L"gdi32.dll", L"shell32.dll", L"msi.dll"};

/// Calls a function of a library of the system, where there is one.
template <class Function>
Function FunctionOf(const wchar_t* library, const char* name) {
    const HMODULE module = GetModuleHandleW(library);
    return module == nullptr
               ? nullptr
               : reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

Text Number(DWORD number) {
    return Decimal(static_cast<std::int64_t>(number));
}

/// The version as it is: what the older functions tell depends on what a program declares to know.
Text WindowsVersion() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    const auto ask = FunctionOf<LONG(WINAPI*)(OSVERSIONINFOW*)>(L"ntdll.dll", "RtlGetVersion");
    if (ask == nullptr || ask(&version) != 0) {
        return L"unbekannt";
    }
    constexpr const wchar_t* key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    const auto told = [&](const wchar_t* name) {
        const auto text = check::RegistryText(HKEY_LOCAL_MACHINE, key, name, KEY_WOW64_64KEY);
        return text ? L" " + *text : Text();
    };
    DWORD revision = 0;
    DWORD size = sizeof(revision);
    RegGetValueW(HKEY_LOCAL_MACHINE, key, L"UBR", RRF_RT_REG_DWORD, nullptr, &revision, &size);
    return Number(version.dwMajorVersion) + L"." + Number(version.dwMinorVersion) + L"." +
           Number(version.dwBuildNumber) + L"." + Number(revision) + told(L"ProductName") +
           told(L"DisplayVersion");
}

Text Architecture() {
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    switch (info.wProcessorArchitecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return L"x64";
    case PROCESSOR_ARCHITECTURE_INTEL:
        return L"x86";
    case 12:  // the header need not know its name
        return L"ARM64";
    default:
        return L"Nr. " + Number(info.wProcessorArchitecture);
    }
}

Text Processor() {
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    const auto name =
        check::RegistryText(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                            L"ProcessorNameString", KEY_WOW64_64KEY);
    return Trimmed(name.value_or(L"unbekannt")) + L", " + Number(info.dwNumberOfProcessors) + L" Kerne";
}

Text Memory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof(status);
    GlobalMemoryStatusEx(&status);
    constexpr DWORDLONG megabyte = 1ULL << 20U;
    return Decimal(static_cast<std::int64_t>(status.ullTotalPhys / megabyte)) + L" MB, frei " +
           Decimal(static_cast<std::int64_t>(status.ullAvailPhys / megabyte)) + L" MB";
}

Text LocaleName(LANGID language) {
    std::array<wchar_t, LOCALE_NAME_MAX_LENGTH> name{};
    const int length =
        LCIDToLocaleName(MAKELCID(language, SORT_DEFAULT), name.data(), static_cast<int>(name.size()), 0);
    return length > 0 ? Text(name.data()) : Number(language);
}

Text Languages() {
    std::array<wchar_t, LOCALE_NAME_MAX_LENGTH> formats{};
    GetUserDefaultLocaleName(formats.data(), static_cast<int>(formats.size()));
    return L"Anzeige " + LocaleName(GetUserDefaultUILanguage()) + L", Formate " + formats.data() +
           L", System " + LocaleName(GetSystemDefaultLangID());
}

Text Formats() {
    const auto setting = [](LCTYPE kind) {
        std::array<wchar_t, 80> text{};
        GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, kind, text.data(), static_cast<int>(text.size()));
        return Text(text.data());
    };
    return L"Datum " + setting(LOCALE_SSHORTDATE) + L", Dezimalzeichen " + setting(LOCALE_SDECIMAL) +
           L", Tausender " + setting(LOCALE_STHOUSAND) + L", Liste " + setting(LOCALE_SLIST);
}

Text Session() {
    const HDC screen = GetDC(nullptr);
    const int resolution = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return Text(GetSystemMetrics(SM_REMOTESESSION) != 0 ? L"Fernsitzung" : L"am Gerät") + L", Bildschirm " +
           Decimal(GetSystemMetrics(SM_CXSCREEN)) + L" x " + Decimal(GetSystemMetrics(SM_CYSCREEN)) + L", " +
           Decimal(resolution) + L" dpi";
}

/// The version of a file from its fixed version information.
Text FileVersion(const std::filesystem::path& file) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    std::string block(size, '\0');
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (size == 0 || GetFileVersionInfoW(file.c_str(), 0, size, block.data()) == FALSE ||
        VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) == FALSE ||
        length == 0) {
        return std::filesystem::exists(file) ? L"ohne Version" : L"nicht vorhanden";
    }
    return Number(HIWORD(fixed->dwFileVersionMS)) + L"." + Number(LOWORD(fixed->dwFileVersionMS)) + L"." +
           Number(HIWORD(fixed->dwFileVersionLS)) + L"." + Number(LOWORD(fixed->dwFileVersionLS));
}

}  // namespace

std::vector<Fact> FactsOfMachine() {
    std::vector<Fact> facts{
        {L"Rechner", ComputerName()},
        {L"Windows", WindowsVersion()},
        {L"Architektur", Architecture()},
        {L"Prozessor", Processor()},
        {L"Speicher", Memory()},
        {L"Sprachen", Languages()},
        {L"Formate", Formats()},
        {L"Codepages", L"ANSI " + Number(GetACP()) + L", OEM " + Number(GetOEMCP())},
        {L"Sitzung", Session()},
        {L"Rechte", IsElevated() ? L"Administrator" : L"Benutzer"},
    };
    if (const Text wine = WineVersion(); !wine.empty()) {
        facts.push_back({L"Wine", wine});
    }
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    for (const wchar_t* const library : systemLibraries) {
        facts.push_back({library, FileVersion(std::filesystem::path(folder.data()) / library)});
    }
    return facts;
}

bool IsElevated() {
    check::Handle token;
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    return OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Receive()) != FALSE &&
           GetTokenInformation(token.Get(), TokenElevation, &elevation, sizeof(elevation), &size) != FALSE &&
           elevation.TokenIsElevated != 0;
}

Text WineVersion() {
    const auto ask = FunctionOf<const char*(CDECL*)()>(L"ntdll.dll", "wine_get_version");
    return ask == nullptr ? Text() : TextFromUtf8(ask());
}

Text ComputerName() {
    std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
    auto length = static_cast<DWORD>(name.size());
    GetComputerNameW(name.data(), &length);
    return {name.data(), length};
}

}  // namespace kandora::kit
