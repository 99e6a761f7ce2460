#include <gmock/gmock.h>

#include <optional>

#include "interfaces/CodePages.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Files.h"
#include "simulators/common/JsonFile.h"
#include "simulators/common/tests/FailureOf.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StoreTest : public ReopenedStoreFixture {
protected:
    /// Files a voucher in the folder "A" of a store that is closed again.
    std::int32_t FileBeforehand(std::wstring_view shortName) {
        ArchiveStore& store = Open();
        const std::int32_t id = FileVoucher(store, store.CreateFolders(L"¶A").value(), shortName);
        Close();
        return id;
    }
};

TEST_F(StoreTest, CreatesAllMissingLevelsAsDirectories) {
    ArchiveStore& store = Open();
    const std::int32_t id = store.CreateFolders(L"¶Müller AG¶Bücher/2026¶Co.").value();
    EXPECT_EQ(store.FolderCount(), 3U);
    EXPECT_EQ(store.LookupFolder(L"¶Müller AG¶Bücher/2026¶Co."), id);
    EXPECT_EQ(store.CreateFolders(L"¶Müller AG¶Bücher/2026¶Co."), id);
    const JsonFile file = JsonFile::Read(InFolders(L"Müller AG\\Bücher%2F2026\\Co%2E\\ordner.json"));
    EXPECT_EQ(file.Integer(file.Required(file.Root(), "id")), id);
    EXPECT_EQ(file.Text(file.Required(file.Root(), "name")), L"Co.");
}

TEST_F(StoreTest, StartsIdsAtTwo) {
    EXPECT_EQ(Open().CreateFolders(L"¶A"), 2);
}

TEST_F(StoreTest, FindsFoldersWithoutRegardToLetterCase) {
    ArchiveStore& store = Open();
    const std::int32_t id = store.CreateFolders(L"¶Öffentlich").value();
    EXPECT_EQ(store.LookupFolder(L"¶öFFENTLICH"), id);
    EXPECT_EQ(store.CreateFolders(L"¶ÖFFENTLICH"), id);
    EXPECT_EQ(store.FindFolder(id)->name, L"Öffentlich");
}

TEST_F(StoreTest, TakesOnlyPathsWhoseEveryLevelFollowsASeparator) {
    ArchiveStore& store = Open();
    store.CreateFolders(L"¶A¶B");
    for (const wchar_t* path : {L"", L"¶", L"A", L"A¶B", L"¶A¶", L"¶A¶¶B", L"/A/B", L"¶A¶B¶C"}) {
        EXPECT_EQ(store.LookupFolder(path), 0) << Utf8FromText(path);
    }
    for (const wchar_t* path : {L"", L"¶", L"A", L"¶A¶", L"¶A¶¶B"}) {
        EXPECT_EQ(store.CreateFolders(path), std::nullopt) << Utf8FromText(path);
    }
    EXPECT_EQ(store.FolderCount(), 2U);
}

TEST_F(StoreTest, RefusesALevelTooLongForAFileNameBeforeCreatingAny) {
    ArchiveStore& store = Open();
    EXPECT_EQ(store.CreateFolders(L"¶A¶" + std::wstring(256, L'x')), std::nullopt);
    EXPECT_EQ(store.FolderCount(), 0U);
}

TEST_F(StoreTest, KeepsOnDiskWhatTheFilesSay) {
    ArchiveStore& store = Open();
    const std::int32_t folder = store.CreateFolders(L"¶Belege").value();
    const std::int32_t id = FileVoucher(store, folder, L"Rechnung «Müller»");
    const std::wstring name = std::to_wstring(id);
    EXPECT_EQ(ReadWholeFile(InFolders(L"Belege\\" + name + L".pdf")), "%PDF-1.4 Beleg");
    const JsonFile file = JsonFile::Read(InFolders(L"Belege\\" + name + L".json"));
    const Json& root = file.Root();
    EXPECT_EQ(file.Integer(root["id"]), id);
    EXPECT_EQ(file.Integer(root["maske"]), 2);
    EXPECT_EQ(file.Text(root["kurzbezeichnung"]), L"Rechnung «Müller»");
    EXPECT_EQ(file.Text(root["felder"]["2"]), L"1001");
    EXPECT_EQ(root["felder"].size(), 2U);
    EXPECT_EQ(file.Text(root["dokument"]), name + L".pdf");
    EXPECT_EQ(file.Text(root["abgelegt"]).size(), 19U);
    EXPECT_EQ(store.PostboxCount(), 0U);
}

