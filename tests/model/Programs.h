#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "automation/Platform.h"
#include "interfaces/ComPtr.h"
#include "simulators/common/DispatchObject.h"
#include "tests/model/Ledger.h"
#include "tests/model/ModelFaults.h"
#include "tests/support/FakeProfile.h"
#include "ui/UserInterface.h"

/// Everything around the component, in memory: the archive and the accounting behind their automation
/// classes, the machine and the user. Unlike scripted stand-ins they keep what they are given.
namespace kandora::model_tests {

/// Masks of the archive, and the first index line of each; the fields follow one another.
enum Mask : std::int32_t { structure = 1, vouchers = 2, reports = 3, debtors = 4, creditors = 5 };
std::int16_t FirstLine(std::int32_t mask);
std::int16_t LineCount(std::int32_t mask);

struct Entry {
    std::int32_t mask = 0;
    Text title;
    Text folder;  ///< its path, with "/" between levels
    Text document;
    std::map<std::int16_t, Text> fields;

    bool operator==(const Entry&) const = default;
};

/// Mistakes of a broken component, as they would reach the archive. They show that the runs find something.
enum class Defect : std::uint8_t { None, ForgetsField, NeverSaves, FilesTwice, DeletesAnother, SwapsKinds };

/// The archive. What it holds survives its sessions and its process.
struct Archive {
    explicit Archive(Faults& theFaults) : faults(theFaults) {}

    Faults& faults;
    std::map<std::int32_t, Entry> entries;
    std::map<Text, std::int32_t> folders;  ///< path to id
    std::int32_t nextId = 2;
    unsigned process = 1;      ///< the running one; objects of others are dead
    unsigned sessions = 0;     ///< logged in now
    std::uint64_t logins = 0;  ///< ever
    Defect defect = Defect::None;

    /// Its objects may live in several apartments: it answers one call at a time.
    std::unique_lock<std::recursive_mutex> Guard() { return std::unique_lock(lock_); }
    void Die() {
        ++process;
        sessions = 0;
    }
    std::int32_t CreateFolders(const Text& path);
    [[nodiscard]] Text PathOf(std::int32_t folder) const;

private:
    std::recursive_mutex lock_;
};

/// The accounting, in whose process the component works: it cannot die without it, but it closes its client.
struct Accounting {
    Accounting(Faults& theFaults, const Ledger& theLedger) : faults(theFaults), ledger(theLedger) {}

    Faults& faults;
    const Ledger& ledger;
    std::map<std::size_t, std::map<int, Text>> options;  ///< client, key
    unsigned process = 1;
    unsigned session = 1;  ///< whoever logged in during another one is logged out

    /// All its objects live in one apartment.
    static int Guard() { return 0; }
    void Die() { ++session; }
};

/// "ELO.professional" and "FibuNT.Mandant"; the programs outlive their objects.
ComPtr<IDispatch> NewSession(Archive& archive);
ComPtr<IDispatch> NewClient(Accounting& accounting);

/// A key of the component's INI file; together they suit the archive.
struct IniKey {
    std::string section;
    std::string key;
    std::string value;
};
std::vector<IniKey> SuitableSettings();

/// The machine. Creating objects, testing for files, reading settings and writing the log can fail.
class Machine final : public Platform {
public:
    Machine(Faults& faults, Archive& archive, Accounting& accounting, const Ledger& ledger);

    void TurnTracing(bool on);

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
    LocalTime Now() override { return {2026, 11, 15, 1, 12, 58}; }
    void Sleep(std::uint32_t milliseconds) override;
    Text ComponentFile() override { return L"C:\\Kandora\\Kandora.dll"; }

private:
    Faults& faults_;
    Archive& archive_;
    Accounting& accounting_;
    const Ledger& ledger_;
    test::FakeProfile profile_;
};

/// The user: confirms boxes, types what the ledger says.
class User final : public UserInterface {
public:
    User(Faults& faults, const Ledger& ledger) : faults_(faults), ledger_(ledger) {}

    std::vector<Text> boxes;

    void ShowMessage(const Text& prompt, int style, const Text& caption) override;
    Text InputBox(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                  std::int32_t topTwips) override;
    std::unique_ptr<ReportDialog> NewReportDialog() override;

private:
    Faults& faults_;
    const Ledger& ledger_;
};

}  // namespace kandora::model_tests
