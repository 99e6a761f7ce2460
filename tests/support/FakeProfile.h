#pragma once

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kandora::test {

/// Profile files in memory (ANSI texts), with the profile functions' ways of filling a buffer: what does not
/// fit is cut off and ended within the buffer, lists with two NULs; nothing behind the end is touched.
class FakeProfile {
public:
    /// Replaces or adds the first key of that name.
    void Set(const std::string& file, const std::string& section, const std::string& key,
             const std::string& value);
    /// Adds a line, also for a key that is already there.
    void Add(const std::string& file, const std::string& section, const std::string& key,
             const std::string& value);
    void Remove(const std::string& file, const std::string& section, const std::string& key);

    void ReadString(const char* section, const char* key, std::span<char> buffer,
                    const std::string& file) const;
    void ReadSection(const char* section, std::span<char> buffer, const std::string& file) const;

private:
    using Entry = std::pair<std::string, std::string>;
    struct Section {
        std::string name;
        std::vector<Entry> entries;
    };

    Section& SectionOf(const std::string& file, const std::string& name);
    [[nodiscard]] const Section* Find(const std::string& file, const std::string& name) const;

    std::map<std::string, std::vector<Section>> files_;
};

}  // namespace kandora::test
