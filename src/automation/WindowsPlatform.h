#pragma once

#include "automation/Platform.h"

namespace kandora {

/// The real machine.
class WindowsPlatform final : public Platform {
public:
    LateBound CreateObject(const Text& progId) override;
    bool FileExists(const Text& path) override;
    bool FolderExists(const Text& path) override;
    void GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                 const std::string& file) override;
    void GetPrivateProfileSection(const char* section, std::span<char> buffer,
                                  const std::string& file) override;
    bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                                   const std::string& file) override;
    void AppendToFile(const Text& path, const std::string& bytes) override;
    Text Environment(const wchar_t* name) override;
    LocalTime Now() override;
    void Sleep(std::uint32_t milliseconds) override;
    Text ComponentFile() override;
};

/// The module that this code is linked into.
HINSTANCE OwnModule() noexcept;

}  // namespace kandora
