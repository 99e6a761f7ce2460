#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <windows.h>

#include <winver.h>

#include <gtest/gtest.h>

#include "automation/Text.h"
#include "tools/check/ProgramFile.h"

namespace kandora::check {
namespace {

/// A program that was built.
Text Built(const Text& name) {
    Text own(MAX_PATH, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
    return (std::filesystem::path(own).parent_path() / KANDORA_BIN_FROM_TESTS / name).lexically_normal();
}

/// What a program's properties show, in German of Switzerland.
std::map<Text, Text> PropertiesOf(const Text& file) {
    DWORD unused = 0;
    std::vector<BYTE> data(GetFileVersionInfoSizeW(file.c_str(), &unused));
    std::map<Text, Text> properties;
    if (data.empty() ||
        GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) == FALSE) {
        return properties;
    }
    for (const wchar_t* name : {L"CompanyName", L"FileDescription", L"FileVersion", L"InternalName",
                                L"LegalCopyright", L"OriginalFilename", L"ProductName", L"ProductVersion"}) {
        const Text path = Text(L"\\StringFileInfo\\080704B0\\") + name;
        void* text = nullptr;
        UINT length = 0;
        if (VerQueryValueW(data.data(), path.c_str(), &text, &length) != FALSE) {
            properties[name] = static_cast<const wchar_t*>(text);
        }
    }
    return properties;
}

TEST(VersionInfo, OfEachProgramIsComplete) {
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"kandora-check", L"Kandora: prüft die Installation"},
        {L"ArchiveSimulator", L"Archiv-Simulator für Proben und Tests"},
        {L"HostSimulator", L"Simulator der Finanzbuchhaltung für Proben und Tests"}};
    for (const auto& [name, description] : rows) {
        const Text file = name + Text(L".exe");
        const std::map<Text, Text> expected{{L"CompanyName", L"Kandora"},
                                            {L"FileDescription", description},
                                            {L"FileVersion", KANDORA_VERSION},
                                            {L"InternalName", name},
                                            {L"LegalCopyright", L"Copyright (c) 2026 the Kandora authors"},
                                            {L"OriginalFilename", file},
                                            {L"ProductName", L"Kandora"},
                                            {L"ProductVersion", KANDORA_VERSION}};
        EXPECT_EQ(PropertiesOf(Built(file)), expected) << AnsiFromText(file);
        EXPECT_EQ(VersionOf(Built(file)), Text(KANDORA_VERSION) + L".0");
    }
}

}  // namespace
}  // namespace kandora::check
