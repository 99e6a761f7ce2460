#pragma once

#include <string>

#include <windows.h>

#include "automation/Text.h"
#include "tools/check/Handle.h"

namespace kandora::check {

/// A file opened for reading, shared with everybody. Everything fails when it cannot be opened.
class ReadableFile {
public:
    explicit ReadableFile(const Text& path);

    /// False when there are not so many bytes.
    bool ReadAt(LONG offset, void* buffer, DWORD size) const;
    [[nodiscard]] std::string All() const;

private:
    Handle handle_;
};

/// On a volume of this computer: another one's rights depend on groups that only that one knows.
bool IsLocal(const Text& path);
bool FileExists(const Text& path);
bool FolderExists(const Text& path);
/// Whether the user may create files in the folder, told from its access rights: nothing is created.
bool MayCreateFiles(const Text& folder);
/// Without the separator at its end.
Text ParentFolder(const Text& path);
Text FileName(const Text& path);
Text FullPath(const Text& path);
/// Files of the same name in the same folder, whatever the spelling of the path.
bool SameFile(const Text& left, const Text& right);
/// The whole file; empty when it cannot be read.
std::string BytesOf(const Text& path);

}  // namespace kandora::check
