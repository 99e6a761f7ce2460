#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "simulators/common/Files.h"

/// What a store holds.
namespace kandora::simulators {

/// The folder above all others; it has neither name nor number of its own.
inline constexpr std::int32_t rootId = 1;
/// Folders and entries share their numbers, which begin here.
inline constexpr std::int32_t firstId = 2;
/// Numbers of files beyond this one were never given out and are left alone.
inline constexpr std::int32_t highestId = 1000000000;

struct Folder {
    std::int32_t id = 0;
    std::int32_t parent = 0;  ///< the root's parent is 0
    std::wstring name;
    std::wstring directory;              ///< its directory's own name
    std::vector<std::int32_t> children;  ///< in the order of their names
    std::vector<std::int32_t> entries;   ///< ascending
};

/// What the store knows of a folder's directory.
struct FolderOnDisk {
    /// When something was last added to it, renamed or taken away, as FILETIME counts; 0 when that was so
    /// recent that a later change may bear the same time.
    std::uint64_t changed = 0;
    FileStamp file;  ///< of its ordner.json
};

/// Index field values by line; only lines that were written.
using FieldValues = std::map<std::int16_t, std::wstring>;

struct Entry {
    std::int32_t id = 0;
    std::int32_t folder = 0;
    std::int32_t mask = 0;
    std::wstring shortName;
    FieldValues fields;
    std::wstring document;  ///< file name in the folder's directory; may be empty
    std::wstring filed;     ///< local time, "2026-11-20T10:11:12"
};

/// A document in the postbox. Its id becomes the entry's id when it is filed.
struct PostboxDocument {
    std::int32_t id = 0;
    std::wstring path;
};

}  // namespace kandora::simulators
