/// The index of a store: it must answer as the files would, and a damaged one must make no difference.
#include <gmock/gmock.h>

#include <random>

#include "interfaces/CodePages.h"
#include "simulators/archive/EntryTable.h"
#include "simulators/archive/StoreIndex.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Files.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

void ReplaceInPlace(const std::wstring& path, const std::string& from, const std::string& to) {
    EditInPlace(path, Replaced(ReadWholeFile(path), from, to));
}

/// Everything that the store answers, in lines.
class Contents {
public:
    explicit Contents(const ArchiveStore& store) : store_(store) {
        AddFolder(rootId);
        for (std::int32_t mask = 0; mask <= 6; ++mask) {
            lines_.push_back(L"mask " + std::to_wstring(mask) + List(store.EntriesOfMask(mask)));
        }
        lines_.push_back(std::to_wstring(store.FolderCount()) + L" folders, " +
                         std::to_wstring(store.EntryCount()) + L" entries, " +
                         std::to_wstring(store.PostboxCount()) + L" in the postbox");
        lines_.insert(lines_.end(), store.Warnings().begin(), store.Warnings().end());
    }

    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::ranges::transform(lines_, std::back_inserter(lines), &Utf8FromText);
        return lines;
    }

private:
    static std::wstring List(const std::vector<std::int32_t>& ids) {
        std::wstring text;
        for (const std::int32_t id : ids) {
            text += L" " + std::to_wstring(id);
        }
        return text;
    }

    void AddFolder(std::int32_t id) {
        const Folder& folder = *store_.FindFolder(id);
        lines_.push_back(std::to_wstring(id) + L" in " + std::to_wstring(folder.parent) + L": " +
                         folder.name + L", " + folder.directory + L", folders" + List(folder.children) +
                         L", entries" + List(folder.entries) + L", " + store_.TreePath(id, L"Archiv", L"/"));
        for (const std::int32_t entry : folder.entries) {
            AddEntry(entry);
        }
        for (const std::int32_t child : folder.children) {
            AddFolder(child);
        }
    }

    void AddEntry(std::int32_t id) {
        const std::int32_t mask = store_.MaskOf(id);
        const Entry* entry = store_.FindEntry(id);
        if (entry == nullptr) {
            lines_.push_back(std::to_wstring(id) + L" is gone");
            return;
        }
        std::wstring line = std::to_wstring(entry->id) + L" in " + std::to_wstring(entry->folder) +
                            L", mask " + std::to_wstring(entry->mask) + L"/" + std::to_wstring(mask) + L": " +
                            entry->shortName + L", " + entry->document + L", " + entry->filed;
        for (const auto& [number, value] : entry->fields) {
            line += L", " + std::to_wstring(number) + L"=" + value;
        }
        lines_.push_back(line);
    }

    const ArchiveStore& store_;
    std::vector<std::wstring> lines_;
};

class StoreIndexTest : public ReopenedStoreFixture {
protected:
    std::wstring IndexPath() const { return StorePath() + L"\\archiv.index"; }
    std::wstring EntryFile(std::wstring_view folder, std::int32_t id) const {
        return InFolders(std::wstring(folder) + L"\\" + std::to_wstring(id) + L".json");
    }

    /// A store with two folders and three entries that was closed.
    void FileThree() {
        ArchiveStore& store = Open();
        const std::int32_t folder = store.CreateFolders(L"¶A").value();
        first_ = FileVoucher(store, folder, L"erster");
        second_ = FileVoucher(store, folder, L"zweiter");
        third_ = FileVoucher(store, store.CreateFolders(L"¶A¶B").value(), L"dritter");
        Close();
    }

