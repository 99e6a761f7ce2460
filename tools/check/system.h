#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include "automation/Text.h"

namespace kandora::check {

/// What a program file is made for.
enum class Architecture { Unknown, X86, X64 };

#ifdef _WIN64
inline constexpr Architecture ownArchitecture = Architecture::X64;
inline constexpr REGSAM ownView = KEY_WOW64_64KEY;
inline constexpr REGSAM otherView = KEY_WOW64_32KEY;
#else
inline constexpr Architecture ownArchitecture = Architecture::X86;
inline constexpr REGSAM ownView = KEY_WOW64_32KEY;
inline constexpr REGSAM otherView = KEY_WOW64_64KEY;
#endif

/// "32 Bit", "64 Bit" or "unbekannt".
const wchar_t* NameOf(Architecture architecture) noexcept;
/// Unknown when the file cannot be read or is no program.
Architecture ArchitectureOf(const Text& file);
/// "1.2.3.4"; empty when the file carries no version.
Text VersionOf(const Text& file);

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

bool EqualIgnoringCase(TextView left, TextView right);
/// Number of letters to insert, remove, replace or swap with their neighbour, letter case aside.
std::size_t EditDistance(TextView left, TextView right);

Text TextOfGuid(REFGUID guid);

/// A text value (the default value when `name` is null) with its environment variables put in; none when
/// there is no such value. `view` chooses the registry of 32-bit or of 64-bit programs.
std::optional<Text> RegistryText(HKEY root, const Text& path, const wchar_t* name, REGSAM view);
bool RegistryKeyExists(HKEY root, const Text& path, REGSAM view);
/// Names of the keys directly below.
std::vector<Text> RegistryKeys(HKEY root, const Text& path, REGSAM view);

/// How a registered class is served.
struct Server {
    CLSID clsid{};
    bool inProcess = false;
    Text file;
    Architecture architecture = Architecture::Unknown;
};
/// The server that a program of this bitness gets; none when the class is not registered for it.
std::optional<Server> ServerOf(const wchar_t* programId);

}  // namespace kandora::check
