#pragma once

#include <array>
#include <map>
#include <optional>
#include <vector>

#include "archive/ELODMS.h"
#include "model/Settings.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

/// What the archive says of one entry.
struct ArchivedEntry {
    std::int32_t id = 0;
    std::int32_t hit = 0;   ///< in its mask's search, counted from 0
    std::size_t order = 0;  ///< its mask's place in the component's order of searching
    std::int32_t mask = 0;
    std::int32_t folder = 0;
    bool isOwn = false;  ///< it lies in one of the client's folders
    Identity identity;   ///< of an entry that is not own without the barcode
    Text status;
    Text valueDate;
    std::optional<Text> title;            ///< none where the archive does not let it be read
    std::map<std::int16_t, Text> fields;  ///< by line; of an own entry

    bool operator==(const ArchivedEntry&) const = default;
};

/// One of the component's searches.
struct MaskSearch {
    const DocumentKind* kind = nullptr;
    std::size_t order = 0;
    std::vector<std::int32_t> hits;
};

/// Reads the archive, and nothing but reads: through members that leave everything as it is.
class EntryReader {
public:
    /// `archive`, which outlives the reader, opens a session whenever there is none.
    EntryReader(ELODMS& archive, const SharedState& state);

    /// Asks for the client's folders. Raises what the component raises when one is missing.
    void FindFolders();
    /// Begins to read anew through a session that answers; raises when there is none to be had.
    void Reconnect() { session_ = archive_.oElo(); }

    /// The component's search of a kind's mask, with all its hits. Raises when the archive does not say so.
    MaskSearch Search(const DocumentKind& kind);
    /// The entry; none when it is no longer there. Raises when the archive does not say so.
    std::optional<ArchivedEntry> Read(const MaskSearch& search, std::int32_t hit, std::int32_t id);

    /// Folder of a kind's entries.
    [[nodiscard]] std::int32_t FolderOf(const DocumentKind& kind) const;
    /// Path of one of the client's folders; empty for another one.
    [[nodiscard]] Text PathOf(std::int32_t folder) const;

private:
    bool Load(std::int32_t id, std::int32_t mask);
    Text Field(std::int16_t line);
    void ReadAll(ArchivedEntry& entry);
    std::optional<Text> Title();

    ELODMS& archive_;
    const SharedState& state_;
    LateBound session_;
    std::map<const DocumentKind*, std::int32_t> folders_;
    bool hasTitles_ = true;
};

/// The component's searches in their order, without those of masks that an earlier one lists already.
std::vector<const DocumentKind*> MasksInOrder(const Settings& settings);

}  // namespace kandora::check
