#pragma once

#include <stdexcept>

#include "automation/Platform.h"

namespace kandora::test {

/// A machine for code that should not need one; derived classes allow exceptions.
class UnneededPlatform : public Platform {
public:
    LateBound CreateObject(const Text&) override { Unexpected(); }
    bool FileExists(const Text&) override { Unexpected(); }
    bool FolderExists(const Text&) override { Unexpected(); }
    void GetPrivateProfileString(const char*, const char*, std::span<char>, const std::string&) override {
        Unexpected();
    }
    void GetPrivateProfileSection(const char*, std::span<char>, const std::string&) override { Unexpected(); }
    bool WritePrivateProfileString(const char*, const char*, const char*, const std::string&) override {
        Unexpected();
    }
    void AppendToFile(const Text&, const std::string&) override { Unexpected(); }
    Text Environment(const wchar_t*) override { Unexpected(); }
    LocalTime Now() override { Unexpected(); }
    void Sleep(std::uint32_t) override { Unexpected(); }
    Text ComponentFile() override { Unexpected(); }

private:
    [[noreturn]] static void Unexpected() { throw std::logic_error("nobody has business with this here"); }
};

}  // namespace kandora::test