    /// Changes the first entry's short name in its file without a trace in size or time: an opening that
    /// reads the file shows "Erster", one that trusts the index "erster".
    void Disguise(const std::string& from = "\"erster\"", const std::string& to = "\"Erster\"") {
        const std::wstring path = EntryFile(L"A", first_);
        const FileStamp stamp = StampOf(path).value();
        ReplaceInPlace(path, from, to);
        SetTime(path, stamp.written);
        EXPECT_EQ(StampOf(path), stamp);
    }
    bool IsFromIndex() {
        const std::wstring& name = store_->FindEntry(first_)->shortName;
        EXPECT_TRUE(name == L"erster" || name == L"Erster") << Utf8FromText(name);
        return name == L"erster";
    }

    /// Makes the directories look as if nothing had changed in them for an hour, and lets the index know it.
    void Age() {
        AgeDirectories();
        Open();
        Close();
    }

    std::int32_t first_ = 0;
    std::int32_t second_ = 0;
    std::int32_t third_ = 0;
};

TEST_F(StoreIndexTest, IsThereWhileTheStoreIsClosed) {
    FileThree();
    EXPECT_TRUE(IsFile(IndexPath()));
    Open();
    EXPECT_FALSE(IsFile(IndexPath()));
    Close();
    EXPECT_TRUE(IsFile(IndexPath()));
    EXPECT_THAT(ListDirectory(StorePath() + L"\\Temp"), IsEmpty());
}

TEST_F(StoreIndexTest, AnswersWithoutReadingTheFiles) {
    FileThree();
    Disguise();
    Open();
    EXPECT_TRUE(IsFromIndex());
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, second_, third_));
    Close();
    RemoveFile(IndexPath());
    Open();
    EXPECT_FALSE(IsFromIndex()) << "without an index, the files count";
}

TEST_F(StoreIndexTest, PassesOnWhatNobodyAskedFor) {
    FileThree();
    Disguise();
    for (int round = 0; round < 3; ++round) {
        Open();
        EXPECT_EQ(store_->EntryCount(), 3U);
    }
    FileVoucher(*store_, store_->LookupFolder(L"¶A"), L"vierter");
    Open();
    EXPECT_TRUE(IsFromIndex());
    EXPECT_EQ(store_->EntryCount(), 4U);
}

TEST_F(StoreIndexTest, KeepsTheHighestNumberWhenTheCounterIsLost) {
    FileThree();
    Open();
    store_->RemoveEntry(third_);
    Close();
    RemoveFile(StorePath() + L"\\zaehler.json");
    Open();
    EXPECT_GT(FileVoucher(*store_, store_->LookupFolder(L"¶A"), L"neu"), third_);
}

// --- The same as the files ---

/// Changes a store at random, the same way each time.
class RandomChanges {
public:
    explicit RandomChanges(const std::wstring& document) : document_(document) {}

    void Make(ArchiveStore& store) {
        const std::int32_t entry = Any(entries_);
        switch (Below(7)) {
        case 0:
        case 1:
        case 2:
            File(store);
            break;
        case 3:
            if (entry != 0) {
                Entry changed = *store.FindEntry(entry);
                Fill(changed);
                store.Update(changed);
            }
            break;
        case 4:
            if (entry != 0) {
                store.Move(entry, Folder(store));
            }
            break;
        case 5:
            if (entry != 0) {
                store.RemoveEntry(entry);
                std::erase(entries_, entry);
            }
            break;
        default:
            store.RemoveFolder(Folder(store));
            break;
        }
    }

private:
    std::size_t Below(std::size_t count) { return random_() % count; }

    std::int32_t Any(const std::vector<std::int32_t>& ids) {
        return ids.empty() ? 0 : ids[Below(ids.size())];
    }

    std::wstring Text() {
        static const std::vector<std::wstring> texts{L"",       L"Miete", std::wstring(L"mit\0Null", 8),
                                                     L"Zürich", L"😀",    std::wstring(700, L'x')};
        return texts[Below(texts.size())];
    }

    std::int32_t Folder(ArchiveStore& store) {
        static const std::vector<std::wstring> paths{L"¶A", L"¶A¶Q. 1.", L"¶Ä/B", L"¶Ä/B¶C¶D", L"¶z"};
        return store.CreateFolders(paths[Below(paths.size())]).value();
    }

