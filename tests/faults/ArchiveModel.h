#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "automation/Text.h"
#include "tests/support/FakeObject.h"

namespace kandora::test {

/// One entry of the archive.
struct Entry {
    std::int32_t mask = 0;
    Text shortName;
    std::map<std::int16_t, Text> fields;
    Text folder;
    Text file;

    bool operator==(const Entry&) const = default;
};

/// What the archive holds, by object id.
using Entries = std::map<std::int32_t, Entry>;

/// One line an entry.
std::string Told(const Entries& entries);

/// An archive with a memory: folders, entries and a postbox belong to the archive; the current object, the
/// hits of the last search and the last id filed belong to the automation object through which it is driven.
class ArchiveModel {
public:
    static constexpr std::int32_t nothingLoaded = -11;   ///< answer without a current object
    static constexpr std::int32_t unknownObject = -12;   ///< answer for an id that nobody knows
    static constexpr std::int32_t nothingPosted = -13;   ///< answer without a file in the postbox
    static constexpr std::int32_t firstFolderId = 5001;  ///< folders are numbered from here on
    static constexpr std::int32_t firstEntryId = 101;    ///< and entries from here

    explicit ArchiveModel(Seam* seam) : seam_(seam) {}

    /// A new automation object of this archive.
    Fake NewObject();
    /// Every automation object handed out so far fails from now on, as after the program was ended.
    void Restart() { ++generation_; }
    void AddFolder(const Text& path);
    std::int32_t AddEntry(Entry entry);

    Entries entries;
    /// Paths with "/" between levels.
    std::map<Text, std::int32_t> folders;
    /// Entries moved into the archive since the start.
    int filed = 0;
    /// The id that the archive was last told to show.
    std::int32_t shown = 0;

private:
    enum class State { Nothing, New, Search, Loaded };
    struct Desk {
        State state = State::Nothing;
        std::int32_t id = 0;
        Entry current;
        std::optional<Text> posted;
        std::vector<std::int32_t> hits;
        std::int32_t lastFiled = 0;
    };

    std::int32_t Prepare(Desk& desk, std::int32_t id, std::int32_t type, std::int32_t mask);
    std::int32_t Move(Desk& desk, const Text& target);
    std::int32_t CreateFolders(const Text& path);

    Seam* seam_;
    int generation_ = 0;
    std::int32_t nextEntry_ = firstEntryId;
    std::int32_t nextFolder_ = firstFolderId;
};

}  // namespace kandora::test
