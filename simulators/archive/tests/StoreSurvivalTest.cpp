/// The store when a process ends in the middle of its work: another process files, changes, moves and deletes
/// until it is killed, and whatever it reported as done must be there afterwards, undamaged.
#include <cstdio>

#include "interfaces/CodePages.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Files.h"
#include "tests/support/StartedProgram.h"

namespace kandora::simulators {

namespace {

constexpr const wchar_t* storeVariable = L"ARCHIVE_SURVIVAL_STORE";

std::wstring Environment(const wchar_t* name) {
    wchar_t buffer[1024] = {};
    return std::wstring(buffer, GetEnvironmentVariableW(name, buffer, static_cast<DWORD>(std::size(buffer))));
}

/// Appends lines that outlive this process as soon as Note returns: "+id" for an entry filed, "?id" for one
/// that is about to be deleted, "-id" for one deleted.
class Acknowledgements {
public:
    explicit Acknowledgements(const std::wstring& path)
        : file_(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}

    void Note(char sign, std::int32_t id) {
        const std::string line = sign + std::to_string(id) + "\n";
        DWORD written = 0;
        WriteFile(file_.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    }

private:
    FileHandle file_;
};

/// Not a test: the work of the process that gets killed.
TEST(SurvivalVictim, DISABLED_WorksUntilItIsKilled) {
    const std::wstring path = Environment(storeVariable);
    ASSERT_FALSE(path.empty());
    const std::wstring document = path + L".pdf";
    Acknowledgements done(path + L".log");
    ArchiveStore store(path);
    const std::int32_t first = store.CreateFolders(L"¶Belege").value();
    const std::int32_t second = store.CreateFolders(L"¶Ziel").value();
    for (int round = 0;; ++round) {
        Entry entry;
        entry.folder = first;
        entry.mask = 2;
        entry.shortName = L"Runde " + std::to_wstring(round);
        const std::int32_t id = store.File(entry, store.AddToPostbox(document, L"KAN")).id;
        done.Note('+', id);
        Entry changed = *store.FindEntry(id);
        changed.fields[1] = L"geändert";
        store.Update(changed);
        if (round % 3 == 1) {
            store.Move(id, second);
        }
        if (round % 3 == 2) {
            done.Note('?', id);  // from here on it may be there or not
            store.RemoveEntry(id);
            done.Note('-', id);
        }
        store.CreateFolders(L"¶Jahr¶" + std::to_wstring(round));
    }
}

class SurvivalTest : public StoreFixture {
protected:
    kandora::test::Command Victim() const {
        SetEnvironmentVariableW(storeVariable, StorePath().c_str());
        return {L"\"" + ProgramPath() +
                L"\" --gtest_also_run_disabled_tests --gtest_filter=SurvivalVictim.* --gtest_brief=1"};
    }

    std::string Log() const { return IsFile(LogPath()) ? ReadWholeFile(LogPath()) : std::string(); }
    std::wstring LogPath() const { return StorePath() + L".log"; }

    static std::size_t Lines(const std::string& text) {
        return static_cast<std::size_t>(std::ranges::count(text, '\n'));
    }
};

void ExpectWholeFolder(const std::wstring& path) {
    std::size_t entries = 0;
    std::size_t documents = 0;
    for (const DirectoryItem& item : ListDirectory(path)) {
        if (item.isDirectory) {
            ExpectWholeFolder(path + L"\\" + item.name);
        } else if (item.name.ends_with(L".pdf")) {
            ++documents;
            EXPECT_EQ(ReadWholeFile(path + L"\\" + item.name), "%PDF-1.4 Beleg");
        } else if (item.name != L"ordner.json") {
            EXPECT_TRUE(item.name.ends_with(L".json")) << Utf8FromText(item.name);
            ++entries;
        }
    }
    EXPECT_EQ(entries, documents) << Utf8FromText(path);
}

TEST_F(SurvivalTest, LosesNothingThatWasReportedAndKeepsNothingHalf) {
    CopyFileDurably(document_, StorePath() + L".pdf");
    std::map<std::int32_t, char> expected;
    std::int32_t highest = 0;
    for (const std::size_t enough : {3U, 11U, 24U, 40U}) {
        const std::size_t before = Lines(Log());
        {
            kandora::test::StartedProgram victim(Victim());
            ASSERT_TRUE(victim.ShowsLife([&] { return Lines(Log()) >= before + enough; }));
            ASSERT_FALSE(victim.HasEnded());
        }

        EXPECT_FALSE(IsFile(StorePath() + L"\\archiv.index")) << "it would say what is no longer so";

        const std::string log = Log();
        ASSERT_GE(Lines(log), before + enough);
        for (std::size_t start = 0; start < log.size(); start = log.find('\n', start) + 1) {
            const std::int32_t id = std::stoi(log.substr(start + 1));
            expected[id] = log[start];
            highest = std::max(highest, id);
        }
        const ArchiveStore store(StorePath());
        EXPECT_TRUE(store.Warnings().empty());
        for (const auto& [id, state] : expected) {
            if (state != '?') {
                EXPECT_EQ(store.FindEntry(id) != nullptr, state == '+') << state << id;
            }
        }
        for (const std::int32_t id : store.EntriesOfMask(2)) {
            EXPECT_TRUE(IsFile(store.DocumentPath(*store.FindEntry(id)))) << id;
        }
        EXPECT_TRUE(ListDirectory(StorePath() + L"\\Temp").empty());
        ExpectWholeFolder(StorePath() + L"\\Ordner");
    }
    ArchiveStore store(StorePath());
    EXPECT_GT(FileVoucher(store, store.LookupFolder(L"¶Belege"), L"danach"), highest);
}

}  // namespace

}  // namespace kandora::simulators