    void Fill(Entry& entry) {
        entry.mask = static_cast<std::int32_t>(1 + Below(5));
        entry.shortName = Text();
        entry.fields.clear();
        for (std::size_t count = Below(4); count > 0; --count) {
            entry.fields[static_cast<std::int16_t>(1 + Below(32767))] = Text();
        }
    }

    void File(ArchiveStore& store) {
        Entry entry;
        entry.folder = Folder(store);
        Fill(entry);
        entries_.push_back(store.File(entry, store.AddToPostbox(document_, L"KAN")).id);
    }

    std::wstring document_;
    std::mt19937 random_{4711};
    std::vector<std::int32_t> entries_;
};

TEST_F(StoreIndexTest, HoldsTheSameAsTheFilesAfterAnyChanges) {
    RandomChanges changes(document_);
    for (int round = 0; round < 12; ++round) {
        // Some openings ask for little, so that most entries go from index to index as they are.
        for (int opening = 0; opening < 3; ++opening) {
            ArchiveStore& store = Open();
            for (int change = 0; change < 4; ++change) {
                changes.Make(store);
            }
        }
        const auto before = Contents(*store_).Lines();
        Close();
        ASSERT_TRUE(IsFile(IndexPath()));
        EXPECT_EQ(Contents(Open()).Lines(), before);
        Close();
        RemoveFile(IndexPath());
        EXPECT_EQ(Contents(Open()).Lines(), before);
        if (round % 4 == 3) {
            Close();
            Age();
        }
    }
}

// --- Damage ---

TEST_F(StoreIndexTest, CountsOnlyIfItIsWhole) {
    FileThree();
    const std::string whole = ReadWholeFile(IndexPath());
    const std::wstring path = directory_.Write(L"Probe.index", "");
    const auto isTaken = [&](const std::string& bytes) {
        {
            const FileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                              FILE_ATTRIBUTE_NORMAL, nullptr));
            DWORD written = 0;
            WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
        }
        const bool result = StoreIndex::Take(path) != nullptr;
        EXPECT_FALSE(IsFile(path)) << "read once and never again";
        return result;
    };
    ASSERT_TRUE(isTaken(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(isTaken(whole.substr(0, length))) << length;
    }
    for (std::size_t place = 0; place < whole.size(); ++place) {
        std::string damaged = whole;
        damaged[place] = static_cast<char>(damaged[place] ^ (1 << (place % 8)));
        EXPECT_FALSE(isTaken(damaged)) << place;
    }
    EXPECT_FALSE(isTaken(whole + '\0'));
    EXPECT_FALSE(isTaken(whole + whole));
    EXPECT_FALSE(isTaken(std::string(whole.size(), '\0')));
}

TEST_F(StoreIndexTest, IsPassedOverWhenItIsDamaged) {
    FileThree();
    Disguise();
    EditInPlace(IndexPath(), ReadWholeFile(IndexPath()) + "x");
    Open();
    EXPECT_FALSE(IsFromIndex());
    EXPECT_THAT(store_->Warnings(), IsEmpty()) << "nothing is lost, so there is nothing to say";
    EXPECT_EQ(store_->EntryCount(), 3U);
    Close();
    EXPECT_TRUE(IsFile(IndexPath())) << "and the next one is a good one";
    Disguise("\"Erster\"", "\"erster\"");
    EXPECT_EQ(Open().FindEntry(first_)->shortName, L"Erster");
}

TEST_F(StoreIndexTest, IsPassedOverWhenItCannotBeDeleted) {
    FileThree();
    Disguise();
    SetFileAttributesW(IndexPath().c_str(), FILE_ATTRIBUTE_READONLY);
    Open();
    EXPECT_FALSE(IsFromIndex());
    FileVoucher(*store_, store_->LookupFolder(L"¶A"), L"vierter");
    Open();
    EXPECT_EQ(store_->EntryCount(), 4U);
    Close();
    SetFileAttributesW(IndexPath().c_str(), FILE_ATTRIBUTE_NORMAL);
    Open();
    EXPECT_EQ(store_->EntryCount(), 4U);
}

