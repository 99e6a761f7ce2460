#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "automation/Clock.h"
#include "automation/LateBound.h"
#include "automation/Replaceable.h"
#include "automation/Text.h"

namespace kandora {

/// Everything that this system asks of the machine outside of its own memory and the user's eyes: one seam,
/// so that every such call can be recorded, counted and made to fail.
class Platform : public Replaceable {
public:
    /// A new automation object of the class; see NewObject.
    virtual LateBound CreateObject(const Text& progId) = 0;

    /// True for an existing file that is no folder.
    virtual bool FileExists(const Text& path) = 0;
    virtual bool FolderExists(const Text& path) = 0;

    /// Value of a key, names of a section's keys (`key` null) or names of all sections (`section` null), as
    /// the profile function of this name stores them in `buffer`. A missing value is the empty text.
    virtual void GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                         const std::string& file) = 0;
    /// The lines of a section, as the profile function of this name stores them in `buffer`.
    virtual void GetPrivateProfileSection(const char* section, std::span<char> buffer,
                                          const std::string& file) = 0;
    /// False when the value could not be written.
    virtual bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                                           const std::string& file) = 0;

    /// Opens the file (creating it if missing), writes the bytes at its end and closes it. Raises the file
    /// error.
    virtual void AppendToFile(const Text& path, const std::string& bytes) = 0;

    /// The environment variable's value; the empty text when it is not set.
    virtual Text Environment(const wchar_t* name) = 0;
    /// The user's local date and time.
    virtual LocalTime Now() = 0;
    virtual void Sleep(std::uint32_t milliseconds) = 0;

    /// Full path of the component's own file.
    virtual Text ComponentFile() = 0;
};

/// Folder of the component's own file, without a backslash at its end.
Text ComponentFolder(Platform& platform);
/// File name of the component's own file without folder and extension.
Text ComponentName(Platform& platform);

}  // namespace kandora
