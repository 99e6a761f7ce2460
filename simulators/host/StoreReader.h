#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kandora::simulators {

/// One entry of the archive, as its store folder holds it.
struct StoredEntry {
    int id = 0;
    int mask = 0;
    /// The folder's levels joined by "/", beginning with "/".
    std::wstring folder;
    std::wstring shortName;
    /// Index fields by line number; only lines that were written.
    std::map<int, std::wstring> fields;
    /// False when the entry's document file is missing.
    bool hasDocument = false;

    bool operator==(const StoredEntry&) const = default;
};

/// The content of an archive's store folder.
class StoreReader {
public:
    /// Reads masks and entries. Throws Failure when the folder holds no store or a file in it cannot be read.
    static StoreReader Read(const std::filesystem::path& store);

    [[nodiscard]] const std::vector<StoredEntry>& Entries() const { return entries_; }

    /// The newest entry that holds `value` in one of its index fields; null when there is none.
    [[nodiscard]] const StoredEntry* FindByFieldValue(const std::wstring& value) const;

    /// The name of a mask's index line; "Feld 7" when the mask does not name it.
    [[nodiscard]] std::wstring FieldName(int mask, int line) const;

    /// The name of a mask; "Maske 7" when it has none.
    [[nodiscard]] std::wstring MaskName(int mask) const;

private:
    void ReadMasks(const std::filesystem::path& store);
    void ReadFolder(const std::wstring& directory, const std::wstring& folder);

    std::vector<StoredEntry> entries_;
    std::map<std::wstring, std::size_t> youngestByValue_;
    std::map<int, std::wstring> maskNames_;
    std::map<std::pair<int, int>, std::wstring> fieldNames_;
};

}  // namespace kandora::simulators
