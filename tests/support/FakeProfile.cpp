#include "tests/support/FakeProfile.h"

#include <algorithm>
#include <cctype>

namespace kandora::test {

namespace {

bool SameName(const std::string& one, const std::string& other) {
    return std::ranges::equal(one, other,
                              [](unsigned char a, unsigned char b) { return tolower(a) == tolower(b); });
}

void StoreText(std::string text, std::span<char> buffer) {
    text.resize(std::min(text.size(), buffer.size() - 1));
    text.push_back('\0');
    std::ranges::copy(text, buffer.begin());
}

void StoreList(const std::vector<std::string>& entries, std::span<char> buffer) {
    std::string list;
    for (const std::string& entry : entries) {
        list += entry + '\0';
    }
    list.resize(std::min(list.size(), buffer.size() - 2));
    list.append(entries.empty() ? 1 : 2, '\0');
    list.resize(std::min(list.size(), buffer.size()));
    std::ranges::copy(list, buffer.begin());
}

/// Values lose the blanks around them, and then one pair of quotation marks.
std::string Unquoted(const std::string& value) {
    const std::size_t first = value.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return {};
    }
    std::string text = value.substr(first, value.find_last_not_of(" \t") - first + 1);
    if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front()) {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

}  // namespace

void FakeProfile::Set(const std::string& file, const std::string& section, const std::string& key,
                      const std::string& value) {
    for (Entry& entry : SectionOf(file, section).entries) {
        if (SameName(entry.first, key)) {
            entry.second = value;
            return;
        }
    }
    Add(file, section, key, value);
}

void FakeProfile::Add(const std::string& file, const std::string& section, const std::string& key,
                      const std::string& value) {
    SectionOf(file, section).entries.emplace_back(key, value);
}

void FakeProfile::Remove(const std::string& file, const std::string& section, const std::string& key) {
    std::erase_if(SectionOf(file, section).entries,
                  [&](const Entry& entry) { return SameName(entry.first, key); });
}

void FakeProfile::ReadString(const char* section, const char* key, std::span<char> buffer,
                             const std::string& file) const {
    std::vector<std::string> names;
    if (section == nullptr) {
        if (const auto found = files_.find(file); found != files_.end()) {
            for (const Section& each : found->second) {
                names.push_back(each.name);
            }
        }
        StoreList(names, buffer);
        return;
    }
    const Section* const found = Find(file, section);
    if (key == nullptr) {
        if (found != nullptr) {
            for (const Entry& entry : found->entries) {
                names.push_back(entry.first);
            }
        }
        StoreList(names, buffer);
        return;
    }
    std::string value;
    if (found != nullptr) {
        const auto entry =
            std::ranges::find_if(found->entries, [&](const Entry& e) { return SameName(e.first, key); });
        value = entry == found->entries.end() ? std::string() : Unquoted(entry->second);
    }
    StoreText(value, buffer);
}

void FakeProfile::ReadSection(const char* section, std::span<char> buffer, const std::string& file) const {
    std::vector<std::string> lines;
    if (const Section* const found = Find(file, section); found != nullptr) {
        for (const auto& [key, value] : found->entries) {
            lines.push_back(key + "=" + value);
        }
    }
    StoreList(lines, buffer);
}

FakeProfile::Section& FakeProfile::SectionOf(const std::string& file, const std::string& name) {
    std::vector<Section>& sections = files_[file];
    const auto found =
        std::ranges::find_if(sections, [&](const Section& each) { return SameName(each.name, name); });
    return found == sections.end() ? sections.emplace_back(Section{name, {}}) : *found;
}

const FakeProfile::Section* FakeProfile::Find(const std::string& file, const std::string& name) const {
    const auto sections = files_.find(file);
    if (sections == files_.end()) {
        return nullptr;
    }
    const auto found = std::ranges::find_if(sections->second,
                                            [&](const Section& each) { return SameName(each.name, name); });
    return found == sections->second.end() ? nullptr : &*found;
}

}  // namespace kandora::test
