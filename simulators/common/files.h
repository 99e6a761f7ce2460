// File operations that leave no half-written file behind.
#pragma once

#include <string>
#include <string_view>

namespace simulators {

// The absolute form of a path with the prefix that lifts the length limit; for calls of the system only.
std::wstring LongPath(std::wstring_view path);

// The file's bytes. Throws Failure, in German, with the path.
std::string ReadWholeFile(const std::wstring& path);

// Replaces or creates the file in one step: the bytes go to `temporary`, are flushed and renamed to `path`, so that
// whoever looks, at whatever moment, meets the old content or the new one. `temporary` must lie on the same volume.
// Throws Failure.
void WriteFileAtomically(const std::wstring& path, std::string_view bytes, const std::wstring& temporary);

// The same with the file's own name and ".tmp" as the temporary file.
void WriteFileAtomically(const std::wstring& path, std::string_view bytes);

// True for an existing file that is no directory.
bool IsFile(const std::wstring& path);
bool IsDirectory(const std::wstring& path);

// The path of the running program.
std::wstring ProgramPath();

} // namespace simulators