TEST_F(StoreIndexTest, MayBeImpossibleToWrite) {
    FileThree();
    Open();
    CreateDirectories(IndexPath());
    Close();
    Open();
    EXPECT_EQ(store_->EntryCount(), 3U);
    EXPECT_THAT(store_->Warnings(), IsEmpty());
    RemoveDirectoryW(IndexPath().c_str());

    // A store in which nothing can be written any more.
    const std::wstring temporary = StorePath() + L"\\Temp";
    RemoveDirectoryW(temporary.c_str());
    directory_.Write(L"Archiv\\Temp", "");
    Close();
    EXPECT_FALSE(IsFile(IndexPath()));
    RemoveFile(temporary);
    EXPECT_EQ(Open().EntryCount(), 3U);
}

TEST_F(StoreIndexTest, DoesNotTrustTheTimeOfADirectoryThatHasJustChanged) {
    FileThree();
    const std::uint64_t time = StampOf(InFolders(L"A")).value().written;
    CopyFileDurably(EntryFile(L"A", second_), EntryFile(L"A", 500));
    SetTime(InFolders(L"A"), time);  // as a clock with coarse steps would
    Open();
    ASSERT_EQ(store_->Warnings().size(), 1U);
    EXPECT_THAT(Utf8FromText(store_->Warnings()[0]), HasSubstr("Die Nummer passt nicht zum Dateinamen."));
}

// --- What people do with the files ---

/// With directories that changed just now, and with directories that have not changed for long.
class EditedStoreTest : public StoreIndexTest, public ::testing::WithParamInterface<bool> {
protected:
    EditedStoreTest() {
        FileThree();
        if (GetParam()) {
            Age();
        }
        Disguise();
    }
};

INSTANTIATE_TEST_SUITE_P(Directories, EditedStoreTest, ::testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Old" : "Fresh"; });

TEST_P(EditedStoreTest, UsesTheIndexWhenNothingHasChanged) {
    Open();
    EXPECT_TRUE(IsFromIndex());
}

TEST_P(EditedStoreTest, FindsAnEntryThatWasAdded) {
    const std::int32_t added = third_ + 10;
    const std::string content = ReadWholeFile(EntryFile(L"A", second_));
    EditInPlace(directory_.Write(L"Archiv\\Ordner\\A\\" + std::to_wstring(added) + L".json", ""),
                Replaced(content, "\"id\": " + std::to_string(second_), "\"id\": " + std::to_string(added)));
    Open();
    EXPECT_FALSE(IsFromIndex());
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, second_, third_, added));
    EXPECT_EQ(store_->FindEntry(added)->shortName, L"zweiter");
}

TEST_P(EditedStoreTest, MissesAnEntryThatWasRemoved) {
    RemoveFile(EntryFile(L"A\\B", third_));
    Open();
    EXPECT_FALSE(IsFromIndex());
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, second_));
    EXPECT_EQ(store_->FindEntry(third_), nullptr);
    EXPECT_FALSE(IsFile(InFolders(L"A\\B\\" + std::to_wstring(third_) + L".pdf")));
}

TEST_P(EditedStoreTest, FindsAnEntryThatWasTakenToAnotherFolder) {
    RenameFile(EntryFile(L"A\\B", third_), EntryFile(L"A", third_));
    Open();
    EXPECT_EQ(store_->FindEntry(third_)->folder, store_->LookupFolder(L"¶A"));
    EXPECT_THAT(store_->FindFolder(store_->LookupFolder(L"¶A¶B"))->entries, IsEmpty());
}

TEST_P(EditedStoreTest, ReadsAnEntryThatWasEdited) {
    ReplaceInPlace(EntryFile(L"A", second_), "1001", "Zehn und drei");
    for (int start = 0; start < 2; ++start) {
        Open();
        EXPECT_EQ(store_->FindEntry(second_)->fields.at(2), L"Zehn und drei");
        EXPECT_EQ(IsFromIndex(), GetParam()) << "a directory that may have changed is looked through";
    }
}