TEST_F(StoreTest, ReadsEverythingAgainAtTheNextStart) {
    const std::int32_t folder = Open().CreateFolders(L"¶Bücher/Übersicht¶Q. 1.").value();
    const std::int32_t id = FileVoucher(*store_, folder, std::wstring(L"mit\0Null", 8));
    const ArchiveStore& store = Open();
    EXPECT_THAT(store.Warnings(), IsEmpty());
    EXPECT_EQ(store.LookupFolder(L"¶Bücher/Übersicht¶Q. 1."), folder);
    ASSERT_NE(store.FindEntry(id), nullptr);
    EXPECT_EQ(store.FindEntry(id)->shortName, std::wstring(L"mit\0Null", 8));
    EXPECT_EQ(store.FindEntry(id)->fields.at(1), L"BC-1");
    EXPECT_EQ(store.FindEntry(id)->folder, folder);
    EXPECT_THAT(store.EntriesOfMask(2), ElementsAre(id));
    EXPECT_EQ(store.TreePath(id, L"Archiv", L"/").substr(0, 32), L"Archiv/Bücher/Übersicht/Q. 1./mi");
}

TEST_F(StoreTest, UpdatesAnEntryAndItsMask) {
    ArchiveStore& store = Open();
    const std::int32_t folder = store.CreateFolders(L"¶A").value();
    const std::int32_t id = FileVoucher(store, folder, L"alt");
    Entry entry = *store.FindEntry(id);
    entry.shortName = L"neu";
    entry.mask = 4;
    entry.fields[13] = L"Zürich";
    store.Update(entry);
    EXPECT_THAT(store.EntriesOfMask(2), IsEmpty());
    Open();
    EXPECT_THAT(store.EntriesOfMask(4), ElementsAre(id));
    EXPECT_EQ(store.FindEntry(id)->shortName, L"neu");
    EXPECT_EQ(store.FindEntry(id)->fields.at(13), L"Zürich");
}

TEST_F(StoreTest, MovesAnEntryWithItsDocument) {
    ArchiveStore& store = Open();
    const std::int32_t from = store.CreateFolders(L"¶von").value();
    const std::int32_t to = store.CreateFolders(L"¶nach").value();
    const std::int32_t id = FileVoucher(store, from, L"Beleg");
    store.Move(id, to);
    EXPECT_TRUE(store.FindFolder(from)->entries.empty());
    EXPECT_THAT(store.FindFolder(to)->entries, ElementsAre(id));
    EXPECT_EQ(ListDirectory(InFolders(L"von")).size(), 1U);
    EXPECT_EQ(ListDirectory(InFolders(L"nach")).size(), 3U);
    Open();
    EXPECT_EQ(store.FindEntry(id)->folder, to);
    EXPECT_TRUE(IsFile(store.DocumentPath(*store.FindEntry(id))));
}

TEST_F(StoreTest, RemovesAnEntryWithItsDocument) {
    ArchiveStore& store = Open();
    const std::int32_t folder = store.CreateFolders(L"¶A").value();
    const std::int32_t id = FileVoucher(store, folder, L"Beleg");
    store.RemoveEntry(id);
    EXPECT_EQ(store.FindEntry(id), nullptr);
    EXPECT_THAT(store.EntriesOfMask(2), IsEmpty());
    EXPECT_EQ(ListDirectory(InFolders(L"A")).size(), 1U);
}

TEST_F(StoreTest, RemovesOnlyEmptyFolders) {
    ArchiveStore& store = Open();
    const std::int32_t inner = store.CreateFolders(L"¶A¶B").value();
    const std::int32_t outer = store.LookupFolder(L"¶A");
    const std::int32_t id = FileVoucher(store, inner, L"Beleg");
    EXPECT_FALSE(store.RemoveFolder(inner));
    EXPECT_FALSE(store.RemoveFolder(outer));
    store.RemoveEntry(id);
    EXPECT_TRUE(store.RemoveFolder(inner));
    EXPECT_TRUE(store.RemoveFolder(outer));
    EXPECT_FALSE(IsDirectory(InFolders(L"A")));
    EXPECT_EQ(store.LookupFolder(L"¶A"), 0);
}

