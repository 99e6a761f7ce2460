#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "automation/Platform.h"
#include "automation/Text.h"

namespace kandora {

/// Keys and values of one section, in the order in which they were added; keys are compared exactly.
class Dictionary {
public:
    /// Raises 457 when the key is already there.
    void Add(const Text& key, const Text& item);
    [[nodiscard]] const std::vector<std::pair<Text, Text>>& Pairs() const noexcept { return pairs_; }

private:
    std::vector<std::pair<Text, Text>> pairs_;
};

/// One INI file, read and written through the platform's profile functions. Every failure is raised with the
/// member's name as its source.
class CIniFile {
public:
    explicit CIniFile(Platform& platform) : platform_(platform) {}

    /// Full path. Unless it was set, the file beside the component with the component's name, from the first
    /// use on.
    const Text& sIniFile();
    /// May be set once, before anything else is used (5); its folder must exist (53), the file need not.
    void sIniFile(const Text& sNewIniFile);

    /// A missing key or file gives the empty text. Section and key must not be empty (5).
    Text sString(const Text& sSection, const Text& sKey);
    /// Raises 31036 when the value cannot be written.
    void sString(const Text& sSection, const Text& sKey, const Text& sNewValue);

    /// An empty text gives 0; a text that is no number raises 13, a number out of range 6.
    std::int32_t lLong(const Text& sSection, const Text& sKey);
    void lLong(const Text& sSection, const Text& sKey, std::int32_t lNewValue);

    /// False for FALSE, F, N, NO, NEIN, 0 and the empty text in any letter case, true for everything else.
    bool bBoolean(const Text& sSection, const Text& sKey);
    void bBoolean(const Text& sSection, const Text& sKey, bool bNewValue);

    /// Names of the section's keys in the order of the file; none when the section is missing.
    std::vector<Text> vasKeys(const Text& sSection);
    std::vector<Text> vasSections();
    /// The raw lines "key=value" of the section.
    std::vector<Text> vasSectionLines(const Text& sSection);

    /// Raises 457 when the section names a key twice.
    Dictionary ReadSection(const Text& sSection);
    /// Writes every pair; keys that the dictionary lacks stay as they are.
    void WriteSection(const Text& sSection, const Dictionary& oDictionary);

private:
    using Reader = std::function<void(std::span<char> buffer, const std::string& file)>;
    std::string ReadGrowing(const Reader& read, bool (*isCutOff)(const std::string& buffer));
    std::vector<Text> ReadList(const Reader& read);

    Platform& platform_;
    Text sIniFile_;
};

}  // namespace kandora
