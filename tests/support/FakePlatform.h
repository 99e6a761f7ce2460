#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "automation/Errors.h"
#include "automation/Platform.h"
#include "tests/support/Conversation.h"
#include "tests/support/FakeObject.h"
#include "tests/support/FakeProfile.h"
#include "tests/support/Seam.h"

namespace kandora::test {

/// A machine in memory. What it is asked for goes to the conversation:
///
///     create ELO.professional                       an automation object; `!! 429` when it cannot be had
///     file "C:\Kandora\Platzhalter.pdf" -> True     an existence test
///     log "15.11.2026 01.12.58 | text\r\n"          bytes appended to a file, as text
///     sleep 500
///
/// Reading settings, environment and clock is not recorded there.
class FakePlatform final : public Platform {
public:
    explicit FakePlatform(Conversation& conversation) : conversation_(conversation) {}

    /// The next object of the class, before any that the maker below gives.
    void HandsOut(const Text& progId, const Fake& object);
    /// The next request for the class fails.
    void RefusesOnce(const Text& progId, std::int32_t number);
    /// Makes an object for each request that nothing else is prepared for; without a maker the class is not
    /// registered (429).
    void Makes(const Text& progId, std::function<Fake()> maker);

    std::set<Text> files;
    std::set<Text> folders;
    FakeProfile profile;
    bool profileWritesFail = false;
    /// `string "Section" "Key" 1000` (names as `-` when null), `section "Section" 1000`, `write "Section"
    /// "Key" "value"`.
    Lines profileCalls;
    /// The file of the latest call.
    std::string profileFile;
    std::map<Text, Text> environment{{L"USERNAME", L"user01"}, {L"COMPUTERNAME", L"PC01"}};
    LocalTime now{2026, 11, 15, 1, 12, 58};
    Text componentFile = L"C:\\Kandora\\Kandora.dll";
    std::map<Text, std::string> appended;
    std::optional<RuntimeError> appendFailure;
    /// Creating objects, testing for files, reading the profile and writing the log go through it, if set.
    Seam* seam = nullptr;

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
    LocalTime Now() override { return now; }
    void Sleep(std::uint32_t milliseconds) override;
    Text ComponentFile() override { return componentFile; }

private:
    Variant Through(TextView operation, const std::vector<Variant>& arguments, bool answered,
                    const std::function<Variant()>& carryOut) const;
    Fake NewObject(const Text& progId);

    Conversation& conversation_;
    std::map<Text, std::deque<std::variant<Fake, std::int32_t>>> prepared_;
    std::map<Text, std::function<Fake()>> makers_;
};

}  // namespace kandora::test