TEST_P(EditedStoreTest, WarnsOfABrokenEntryAgainAtEveryStart) {
    EditInPlace(EntryFile(L"A", second_), "{\"id\": 3,\n kaputt");
    Open();
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, third_));
    EXPECT_EQ(store_->FindEntry(second_), nullptr);
    EXPECT_THAT(store_->FindFolder(store_->LookupFolder(L"¶A"))->entries, ElementsAre(first_));
    for (int start = 0; start < 3; ++start) {
        ASSERT_EQ(store_->Warnings().size(), 1U) << start;
        EXPECT_THAT(Utf8FromText(store_->Warnings()[0]), HasSubstr("Der Eintrag wird übergangen."));
        Close();
        EXPECT_FALSE(IsFile(IndexPath())) << start;
        Open();
    }
    EditInPlace(EntryFile(L"A", second_),
                Replaced(ReadWholeFile(EntryFile(L"A", first_)), "\"id\": " + std::to_string(first_),
                         "\"id\": " + std::to_string(second_)));
    Open();
    EXPECT_THAT(store_->Warnings(), IsEmpty());
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, second_, third_));
    Close();
    EXPECT_TRUE(IsFile(IndexPath()));
}

TEST_P(EditedStoreTest, FindsFoldersThatWereAddedRenamedOrRemoved) {
    CreateDirectories(InFolders(L"A\\Neu"));
    Open();
    EXPECT_FALSE(IsFromIndex());
    const std::int32_t added = store_->LookupFolder(L"¶A¶Neu");
    EXPECT_GT(added, third_);
    Close();
    RenameFile(InFolders(L"A\\Neu"), InFolders(L"A\\Anders"));
    Open();
    EXPECT_EQ(store_->LookupFolder(L"¶A¶Neu"), 0);
    EXPECT_EQ(store_->LookupFolder(L"¶A¶Anders"), added);
    Close();
    RemoveFile(InFolders(L"A\\Anders\\ordner.json"));
    RemoveDirectoryW(InFolders(L"A\\Anders").c_str());
    Open();
    EXPECT_EQ(store_->LookupFolder(L"¶A¶Anders"), 0);
    EXPECT_EQ(store_->FolderCount(), 2U);
}

TEST_P(EditedStoreTest, ReadsAFoldersFileThatWasEdited) {
    const std::wstring path = InFolders(L"A\\B\\ordner.json");
    const std::string id = std::to_string(Open().LookupFolder(L"¶A¶B"));
    Close();
    ReplaceInPlace(path, "\"id\": " + id, "\"id\": 900");
    Open();
    EXPECT_EQ(store_->LookupFolder(L"¶A¶B"), 900);
    EXPECT_EQ(store_->FindEntry(third_)->folder, 900);
}

TEST_P(EditedStoreTest, CleansUpWhatLiesBetweenItsFiles) {
    const std::wstring halfWritten = directory_.Write(L"Archiv\\Ordner\\A\\9.json.tmp", "{");
    const std::wstring stray = directory_.Write(L"Archiv\\Ordner\\A\\B\\3.pdf", "%PDF");
    Open();
    EXPECT_FALSE(IsFile(halfWritten));
    EXPECT_FALSE(IsFile(stray));
    EXPECT_EQ(store_->EntryCount(), 3U);
}

TEST_P(EditedStoreTest, FindsAtTheNextStartWhatWasDoneWhileTheStoreWasOpen) {
    Open();
    CopyFileDurably(EntryFile(L"A", second_), EntryFile(L"A", 500));
    ReplaceInPlace(EntryFile(L"A", 500), "\"id\": " + std::to_string(second_), "\"id\": 500");
    ReplaceInPlace(EntryFile(L"A\\B", third_), "\"dritter\"", "\"von Hand\"");
    Open();
    EXPECT_EQ(store_->FindEntry(500)->shortName, L"zweiter");
    EXPECT_EQ(store_->FindEntry(third_)->shortName, L"von Hand");
    // The store keeps entries that were asked for; it notices a later edit only at the next start.
    ReplaceInPlace(EntryFile(L"A\\B", third_), "\"von Hand\"", "\"noch einmal\"");
    EXPECT_EQ(store_->FindEntry(third_)->shortName, L"von Hand");
    Open();
    EXPECT_EQ(store_->FindEntry(third_)->shortName, L"noch einmal");
}

