#include "support/CIniFile.h"

#include <algorithm>
#include <array>

#include "automation/Errors.h"
#include "automation/Variant.h"

namespace kandora {

namespace {

constexpr std::int32_t writeFailed = 31036;
constexpr std::size_t bufferStep = 1000;  // bytes

/// What bBoolean reads as false, upper case and trimmed.
constexpr auto falseWords = std::to_array<const wchar_t*>({L"FALSE", L"F", L"N", L"NO", L"NEIN", L"0", L""});

// The messages of this class have always been English ones.

/// Runs the body of a member: an error is raised again with the member's name as its source.
template <class Body>
decltype(auto) Member(const wchar_t* frame, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        const RuntimeError error = CurrentError();
        throw RuntimeError(error.Number(), error.Description(), frame, error.Line());
    }
}

void RequireFilled(const Text& argument) {
    if (argument.empty()) {
        throw RuntimeError(errors::invalidArgument);
    }
}

Text ParentFolder(const Text& path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == Text::npos ? Text() : path.substr(0, separator);
}

/// Position of the two NULs that end a list; npos when they are missing.
std::size_t EndOfList(const std::string& buffer) {
    return buffer.find(std::string(2, '\0'));
}

/// True when the buffer was too small for the list. Some versions of the platform end such a list with one
/// NUL only. A buffer in which nothing was written is large enough.
bool IsListCutOff(const std::string& buffer) {
    const bool hasEntries = buffer.front() != '\0' && buffer.find('\0') != std::string::npos;
    return hasEntries && EndOfList(buffer) >= buffer.size() - 3;
}

}  // namespace

void Dictionary::Add(const Text& key, const Text& item) {
    if (std::ranges::find(pairs_, key, &std::pair<Text, Text>::first) != pairs_.end()) {
        throw RuntimeError(errors::duplicateKey);
    }
    pairs_.emplace_back(key, item);
}

const Text& CIniFile::sIniFile() {
    if (sIniFile_.empty()) {
        sIniFile_ = ComponentFolder(platform_) + L"\\" + ComponentName(platform_) + L".ini";
    }
    return sIniFile_;
}

void CIniFile::sIniFile(const Text& sNewIniFile) {
    Member(L"CIniFile.sIniFile", [&] {
        if (!sIniFile_.empty()) {
            throw RuntimeError(errors::invalidArgument, L"sIniFile may only be set once per Object.");
        }
        if (!platform_.FolderExists(ParentFolder(sNewIniFile))) {
            throw RuntimeError(errors::fileNotFound);
        }
        sIniFile_ = sNewIniFile;
    });
}

/// Reads into ever larger buffers. The profile functions cut off what does not fit and put a NUL at the
/// buffer's last place, by which a buffer that is too small is recognised.
std::string CIniFile::ReadGrowing(const Reader& read, bool (*isCutOff)(const std::string& buffer)) {
    const std::string file = AnsiFromText(sIniFile());
    std::string buffer;
    do {
        buffer.assign(buffer.size() + bufferStep, ' ');
        read(buffer, file);
    } while (buffer.back() == '\0' || isCutOff(buffer));
    return buffer;
}

std::vector<Text> CIniFile::ReadList(const Reader& read) {
    const std::string buffer = ReadGrowing(read, IsListCutOff);
    const std::size_t end = EndOfList(buffer);
    std::vector<Text> entries;
    if (buffer.front() == '\0' || end == std::string::npos) {
        return entries;
    }
    for (std::size_t from = 0; from < end;) {
        const std::size_t to = std::min(buffer.find('\0', from), end);
        entries.push_back(TextFromAnsi(std::string_view(buffer).substr(from, to - from)));
        from = to + 1;
    }
    return entries;
}

Text CIniFile::sString(const Text& sSection, const Text& sKey) {
    return Member(L"CIniFile.sString", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        const std::string section = AnsiFromText(sSection);
        const std::string key = AnsiFromText(sKey);
        const std::string buffer = ReadGrowing(
            [&](std::span<char> space, const std::string& file) {
                platform_.GetPrivateProfileString(section.c_str(), key.c_str(), space, file);
            },
            [](const std::string&) { return false; });
        return TextFromAnsi(std::string_view(buffer).substr(0, buffer.find('\0')));
    });
}

void CIniFile::sString(const Text& sSection, const Text& sKey, const Text& sNewValue) {
    Member(L"CIniFile.sString", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        if (!platform_.WritePrivateProfileString(AnsiFromText(sSection).c_str(), AnsiFromText(sKey).c_str(),
                                                 AnsiFromText(sNewValue).c_str(), AnsiFromText(sIniFile()))) {
            throw RuntimeError(writeFailed,
                               L"Failed to write [" + sSection + L"] " + sKey + L"=" + sNewValue);
        }
    });
}

std::int32_t CIniFile::lLong(const Text& sSection, const Text& sKey) {
    return Member(L"CIniFile.lLong", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        const Text text = sString(sSection, sKey);
        if (text.empty()) {
            return 0;
        }
        const Variant value(text);
        if (!value.IsNumeric()) {
            throw RuntimeError(errors::typeMismatch, L"Value not numeric");
        }
        return value.ToLong();
    });
}

void CIniFile::lLong(const Text& sSection, const Text& sKey, std::int32_t lNewValue) {
    Member(L"CIniFile.lLong", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        sString(sSection, sKey, Decimal(lNewValue));
    });
}

bool CIniFile::bBoolean(const Text& sSection, const Text& sKey) {
    return Member(L"CIniFile.bBoolean", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        const Text word = Trimmed(UpperCase(sString(sSection, sKey)));
        return std::ranges::find(falseWords, word) == falseWords.end();
    });
}

void CIniFile::bBoolean(const Text& sSection, const Text& sKey, bool bNewValue) {
    Member(L"CIniFile.bBoolean", [&] {
        RequireFilled(sSection);
        RequireFilled(sKey);
        sString(sSection, sKey, bNewValue ? L"True" : L"False");
    });
}

std::vector<Text> CIniFile::vasKeys(const Text& sSection) {
    return Member(L"CIniFile.vasKeys", [&] {
        RequireFilled(sSection);
        const std::string section = AnsiFromText(sSection);
        return ReadList([&](std::span<char> space, const std::string& file) {
            platform_.GetPrivateProfileString(section.c_str(), nullptr, space, file);
        });
    });
}

std::vector<Text> CIniFile::vasSections() {
    return Member(L"CIniFile.vasSections", [&] {
        return ReadList([&](std::span<char> space, const std::string& file) {
            platform_.GetPrivateProfileString(nullptr, nullptr, space, file);
        });
    });
}

std::vector<Text> CIniFile::vasSectionLines(const Text& sSection) {
    return Member(L"CIniFile.vasSectionLines", [&] {
        RequireFilled(sSection);
        const std::string section = AnsiFromText(sSection);
        return ReadList([&](std::span<char> space, const std::string& file) {
            platform_.GetPrivateProfileSection(section.c_str(), space, file);
        });
    });
}

Dictionary CIniFile::ReadSection(const Text& sSection) {
    return Member(L"CIniFile.ReadSection", [&] {
        Dictionary section;
        for (const Text& key : vasKeys(sSection)) {
            section.Add(key, sString(sSection, key));
        }
        return section;
    });
}

void CIniFile::WriteSection(const Text& sSection, const Dictionary& oDictionary) {
    Member(L"CIniFile.WriteSection", [&] {
        for (const auto& [key, item] : oDictionary.Pairs()) {
            sString(sSection, key, item);
        }
    });
}

}  // namespace kandora
