#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <winver.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>

// The file itself, as an administrator's tools and a host's loader see it.
namespace kandora::component_tests {
namespace {

constexpr std::uintmax_t largestFile = 614'400;

/// A PE file, read as a file.
class Image {
public:
    explicit Image(const fs::path& file) : bytes_(BytesOf(file)) {
        const auto& dos = At<IMAGE_DOS_HEADER>(0);
        headers_ = static_cast<std::size_t>(dos.e_lfanew);
        if (dos.e_magic != IMAGE_DOS_SIGNATURE || At<DWORD>(headers_) != IMAGE_NT_SIGNATURE) {
            throw std::runtime_error("no Windows program");
        }
    }

    [[nodiscard]] const IMAGE_NT_HEADERS& Headers() const { return At<IMAGE_NT_HEADERS>(headers_); }

    [[nodiscard]] std::set<std::string> Exports() const {
        std::set<std::string> names;
        const auto& table = Table<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
        EXPECT_EQ(table.NumberOfFunctions, table.NumberOfNames) << "some are exported by number only";
        for (DWORD at = 0; at < table.NumberOfNames; ++at) {
            names.insert(Name(At<DWORD>(Offset(table.AddressOfNames) + at * sizeof(DWORD))));
        }
        return names;
    }

    [[nodiscard]] std::set<std::string> ImportedModules() const {
        std::set<std::string> modules;
        const auto* entry = &Table<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
        for (; entry->Name != 0; ++entry) {
            std::string name = Name(entry->Name);
            std::ranges::transform(name, name.begin(), [](unsigned char unit) { return std::toupper(unit); });
            modules.insert(name);
        }
        return modules;
    }

    /// By name, of all modules. The component imports nothing by number.
    [[nodiscard]] std::set<std::string> ImportedFunctions() const {
        std::set<std::string> names;
        const auto* entry = &Table<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
        for (; entry->Name != 0; ++entry) {
            const auto* row = &At<IMAGE_THUNK_DATA>(Offset(entry->OriginalFirstThunk));
            for (; row->u1.AddressOfData != 0; ++row) {
                names.insert(Name(static_cast<DWORD>(row->u1.AddressOfData) + sizeof(WORD)));
            }
        }
        return names;
    }

    /// A section's bytes; none when there is no such section. An image keeps eight bytes of a name.
    [[nodiscard]] std::string Bytes(const std::string& section) const {
        for (const IMAGE_SECTION_HEADER& each : Sections()) {
            if (section.compare(0, 8, reinterpret_cast<const char*>(each.Name),
                                strnlen(reinterpret_cast<const char*>(each.Name), 8)) == 0) {
                return bytes_.substr(each.PointerToRawData, each.Misc.VirtualSize);
            }
        }
        return {};
    }

    [[nodiscard]] std::vector<IMAGE_SECTION_HEADER> Sections() const {
        const IMAGE_NT_HEADERS& headers = Headers();
        const std::size_t first =
            headers_ + offsetof(IMAGE_NT_HEADERS, OptionalHeader) + headers.FileHeader.SizeOfOptionalHeader;
        std::vector<IMAGE_SECTION_HEADER> sections;
        for (std::size_t at = 0; at < headers.FileHeader.NumberOfSections; ++at) {
            sections.push_back(At<IMAGE_SECTION_HEADER>(first + at * sizeof(IMAGE_SECTION_HEADER)));
        }
        return sections;
    }

    [[nodiscard]] bool Holds(const std::string& text) const { return bytes_.find(text) != std::string::npos; }

    [[nodiscard]] DWORD DirectorySize(int directory) const {
        return Headers().OptionalHeader.DataDirectory[directory].Size;
    }

private:
    template <class Record>
    [[nodiscard]] const Record& At(std::size_t offset) const {
        if (offset + sizeof(Record) > bytes_.size()) {
            throw std::runtime_error("beyond the end of the file");
        }
        return *reinterpret_cast<const Record*>(bytes_.data() + offset);
    }
    template <class Record>
    [[nodiscard]] const Record& Table(int directory) const {
        return At<Record>(Offset(Headers().OptionalHeader.DataDirectory[directory].VirtualAddress));
    }
    [[nodiscard]] std::string Name(DWORD address) const { return bytes_.data() + Offset(address); }

