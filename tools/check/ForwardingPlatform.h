#pragma once

#include "automation/Platform.h"

namespace kandora::check {

/// Passes everything on to another platform; base of those that replace single answers.
class ForwardingPlatform : public Platform {
public:
    explicit ForwardingPlatform(Platform& machine) : machine_(machine) {}

    LateBound CreateObject(const Text& progId) override { return machine_.CreateObject(progId); }
    bool FileExists(const Text& path) override { return machine_.FileExists(path); }
    bool FolderExists(const Text& path) override { return machine_.FolderExists(path); }
    void GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                 const std::string& file) override {
        machine_.GetPrivateProfileString(section, key, buffer, file);
    }
    void GetPrivateProfileSection(const char* section, std::span<char> buffer,
                                  const std::string& file) override {
        machine_.GetPrivateProfileSection(section, buffer, file);
    }
    bool WritePrivateProfileString(const char* section, const char* key, const char* value,
                                   const std::string& file) override {
        return machine_.WritePrivateProfileString(section, key, value, file);
    }
    void AppendToFile(const Text& path, const std::string& bytes) override {
        machine_.AppendToFile(path, bytes);
    }
    Text Environment(const wchar_t* name) override { return machine_.Environment(name); }
    LocalTime Now() override { return machine_.Now(); }
    void Sleep(std::uint32_t milliseconds) override { machine_.Sleep(milliseconds); }
    Text ComponentFile() override { return machine_.ComponentFile(); }

private:
    Platform& machine_;
};

}  // namespace kandora::check