TEST_F(StoreTest, NeverGivesAnIdTwice) {
    std::int32_t last = 0;
    {
        ArchiveStore& store = Open();
        const std::int32_t folder = store.CreateFolders(L"¶A").value();
        last = FileVoucher(store, folder, L"letzter");
        store.RemoveEntry(last);
        Close();
    }
    Open();
    EXPECT_GT(FileVoucher(*store_, store_->LookupFolder(L"¶A"), L"neu"), last);
    Close();
    // Even a lost counter cannot give away the number of something that still exists.
    RemoveFile(StorePath() + L"\\zaehler.json");
    ArchiveStore& store = Open();
    const std::int32_t highest = store.EntriesOfMask(2).back();
    EXPECT_GT(FileVoucher(store, store.LookupFolder(L"¶A"), L"noch einer"), highest);
}

TEST_F(StoreTest, CleansUpAfterAnInterruptedProcess) {
    const std::int32_t kept = FileBeforehand(L"bleibt");
    const std::wstring stray = InFolders(L"A\\" + std::to_wstring(kept + 1) + L".pdf");
    const std::wstring foreign = InFolders(L"A\\Notizen.txt");
    const std::wstring year = InFolders(L"A\\20260101.pdf");
    const std::vector<std::wstring> leftovers{InFolders(L"A\\99.json.tmp"), InFolders(L"halb.tmp"),
                                              StorePath() + L"\\zaehler.json.tmp",
                                              StorePath() + L"\\Temp\\halb"};
    for (const std::wstring& path : leftovers) {
        WriteFileAtomically(path, "{\"id\":", path + L"x");
    }
    for (const std::wstring& path : {stray, foreign, year}) {
        WriteFileAtomically(path, "%PDF");
    }
    // The counter says that the stray document's number was given out.
    WriteFileAtomically(StorePath() + L"\\zaehler.json", "{\"naechste\": " + std::to_string(kept + 64) + "}");
    const ArchiveStore& store = Open();
    EXPECT_THAT(store.Warnings(), IsEmpty());
    EXPECT_EQ(store.EntryCount(), 1U);
    for (const std::wstring& path : leftovers) {
        EXPECT_FALSE(IsFile(path)) << Utf8FromText(path);
    }
    EXPECT_FALSE(IsFile(stray));
    EXPECT_TRUE(IsFile(foreign)) << "files of other people are theirs";
    EXPECT_TRUE(IsFile(year)) << "this number was never given out";
    EXPECT_TRUE(IsFile(store.DocumentPath(*store.FindEntry(kept))));
}

TEST_F(StoreTest, PassesOverABrokenEntryAndKeepsItsNumberAndDocument) {
    const std::int32_t id = FileBeforehand(L"Beleg");
    const std::wstring path = InFolders(L"A\\" + std::to_wstring(id) + L".json");
    WriteFileAtomically(path, "{\"id\": 3,\n kaputt");
    RemoveFile(StorePath() + L"\\zaehler.json");
    ArchiveStore& store = Open();
    ASSERT_EQ(store.Warnings().size(), 1U);
    EXPECT_EQ(store.Warnings()[0],
              path + L", Zeile 2, Spalte 2: Das ist kein gültiges JSON. Der Eintrag wird übergangen.");
    EXPECT_EQ(store.EntryCount(), 0U);
    EXPECT_TRUE(IsFile(InFolders(L"A\\" + std::to_wstring(id) + L".pdf")));
    EXPECT_GT(FileVoucher(store, store.LookupFolder(L"¶A"), L"neu"), id);
}

TEST_F(StoreTest, PassesOverAnEntryWhoseNumberIsNotItsFileName) {
    const std::int32_t id = FileBeforehand(L"Beleg");
    const std::string content = ReadWholeFile(InFolders(L"A\\" + std::to_wstring(id) + L".json"));
    WriteFileAtomically(InFolders(L"A\\500.json"), content);
    const ArchiveStore& store = Open();
    ASSERT_EQ(store.Warnings().size(), 1U);
    EXPECT_NE(store.Warnings()[0].find(L"Die Nummer passt nicht zum Dateinamen."), std::wstring::npos);
    EXPECT_EQ(store.EntryCount(), 1U);
}

