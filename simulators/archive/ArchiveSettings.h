#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The description of an archive: names, users, masks, path separator (the file archiv.json of a store).
namespace kandora::simulators {

struct IndexField {
    std::int16_t line = 0;  ///< from 1
    std::wstring name;
};

struct Mask {
    std::int32_t number = 0;  ///< 0 or more
    std::wstring name;
    std::vector<IndexField> fields;  ///< ascending by line

    [[nodiscard]] bool HasLine(std::int16_t line) const noexcept;
};

struct User {
    std::wstring name;
    std::wstring password;
    std::wstring shortSign;  ///< may be empty
};

struct ArchiveSettings {
    std::vector<std::wstring> archives;  ///< at least one name
    std::wstring separator;              ///< never empty
    std::vector<User> users;
    std::vector<Mask> masks;

    /// Null when there is none. Masks are found by number, the others without regard to letter case.
    [[nodiscard]] const Mask* FindMask(std::int32_t number) const noexcept;
    [[nodiscard]] const User* FindUser(std::wstring_view name) const;
    [[nodiscard]] bool HasArchive(std::wstring_view name) const;
};

/// Throws Failure with file, line and column when the file is not as it must be.
ArchiveSettings ReadArchiveSettings(const std::wstring& path);

/// Writes a store that is ready for use into the directory, which is created where missing. Answers false and
/// leaves everything alone when there is a store already. Throws Failure.
bool CreateSampleStore(const std::wstring& directory);

}  // namespace kandora::simulators