    [[nodiscard]] std::size_t Offset(DWORD address) const {
        for (const IMAGE_SECTION_HEADER& section : Sections()) {
            if (address >= section.VirtualAddress &&
                address < section.VirtualAddress + section.SizeOfRawData) {
                return address - section.VirtualAddress + section.PointerToRawData;
            }
        }
        throw std::runtime_error("an address outside of all sections");
    }

    std::string bytes_;
    std::size_t headers_ = 0;
};

TEST(ComponentFile, ExportsWhatComCallsUnderPlainNames) {
    const std::set<std::string> expected{"DllCanUnloadNow", "DllGetClassObject", "DllInstall",
                                         "DllRegisterServer", "DllUnregisterServer"};
    EXPECT_EQ(Image(ComponentFile()).Exports(), expected);
}

TEST(ComponentFile, NeedsNothingButTheSystem) {
    const std::set<std::string> allowed{"KERNEL32.DLL", "USER32.DLL", "GDI32.DLL",    "ADVAPI32.DLL",
                                        "SHELL32.DLL",  "OLE32.DLL",  "OLEAUT32.DLL", "MSVCRT.DLL"};
    const std::set<std::string> imported = Image(ComponentFile()).ImportedModules();
    EXPECT_TRUE(std::ranges::includes(allowed, imported)) << testing::PrintToString(imported);
    EXPECT_TRUE(imported.contains("OLEAUT32.DLL"));
}

TEST(ComponentFile, IsSmall) {
    if (KANDORA_IS_INSTRUMENTED) {
        GTEST_SKIP() << "a build that records coverage or stops at undefined behaviour is larger";
    }
    EXPECT_LT(fs::file_size(ComponentFile()), largestFile);
}

TEST(ComponentFile, IsALibraryOfItsArchitecture) {
    const Image image(ComponentFile());
    EXPECT_EQ(image.Headers().FileHeader.Machine,
              sizeof(void*) == 8 ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386);
    EXPECT_NE(image.Headers().FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
}

TEST(ComponentFile, CanBeLoadedAnywhereAndRunsNoData) {
    const Image image(ComponentFile());
    const WORD flags = image.Headers().OptionalHeader.DllCharacteristics;
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0);
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0);
    constexpr WORD highEntropy = 0x0020;
    EXPECT_EQ((flags & highEntropy) != 0, sizeof(void*) == 8);
    EXPECT_EQ(image.Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
    EXPECT_GT(image.DirectorySize(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0U);
}

TEST(ComponentFile, HasNoMemoryThatIsBothWrittenAndRun) {
    const std::vector<IMAGE_SECTION_HEADER> sections = Image(ComponentFile()).Sections();
    bool hasCode = false;
    for (const IMAGE_SECTION_HEADER& section : sections) {
        const bool isRun = (section.Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0;
        const bool isWritten = (section.Characteristics & IMAGE_SCN_MEM_WRITE) != 0;
        const std::string name(reinterpret_cast<const char*>(section.Name),
                               strnlen(reinterpret_cast<const char*>(section.Name), 8));
        EXPECT_FALSE(isRun && isWritten) << name;
        EXPECT_EQ(section.Characteristics & IMAGE_SCN_MEM_SHARED, 0U) << name;
        hasCode = hasCode || isRun;
    }
    EXPECT_TRUE(hasCode);
}

TEST(ComponentFile, GuardsItsStack) {
    // The instructions that end a process with an overwritten stack: mov ecx, 2; int 29h. They are linked in
    // only where functions call them.
    EXPECT_TRUE(Image(ComponentFile()).Holds({"\xB9\x02\0\0\0\xCD\x29", 7}));
    EXPECT_FALSE(Image(ComponentFile()).ImportedModules().contains("LIBSSP-0.DLL"));
}

TEST(ComponentFile, StartsWithoutCryptography) {
    for (const std::string& name : Image(ComponentFile()).ImportedFunctions()) {
        EXPECT_EQ(name.find("Crypt"), std::string::npos) << name;
    }
    EXPECT_TRUE(Image(ComponentFile()).ImportedFunctions().contains("RegCloseKey")) << "nothing was read";
}

TEST(ComponentFile, BringsItsRuntimeLibraryAlong) {
    const auto modules = Image(ComponentFile()).ImportedModules();
    EXPECT_FALSE(modules.empty());
    for (const std::string& module : modules) {
        EXPECT_FALSE(module.starts_with("LIB")) << module;
    }
}

std::uint32_t WordAt(const std::string& bytes, std::size_t place) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes.substr(place, sizeof word).data(), sizeof word);
    return word;
}

// On 64-bit the system itself reads the table.
TEST(ComponentFile, DescribesItsFunctionsAsItReadsThem) {
    const Image image(ComponentFile());
    if (sizeof(void*) == 8) {
        EXPECT_GT(image.DirectorySize(IMAGE_DIRECTORY_ENTRY_EXCEPTION), 0U);
        return;
    }
    const std::string entries = image.Bytes(".eh_frame");
    constexpr std::size_t word = sizeof(std::uint32_t);
    std::size_t functions = 0;
    for (std::size_t at = 0; at + word < entries.size(); at += word + WordAt(entries, at)) {
        if (WordAt(entries, at) == 0) {
            continue;
        }
        if (WordAt(entries, at + word) != 0) {
            ++functions;
            continue;
        }
        // What descriptions have in common: length, 0, version, a text that names the parts, three numbers of
        // one byte each, the length of the parts, and the parts. "R" says how addresses are written: relative
        // to where they stand, in 32 bits.
        const std::size_t version = at + 2 * word;
        EXPECT_EQ(entries.at(version), 1);
        const std::string parts = entries.c_str() + version + 1;
        constexpr char distance = 0x1B;
        std::size_t place = version + 1 + parts.size() + 1 + 4;
        for (const char part : parts.substr(1)) {
            if (part == 'R') {
                EXPECT_EQ(entries.at(place), distance);
            }
            place += part == 'P' ? 1 + word : 1;
        }
        EXPECT_TRUE(parts == "zR" || parts == "zPLR") << parts;
    }
    EXPECT_GT(functions, 1000U);
    EXPECT_TRUE(functions <= 4096 || KANDORA_IS_INSTRUMENTED) << functions << " no longer fit into the table";
}

class VersionResource : public testing::Test {
protected:
    void SetUp() override {
        const std::wstring file = ComponentFile().wstring();
        DWORD unused = 0;
        data_.resize(GetFileVersionInfoSizeW(file.c_str(), &unused));
        ASSERT_FALSE(data_.empty());
        ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(data_.size()), data_.data()));
    }
    /// One of the texts, which are filed under Swiss German (0807).
    std::wstring Text(const std::wstring& name) {
        wchar_t* text = nullptr;
        UINT length = 0;
        const std::wstring path = L"\\StringFileInfo\\080704B0\\" + name;
        return VerQueryValueW(data_.data(), path.c_str(), reinterpret_cast<void**>(&text), &length) ? text
                                                                                                    : L"";
    }

