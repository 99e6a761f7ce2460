#include "tools/check/ProgramFile.h"

#include <vector>

#include <winver.h>

#include "tools/check/FileSystem.h"

namespace kandora::check {

const wchar_t* NameOf(Architecture architecture) noexcept {
    return architecture == Architecture::X86   ? L"32 Bit"
           : architecture == Architecture::X64 ? L"64 Bit"
                                               : L"unbekannt";
}

Architecture ArchitectureOf(const Text& file) {
    const ReadableFile program(file);
    IMAGE_DOS_HEADER start{};
    struct {
        DWORD signature;
        WORD machine;
    } header{};
    constexpr DWORD headerSize = sizeof(DWORD) + sizeof(WORD);
    if (!program.ReadAt(0, &start, sizeof(start)) || start.e_magic != IMAGE_DOS_SIGNATURE ||
        !program.ReadAt(start.e_lfanew, &header, headerSize) || header.signature != IMAGE_NT_SIGNATURE) {
        return Architecture::Unknown;
    }
    switch (header.machine) {
    case IMAGE_FILE_MACHINE_I386:
        return Architecture::X86;
    case IMAGE_FILE_MACHINE_AMD64:
        return Architecture::X64;
    default:
        return Architecture::Unknown;
    }
}

Text VersionOf(const Text& file) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    std::vector<BYTE> data(size);
    void* found = nullptr;
    UINT length = 0;
    if (size == 0 || GetFileVersionInfoW(file.c_str(), 0, size, data.data()) == FALSE ||
        VerQueryValueW(data.data(), L"\\", &found, &length) == FALSE) {
        return {};
    }
    const auto* const version = static_cast<const VS_FIXEDFILEINFO*>(found);
    return Decimal(HIWORD(version->dwFileVersionMS)) + L"." + Decimal(LOWORD(version->dwFileVersionMS)) +
           L"." + Decimal(HIWORD(version->dwFileVersionLS)) + L"." +
           Decimal(LOWORD(version->dwFileVersionLS));
}

}  // namespace kandora::check