TEST_F(StoreTest, AdoptsDirectoriesThatAPersonMadeRenamedOrCopied) {
    const std::int32_t original = Open().CreateFolders(L"¶Original").value();
    const std::int32_t renamed = store_->CreateFolders(L"¶Vorher").value();
    Close();
    CreateDirectories(InFolders(L"Von Hand%3F\\Innen"));
    RenameFile(InFolders(L"Vorher"), InFolders(L"Nachher"));
    CreateDirectories(InFolders(L"Zweitschrift"));
    CopyFileDurably(InFolders(L"Original\\ordner.json"), InFolders(L"Zweitschrift\\ordner.json"));

    const ArchiveStore& store = Open();
    EXPECT_GT(store.LookupFolder(L"¶Von Hand?¶Innen"), renamed);
    EXPECT_EQ(store.LookupFolder(L"¶Nachher"), renamed);
    EXPECT_EQ(store.LookupFolder(L"¶Vorher"), 0);
    EXPECT_EQ(store.LookupFolder(L"¶Original"), original);
    EXPECT_GT(store.LookupFolder(L"¶Zweitschrift"), renamed);
    EXPECT_EQ(store.Warnings().size(), 1U) << "only the number that stood twice is worth a word";
    const std::int32_t adopted = store.LookupFolder(L"¶Von Hand?¶Innen");
    Open();
    EXPECT_EQ(store.LookupFolder(L"¶Von Hand?¶Innen"), adopted);
}

TEST_F(StoreTest, IsOpenedByOneProcessAtATime) {
    Open();
    EXPECT_EQ(FailureOf([&] { const ArchiveStore second(StorePath(), 50); }),
              L"Das Archiv ist schon geöffnet: " + StorePath());
    Close();
    EXPECT_EQ(FailureOf([&] { const ArchiveStore second(StorePath(), 50); }), L"");
}

TEST_F(StoreTest, SaysWhereAnArchiveIsMissing) {
    EXPECT_TRUE(FailureOf([&] {
                    const ArchiveStore none(directory_ / L"leer");
                }).starts_with(L"Hier ist kein Archiv: "));
}

TEST_F(StoreTest, KeepsThePostboxAsItWasWhenFilingFails) {
    ArchiveStore& store = Open();
    const std::int32_t folder = store.CreateFolders(L"¶A").value();
    const PostboxDocument document = store.AddToPostbox(document_, L"Müller/KAN");
    EXPECT_EQ(store.PostboxCount(), 1U);
    EXPECT_TRUE(IsFile(StorePath() + L"\\Postkorb\\Müller%2FKAN\\" + std::to_wstring(document.id) + L".pdf"));
    // A directory where the entry's file would have to be.
    CreateDirectories(InFolders(L"A\\" + std::to_wstring(document.id) + L".json"));
    EXPECT_NE(FailureOf([&] { store.File(Voucher(folder, L"x"), document); }), L"");
    EXPECT_TRUE(IsFile(document.path));
    EXPECT_EQ(store.EntryCount(), 0U);
    EXPECT_EQ(store.PostboxCount(), 1U);
    RemoveDirectoryW(InFolders(L"A\\" + std::to_wstring(document.id) + L".json").c_str());
    EXPECT_EQ(store.File(Voucher(folder, L"x"), document).id, document.id);
    EXPECT_EQ(store.PostboxCount(), 0U);
}

TEST_F(StoreTest, KeepsADocumentThatLooksLikeOneOfItsOwnFilesApart) {
    for (const wchar_t* name : {L"Daten.json", L"Rest.TMP", L"ohne"}) {
        document_ = directory_.Write(name, "Inhalt");
        ArchiveStore& store = Open();
        const std::int32_t id = FileVoucher(store, store.CreateFolders(L"¶A").value(), name);
        Open();
        ASSERT_NE(store.FindEntry(id), nullptr) << Utf8FromText(name);
        EXPECT_EQ(ReadWholeFile(store.DocumentPath(*store.FindEntry(id))), "Inhalt") << Utf8FromText(name);
        EXPECT_THAT(store.Warnings(), IsEmpty());
    }
}

TEST_F(StoreTest, TellsAboutEveryChange) {
    ArchiveStore& store = Open();
    std::vector<ArchiveStore::Change> changes;
    store.SetListener(
        [&](ArchiveStore::Change change, std::int32_t, std::int32_t) { changes.push_back(change); });
    const std::int32_t folder = store.CreateFolders(L"¶A").value();
    const std::int32_t id = FileVoucher(store, folder, L"x");
    store.Update(*store.FindEntry(id));
    store.RemoveEntry(id);
    store.RemoveFolder(folder);
    EXPECT_THAT(changes, ElementsAre(ArchiveStore::Change::FolderAdded, ArchiveStore::Change::EntryAdded,
                                     ArchiveStore::Change::EntryChanged, ArchiveStore::Change::EntryRemoved,
                                     ArchiveStore::Change::FolderRemoved));
}

}  // namespace

}  // namespace kandora::simulators