    std::vector<char> data_;
};

TEST_F(VersionResource, TellsTheVersion) {
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(data_.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    const std::string version = std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." +
                                std::to_string(LOWORD(fixed->dwFileVersionMS)) + "." +
                                std::to_string(HIWORD(fixed->dwFileVersionLS));
    EXPECT_EQ(version, KANDORA_VERSION);
    EXPECT_EQ(fixed->dwFileVersionMS, fixed->dwProductVersionMS);
    const bool isLibrary = fixed->dwFileType == VFT_DLL;
    EXPECT_TRUE(isLibrary);
    EXPECT_EQ(Utf8FromText(Text(L"FileVersion")), KANDORA_VERSION);
    EXPECT_EQ(Utf8FromText(Text(L"ProductVersion")), KANDORA_VERSION);
}

TEST_F(VersionResource, NamesTheComponent) {
    EXPECT_EQ(Text(L"ProductName"), L"Kandora");
    EXPECT_EQ(Text(L"InternalName"), L"Kandora");
    EXPECT_EQ(Text(L"OriginalFilename"), L"Kandora.dll");
    EXPECT_EQ(Text(L"FileDescription"), L"Kandora: Archivanbindung der Finanzbuchhaltung");
}

TEST_F(VersionResource, TellsWhoseItIs) {
    EXPECT_EQ(Text(L"CompanyName"), L"Kandora");
    EXPECT_EQ(Text(L"LegalCopyright"), L"Copyright (c) 2026 the Kandora authors");
}

}  // namespace
}  // namespace kandora::component_tests
