#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "simulators/archive/ArchiveObject.h"
#include "simulators/common/tests/LateBoundClient.h"
#include "tests/support/TemporaryFolder.h"

/// A store of its own for each test, and clients of the automation object in it.
namespace kandora::simulators {

/// Notes what it was asked for; dies by an exception.
class RecordingView : public ArchiveView {
public:
    struct Died {};

    void BringToFront() override { log.emplace_back(L"BringToFront"); }
    void Minimize() override { log.emplace_back(L"Minimize"); }
    void Restore() override { log.emplace_back(L"Restore"); }
    void Select(std::int32_t id) override { log.emplace_back(L"Select " + std::to_wstring(id)); }
    void Refresh() override { log.emplace_back(L"Refresh"); }
    void Notice(std::wstring_view text) override { log.emplace_back(L"Notice " + std::wstring(text)); }
    void SessionsChanged() override { ++sessionChanges; }
    void Close() override { log.emplace_back(L"Close"); }
    [[noreturn]] void Die() override { throw Died(); }

    std::vector<std::wstring> log;
    int sessionChanges = 0;
};

/// Changes the time of a file's or directory's last writing; `time` as FILETIME counts.
void SetTime(const std::wstring& path, std::uint64_t time);
/// Writes other content into the same file, as an editor does that does not rename: the directory keeps its
/// time.
void EditInPlace(const std::wstring& path, const std::string& content);

/// A directory with a sample store and a document to file.
class StoreFixture : public ::testing::Test {
protected:
    StoreFixture();

    [[nodiscard]] std::wstring StorePath() const { return directory_ / L"Archiv"; }
    /// The path of a file below the store's folder "Ordner".
    [[nodiscard]] std::wstring InFolders(std::wstring_view path) const {
        return StorePath() + L"\\Ordner\\" + std::wstring(path);
    }
    /// A sample entry of mask 2 with a short name, ready to be filed.
    static Entry Voucher(std::int32_t folder, std::wstring_view shortName);
    std::int32_t FileVoucher(ArchiveStore& store, std::int32_t folder, std::wstring_view shortName);

    /// Makes the last changes of all directories of the closed store an hour older.
    void AgeDirectories() const;

    kandora::test::TemporaryFolder directory_;
    std::wstring document_ = directory_.Write(L"Beleg ä.pdf", "%PDF-1.4 Beleg");
};

/// A store that the test opens and closes.
class ReopenedStoreFixture : public StoreFixture {
protected:
    ArchiveStore& Open() {
        store_.reset();
        store_.emplace(StorePath(), 0);
        return *store_;
    }
    void Close() { store_.reset(); }

    std::optional<ArchiveStore> store_;
};

/// A store with automation objects, in the test's own process.
class ArchiveFixture : public StoreFixture {
protected:
    LateBoundClient NewClient();
    LateBoundClient LoggedOnClient();

    ArchiveStore store_{StorePath()};
    RecordingView view_;
    ArchiveProgram program_{store_, view_};
};

/// The numbers that the object answers.
constexpr std::int32_t success = 1;

}  // namespace kandora::simulators