// --- What is found when an entry is asked for ---

/// With directories that have not changed for long, so that an edited file is not noticed before.
class LazyStoreTest : public StoreIndexTest {
protected:
    LazyStoreTest() {
        FileThree();
        Age();
        Disguise();
    }
};

TEST_F(LazyStoreTest, FindsByItsMaskAnEntryThatNobodyHasAskedFor) {
    ReplaceInPlace(EntryFile(L"A", second_), "\"maske\": 2", "\"maske\": 4");
    Open();
    EXPECT_THAT(store_->EntriesOfMask(4), ElementsAre(second_));
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, third_));
    EXPECT_TRUE(IsFromIndex());
}

TEST_F(LazyStoreTest, KeepsItsListsWhileSomebodyGoesThroughThem) {
    ReplaceInPlace(EntryFile(L"A", first_), "\"maske\": 2", "\"maske\": 4");
    EditInPlace(EntryFile(L"A", second_), "kaputt");
    Open();
    std::vector<std::pair<ArchiveStore::Change, std::int32_t>> changes;
    store_->SetListener([&](ArchiveStore::Change change, std::int32_t id, std::int32_t) {
        changes.emplace_back(change, id);
    });
    const Folder& folder = *store_->FindFolder(store_->LookupFolder(L"¶A"));
    const Entry* first = store_->FindEntry(folder.entries[0]);
    EXPECT_EQ(first->mask, 4);
    EXPECT_EQ(store_->FindEntry(folder.entries[1]), nullptr);
    EXPECT_EQ(store_->FindEntry(folder.entries[1]), nullptr);
    EXPECT_THAT(folder.entries, ElementsAre(first_, second_));
    EXPECT_EQ(store_->FindEntry(first_), first);
    EXPECT_EQ(store_->EntryCount(), 2U);
    EXPECT_THAT(changes, ElementsAre(std::pair(ArchiveStore::Change::EntryChanged, first_),
                                     std::pair(ArchiveStore::Change::EntryRemoved, second_)));
    store_->TakeOverEdits();
    EXPECT_THAT(folder.entries, ElementsAre(first_));
    EXPECT_THAT(store_->EntriesOfMask(4), ElementsAre(first_));
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(third_));
}

TEST_F(LazyStoreTest, ChangesAnEntryWhoseMaskWasEdited) {
    ReplaceInPlace(EntryFile(L"A", second_), "\"maske\": 2", "\"maske\": 4");
    Open();
    Entry entry = *store_->FindEntry(second_);
    entry.mask = 5;
    store_->Update(entry);
    EXPECT_THAT(store_->EntriesOfMask(2), ElementsAre(first_, third_));
    EXPECT_THAT(store_->EntriesOfMask(4), IsEmpty());
    EXPECT_THAT(store_->EntriesOfMask(5), ElementsAre(second_));
}

TEST_F(LazyStoreTest, SortsAListInWhichABrokenEntryStands) {
    EditInPlace(EntryFile(L"A", second_), "kaputt");
    Open();
    EntryTable table(*store_);
    table.Show(store_->LookupFolder(L"¶A"));
    EXPECT_EQ(table.RowCount(), 2U);
    table.SortBy(EntryTable::ShortName, true);
    EXPECT_EQ(table.IdAt(0), first_);
    EXPECT_EQ(table.Cell(1, EntryTable::ShortName), L"");
    store_->TakeOverEdits();
    table.Refresh();
    EXPECT_EQ(table.RowCount(), 1U);
}

}  // namespace

}  // namespace kandora::simulators
