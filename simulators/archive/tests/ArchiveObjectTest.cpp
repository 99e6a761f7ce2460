#include <gmock/gmock.h>

#include "interfaces/CodePages.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Files.h"
#include "simulators/common/tests/LateBoundClient.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t firstHit = 0x10000000;

VARIANT Reference(VARTYPE type, void* variable) {
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | type;
    reference.byref = variable;
    return reference;
}

VARIANT Reference(LONG& number) {
    return Reference(VT_I4, &number);
}

VARIANT Reference(SHORT& number) {
    return Reference(VT_I2, &number);
}

VARIANT Reference(BSTR& text) {
    return Reference(VT_BSTR, &text);
}

class ArchiveObjectTest : public ArchiveFixture {
protected:
    /// Creates the folder and answers its id.
    static std::int32_t Folder(const LateBoundClient& client, std::wstring_view path) {
        return client.Call(L"CreateStructure", {Value::Text(path), Value::Short(0)}).Long();
    }

    static std::int32_t Prepare(const LateBoundClient& client, std::int32_t id, std::int16_t type,
                                std::int32_t mask) {
        return client.Call(L"PrepareObjectEx", {Value::Long(id), Value::Short(type), Value::Long(mask)})
            .Long();
    }

    /// Files the sample document as the component does and answers the new id.
    std::int32_t File(const LateBoundClient& client, std::int32_t folder, std::wstring_view shortName,
                      std::int32_t mask = 2) {
        EXPECT_EQ(Prepare(client, 0, 254, mask), success);
        EXPECT_EQ(client.Put(L"ObjMaskNo", Value::Long(mask)).code, S_OK);
        EXPECT_EQ(client.Put(L"ObjShort", Value::Text(shortName)).code, S_OK);
        EXPECT_EQ(client.Call(L"setobjAttrib", {Value::Short(1), Value::Text(L"BC-1")}).Long(), success);
        EXPECT_EQ(client.Call(L"AddPostboxFile", {Value::Text(document_)}).Long(), success);
        EXPECT_EQ(client.Call(L"MoveToArchive", {Value::Text(L"#" + std::to_wstring(folder))}).Long(),
                  success);
        return client.Call(L"GetEntryId", {Value::Short(-2)}).Long();
    }

    static std::vector<std::int32_t> Hits(const LateBoundClient& client) {
        std::vector<std::int32_t> ids;
        for (std::int32_t hit = 0;; ++hit) {
            const std::int32_t id = client.Call(L"GetEntryId", {Value::Long(firstHit + hit)}).Long();
            if (id < 2) {
                return ids;
            }
            ids.push_back(id);
        }
    }

    LateBoundClient client_ = LoggedOnClient();
};

// --- Session ---

TEST_F(ArchiveObjectTest, AnswersNegativeNumbersBeforeLogin) {
    const LateBoundClient stranger = NewClient();
    EXPECT_EQ(stranger.Call(L"GetEntryId", {Value::Short(-1)}).Long(), -1);
    EXPECT_LT(stranger.Call(L"LookupIndex", {Value::Text(L"¶A")}).Long(), 0);
    EXPECT_LT(stranger.Call(L"CreateStructure", {Value::Text(L"¶A"), Value::Short(0)}).Long(), 0);
    EXPECT_LT(stranger.Call(L"SelectView", {Value::Short(3)}).Long(), 0);
    EXPECT_LT(Prepare(stranger, 0, 254, 2), 0);
    EXPECT_LT(stranger.Call(L"DeleteObj", {Value::Long(2)}).Long(), 0);
    EXPECT_LT(stranger.Call(L"clickon", {Value::Text(L"mmrefresh")}).Long(), 0);
    EXPECT_EQ(stranger.Put(L"ObjShort", Value::Text(L"x")).code, DISP_E_EXCEPTION);
    EXPECT_EQ(store_.FolderCount(), 0U);
}

TEST_F(ArchiveObjectTest, LetsTheWindowBeMovedWithoutASession) {
    const LateBoundClient stranger = NewClient();
    EXPECT_EQ(stranger.Call(L"EloWindow", {Value::Text(L"MINIMIZE")}).Long(), success);
    EXPECT_EQ(stranger.Call(L"EloWindow", {Value::Text(L"NORMAL")}).Long(), success);
    EXPECT_EQ(stranger.Call(L"BringToFront").Long(), success);
    EXPECT_LT(stranger.Call(L"EloWindow", {Value::Text(L"GROSS")}).Long(), 0);
    EXPECT_THAT(view_.log, ElementsAre(L"Minimize", L"Restore", L"BringToFront"));
}

TEST_F(ArchiveObjectTest, RefusesWrongCredentialsAndArchives) {
    const LateBoundClient stranger = NewClient();
    const auto login = [&](const wchar_t* name, const wchar_t* password, const wchar_t* archive) {
        return stranger.Call(L"Login", {Value::Text(name), Value::Text(password), Value::Text(archive)})
            .Long();
    };
    EXPECT_EQ(login(L"Kandora", L"Geheim", L"Muster-Archiv"), ArchiveObject::WrongCredentials);
    EXPECT_EQ(login(L"Niemand", L"geheim", L"Muster-Archiv"), ArchiveObject::WrongCredentials);
    EXPECT_EQ(login(L"", L"", L"Muster-Archiv"), ArchiveObject::WrongCredentials);
    EXPECT_EQ(login(L"Kandora", L"geheim", L"Anderes"), ArchiveObject::UnknownArchive);
    EXPECT_EQ(stranger.Call(L"GetEntryId", {Value::Short(-1)}).Long(), -1);
    EXPECT_EQ(login(L"KANDORA", L"geheim", L"muster-archiv"), 0);
    EXPECT_GE(stranger.Call(L"GetEntryId", {Value::Short(-1)}).Long(), 0);
}

TEST_F(ArchiveObjectTest, EndsTheSessionAtLogout) {
    EXPECT_EQ(program_.sessions, 1U);
    EXPECT_EQ(client_.Call(L"Login", {Value::Text(L"LOGOUT"), Value::Text(L""), Value::Text(L"")}).Long(), 0);
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-1)}).Long(), -1);
    EXPECT_EQ(program_.sessions, 0U);
}

TEST_F(ArchiveObjectTest, EndsTheSessionWithTheObject) {
    {
        const LateBoundClient second = LoggedOnClient();
        EXPECT_EQ(program_.sessions, 2U);
    }
    EXPECT_EQ(program_.sessions, 1U);
}

TEST_F(ArchiveObjectTest, TakesLoginArgumentsByReference) {
    const LateBoundClient second = NewClient();
    BSTR name = SysAllocString(L"Kandora");
    BSTR password = SysAllocString(L"geheim");
    BSTR archive = SysAllocString(L"Muster-Archiv");
    EXPECT_EQ(second
                  .Invoke(L"login", DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                          {Reference(name), Reference(password), Reference(archive)})
                  .Long(),
              0);
    SysFreeString(name);
    SysFreeString(password);
    SysFreeString(archive);
}

// --- Folders and masks ---

TEST_F(ArchiveObjectTest, CreatesAndFindsFoldersInArchiveNotation) {
    EXPECT_EQ(client_.Call(L"LookupDelimiter").Text(), L"¶");
    const CallResult created =
        client_.Call(L"CreateStructure", {Value::Text(L"¶Müller¶Bücher"), Value::Short(0)});
    EXPECT_EQ(created.value.Type(), VT_BSTR);
    BSTR path = SysAllocString(L"¶Müller¶Bücher");
    const CallResult found =
        client_.Invoke(L"LookupIndex", DISPATCH_METHOD | DISPATCH_PROPERTYGET, {Reference(path)});
    SysFreeString(path);
    EXPECT_EQ(found.value.Type(), VT_I4);
    EXPECT_EQ(found.Long(), created.Long());
    EXPECT_EQ(client_.Call(L"LookupIndex", {Value::Text(L"¶Müller¶Fehlt")}).Long(), 0);
    EXPECT_LT(client_.Call(L"CreateStructure", {Value::Text(L"ohne Trennzeichen"), Value::Short(0)}).Long(),
              0);
}

TEST_F(ArchiveObjectTest, KnowsItsMasks) {
    LONG number = 2;
    EXPECT_GE(client_.Invoke(L"ReadObjMask", DISPATCH_METHOD, {Reference(number)}).Long(), 0);
    EXPECT_LT(client_.Call(L"ReadObjMask", {Value::Long(0)}).Long(), 0);
    EXPECT_LT(client_.Call(L"ReadObjMask", {Value::Long(99)}).Long(), 0);
}

// --- Filing ---

TEST_F(ArchiveObjectTest, FilesAnEntryWithItsFields) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    const std::int32_t id = File(client_, folder, L"Rechnung Müller");
    const Entry* entry = store_.FindEntry(id);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->folder, folder);
    EXPECT_EQ(entry->mask, 2);
    EXPECT_EQ(entry->shortName, L"Rechnung Müller");
    EXPECT_EQ(entry->fields.size(), 1U);
    EXPECT_EQ(ReadWholeFile(store_.DocumentPath(*entry)), "%PDF-1.4 Beleg");
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-1)}).Long(), id);
    EXPECT_TRUE(IsFile(document_)) << "the client's file stays where it is";
}

TEST_F(ArchiveObjectTest, FilesStepByStepAndSaysWhichOneIsMissing) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    const Value target = Value::Text(L"#" + std::to_wstring(folder));
    EXPECT_EQ(client_.Call(L"AddPostboxFile", {Value::Text(document_)}).Long(),
              ArchiveObject::NoCurrentObject);
    EXPECT_EQ(client_.Call(L"MoveToArchive", {target}).Long(), ArchiveObject::NoCurrentObject);
    EXPECT_EQ(Prepare(client_, 0, 254, 2), success);
    EXPECT_EQ(client_.Call(L"MoveToArchive", {target}).Long(), ArchiveObject::NoPostboxFile);
    EXPECT_EQ(client_.Call(L"AddPostboxFile", {Value::Text((directory_ / L"weg.pdf").wstring())}).Long(),
              ArchiveObject::FileNotFound);
    EXPECT_EQ(client_.Call(L"AddPostboxFile", {Value::Text(document_)}).Long(), success);
    EXPECT_EQ(client_.Call(L"MoveToArchive", {Value::Text(L"#99999")}).Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(client_.Call(L"MoveToArchive", {Value::Text(L"#1")}).Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(client_.Call(L"MoveToArchive", {Value::Text(std::to_wstring(folder))}).Long(),
              ArchiveObject::InvalidArgument);
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-2)}).Long(), 0);
    EXPECT_EQ(store_.PostboxCount(), 1U) << "the document waits";
    EXPECT_EQ(client_.Call(L"MoveToArchive", {target}).Long(), success);
    EXPECT_EQ(store_.PostboxCount(), 0U);
}

TEST_F(ArchiveObjectTest, TakesTheLastFileWhenSeveralAreHandedIn) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    Prepare(client_, 0, 254, 2);
    client_.Call(L"AddPostboxFile", {Value::Text(document_)});
    client_.Call(L"AddPostboxFile", {Value::Text(directory_.Write(L"zwei.txt", "zweite").wstring())});
    client_.Call(L"MoveToArchive", {Value::Text(L"#" + std::to_wstring(folder))});
    const std::int32_t id = client_.Call(L"GetEntryId", {Value::Short(-2)}).Long();
    EXPECT_EQ(ReadWholeFile(store_.DocumentPath(*store_.FindEntry(id))), "zweite");
    EXPECT_EQ(store_.PostboxCount(), 0U);
}

TEST_F(ArchiveObjectTest, RefusesUnknownMasksAndFields) {
    EXPECT_EQ(Prepare(client_, 0, 254, 99), ArchiveObject::UnknownMask);
    EXPECT_EQ(Prepare(client_, 0, 0, 99), ArchiveObject::UnknownMask);
    EXPECT_EQ(Prepare(client_, 0, 0, 0), 0);
    EXPECT_EQ(Prepare(client_, 0, 7, 2), ArchiveObject::NotSupported);
    EXPECT_EQ(client_.Call(L"setobjAttrib", {Value::Short(1), Value::Text(L"x")}).Long(),
              ArchiveObject::NoCurrentObject);
    EXPECT_EQ(Prepare(client_, 0, 254, 2), success);
    EXPECT_EQ(client_.Call(L"setobjAttrib", {Value::Short(8), Value::Text(L"x")}).Long(),
              ArchiveObject::UnknownField);
    EXPECT_EQ(client_.Call(L"setobjAttrib", {Value::Short(0), Value::Text(L"x")}).Long(),
              ArchiveObject::UnknownField);
    const CallResult mask = client_.Put(L"ObjMaskNo", Value::Long(99));
    EXPECT_EQ(mask.code, DISP_E_EXCEPTION);
    EXPECT_EQ(mask.description, L"Die Ablagemaske 99 gibt es nicht.");
}

TEST_F(ArchiveObjectTest, DropsTheFieldsThatAnotherMaskLacks) {
    Prepare(client_, 0, 254, 4);
    client_.Call(L"setobjAttrib", {Value::Short(2), Value::Text(L"1001")});
    client_.Call(L"setobjAttrib", {Value::Short(13), Value::Text(L"Zürich")});
    client_.Put(L"ObjMaskNo", Value::Long(2));
    EXPECT_EQ(client_.Get(L"ObjMaskNo").Long(), 2);
    EXPECT_EQ(client_.Call(L"getobjAttrib", {Value::Short(2)}).Text(), L"1001");
    EXPECT_EQ(client_.Call(L"getobjAttrib", {Value::Short(13)}).Text(), L"");
}

// --- Loading and changing ---

TEST_F(ArchiveObjectTest, LoadsAnEntryWhateverMaskIsNamed) {
    const std::int32_t folder = Folder(client_, L"¶Debi");
    const std::int32_t id = File(client_, folder, L"Debitor", 4);
    for (const std::int16_t type : {std::int16_t{0}, std::int16_t{254}}) {
        for (const std::int32_t mask : {0, 2, 4}) {
            EXPECT_EQ(Prepare(client_, id, type, mask), success);
            EXPECT_EQ(client_.Get(L"ObjMaskNo").Long(), 4);
        }
    }
    EXPECT_EQ(client_.Get(L"ObjShort").Text(), L"Debitor");
    EXPECT_EQ(client_.Get(L"ObjMainParent").Long(), folder);
    SHORT line = 1;
    EXPECT_EQ(
        client_.Invoke(L"GetObjAttrib", DISPATCH_METHOD | DISPATCH_PROPERTYGET, {Reference(line)}).Text(),
        L"BC-1");
    EXPECT_EQ(client_.Call(L"getobjAttrib", {Value::Short(7)}).Text(), L"");
}

TEST_F(ArchiveObjectTest, FindsNothingUnderAnUnknownId) {
    EXPECT_EQ(Prepare(client_, 4711, 0, 0), 0);
    EXPECT_EQ(Prepare(client_, 1, 0, 0), 0) << "the archive itself is no object";
    EXPECT_EQ(Prepare(client_, -5, 0, 0), 0);
    EXPECT_EQ(client_.Call(L"getobjAttrib", {Value::Short(1)}).Long(), ArchiveObject::NoCurrentObject);
    EXPECT_EQ(client_.Get(L"ObjShort").code, DISP_E_EXCEPTION);
}

TEST_F(ArchiveObjectTest, WritesALoadedEntryBack) {
    const std::int32_t id = File(client_, Folder(client_, L"¶Belege"), L"alt");
    EXPECT_EQ(Prepare(client_, id, 254, 2), success);
    client_.Put(L"ObjShort", Value::Text(L"neu"));
    client_.Call(L"setobjAttrib", {Value::Short(4), Value::Text(L"Erledigt")});
    EXPECT_EQ(store_.FindEntry(id)->shortName, L"alt") << "nothing changes before UpdateObject";
    EXPECT_EQ(client_.Call(L"UpdateObject").Long(), 3);
    EXPECT_EQ(store_.FindEntry(id)->shortName, L"neu");
    EXPECT_EQ(store_.FindEntry(id)->fields.at(4), L"Erledigt");
    EXPECT_EQ(store_.FindEntry(id)->fields.at(1), L"BC-1");
}

TEST_F(ArchiveObjectTest, UpdatesOnlyWhatIsLoadedAndStillThere) {
    EXPECT_LT(client_.Call(L"UpdateObject").Long(), 0);
    Prepare(client_, 0, 254, 2);
    EXPECT_LT(client_.Call(L"UpdateObject").Long(), 0);
    const std::int32_t id = File(client_, Folder(client_, L"¶Belege"), L"x");
    const LateBoundClient other = LoggedOnClient();
    EXPECT_EQ(other.Call(L"DeleteObj", {Value::Long(id)}).Long(), success);
    EXPECT_EQ(client_.Call(L"UpdateObject").Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(store_.FindEntry(id), nullptr);
}

TEST_F(ArchiveObjectTest, DeletesEntriesAndEmptyFolders) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    LONG id = File(client_, folder, L"x");
    EXPECT_EQ(client_.Call(L"DeleteObj", {Value::Long(folder)}).Long(), ArchiveObject::FolderNotEmpty);
    EXPECT_EQ(client_.Invoke(L"DeleteObj", DISPATCH_METHOD | DISPATCH_PROPERTYGET, {Reference(id)}).Long(),
              success);
    EXPECT_EQ(client_.Call(L"DeleteObj", {Value::Long(id)}).Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(client_.Call(L"DeleteObj", {Value::Long(folder)}).Long(), success);
    EXPECT_EQ(client_.Call(L"DeleteObj", {Value::Long(1)}).Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(store_.FolderCount(), 0U);
}

TEST_F(ArchiveObjectTest, MovesAnEntryByItsReference) {
    const std::int32_t from = Folder(client_, L"¶von");
    const std::int32_t to = Folder(client_, L"¶nach");
    const std::int32_t id = File(client_, from, L"x");
    Prepare(client_, id, 0, 2);
    const auto insert = [&](std::int32_t source, std::int32_t target, std::int16_t mode) {
        return client_
            .Call(L"InsertRef",
                  {Value::Long(id), Value::Long(source), Value::Long(target), Value::Short(mode)})
            .Long();
    };
    EXPECT_EQ(insert(to, from, 1), ArchiveObject::UnknownObject);
    EXPECT_EQ(insert(from, 4711, 1), ArchiveObject::UnknownObject);
    EXPECT_EQ(insert(from, to, 0), ArchiveObject::NotSupported);
    EXPECT_EQ(insert(from, to, 1), 0);
    EXPECT_EQ(store_.FindEntry(id)->folder, to);
    EXPECT_EQ(client_.Get(L"ObjMainParent").Long(), to);
}

// --- Searching ---

TEST_F(ArchiveObjectTest, ListsAllEntriesOfTheMask) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    const std::int32_t first = File(client_, folder, L"1");
    File(client_, folder, L"andere Maske", 4);
    const std::int32_t second = File(client_, folder, L"2");
    EXPECT_EQ(Prepare(client_, 0, 0, 2), success);
    EXPECT_EQ(client_.Call(L"DoInvisibleSearch").Long(), 2);
    EXPECT_THAT(Hits(client_), ElementsAre(first, second));
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Long(firstHit + 10000)}).Long(), 0);
    EXPECT_EQ(Prepare(client_, first, 0, 0), success) << "loading a hit keeps the list";
    EXPECT_THAT(Hits(client_), ElementsAre(first, second));
    EXPECT_EQ(Prepare(client_, 0, 0, 3), success);
    EXPECT_EQ(client_.Call(L"DoInvisibleSearch").Long(), 0);
    EXPECT_THAT(Hits(client_), IsEmpty());
}

TEST_F(ArchiveObjectTest, NarrowsASearchByFieldsThatWereSet) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    File(client_, folder, L"1");
    const std::int32_t wanted = File(client_, folder, L"2");
    client_.Call(L"setobjAttrib", {Value::Short(2), Value::Text(L"1002")});
    client_.Call(L"UpdateObject");
    Prepare(client_, 0, 0, 2);
    client_.Call(L"setobjAttrib", {Value::Short(2), Value::Text(L"1002")});
    client_.Call(L"setobjAttrib", {Value::Short(3), Value::Text(L"")});
    EXPECT_EQ(client_.Call(L"DoInvisibleSearch").Long(), 1);
    EXPECT_THAT(Hits(client_), ElementsAre(wanted));
}

TEST_F(ArchiveObjectTest, SearchesOnlyAfterASearchWasPrepared) {
    EXPECT_LT(client_.Call(L"DoInvisibleSearch").Long(), 0);
    Prepare(client_, 0, 254, 2);
    EXPECT_LT(client_.Call(L"DoInvisibleSearch").Long(), 0);
}

TEST_F(ArchiveObjectTest, GivesEachClientItsOwnCurrentObjectAndHits) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    const std::int32_t first = File(client_, folder, L"eins");
    const LateBoundClient other = LoggedOnClient();
    const std::int32_t second = File(other, folder, L"zwei");
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-2)}).Long(), first);
    EXPECT_EQ(client_.Get(L"ObjShort").Text(), L"eins");
    EXPECT_EQ(other.Get(L"ObjShort").Text(), L"zwei");
    Prepare(other, 0, 0, 2);
    other.Call(L"DoInvisibleSearch");
    EXPECT_THAT(Hits(other), ElementsAre(first, second));
    EXPECT_THAT(Hits(client_), IsEmpty());
    other.Call(L"Login", {Value::Text(L"LOGOUT"), Value::Text(L""), Value::Text(L"")});
    EXPECT_EQ(client_.Get(L"ObjShort").Text(), L"eins");
}

// --- Showing ---

TEST_F(ArchiveObjectTest, ShowsAndDescribesAnObject) {
    const std::int32_t folder = Folder(client_, L"¶2004¶5¶17");
    const std::int32_t id = File(client_, folder, L"Fall Müller");
    EXPECT_EQ(client_.Call(L"GotoId", {Value::Long(4711)}).Long(), ArchiveObject::UnknownObject);
    EXPECT_EQ(client_.Call(L"GotoId", {Value::Long(id)}).Long(), success);
    EXPECT_THAT(view_.log, ElementsAre(L"Select " + std::to_wstring(id)));
    const auto path = [&](std::int16_t length) {
        return client_.Call(L"GetTreePath", {Value::Short(0), Value::Text(L"¶"), Value::Short(length)})
            .Text();
    };
    EXPECT_EQ(path(1024), L"Muster-Archiv¶2004¶5¶17¶Fall Müller");
    EXPECT_EQ(path(13), L"Muster-Archiv");
    EXPECT_EQ(client_.Call(L"GotoId", {Value::Long(folder)}).Long(), success);
    EXPECT_EQ(path(1024), L"Muster-Archiv¶2004¶5¶17");
}

TEST_F(ArchiveObjectTest, PrintsTheSelectedDocument) {
    const auto print = [&] {
        return client_
            .Call(L"PrintDocument", {Value::Short(0), Value::Text(L""), Value::Text(L""), Value::Short(0),
                                     Value::Short(0), Value::Short(0)})
            .Long();
    };
    EXPECT_LT(print(), 0);
    const std::int32_t id = File(client_, Folder(client_, L"¶Belege"), L"Beleg");
    client_.Call(L"GotoId", {Value::Long(id)});
    EXPECT_EQ(print(), success);
    EXPECT_EQ(view_.log.back(), L"Notice Dokument " + std::to_wstring(id) + L" «Beleg» gedruckt");
    client_.Call(L"DeleteObj", {Value::Long(id)});
    EXPECT_LT(print(), 0);
}

TEST_F(ArchiveObjectTest, CarriesMenuCommandsOut) {
    EXPECT_EQ(client_.Call(L"clickon", {Value::Text(L"mmrefresh")}).Long(), success);
    EXPECT_LT(client_.Call(L"clickon", {Value::Text(L"M:Gibtsnicht")}).Long(), 0);
    EXPECT_THAT(view_.log, ElementsAre(L"Refresh"));
}

TEST_F(ArchiveObjectTest, EndsTheProgramOnlyWhenNobodyElseIsLoggedOn) {
    const LateBoundClient other = LoggedOnClient();
    EXPECT_EQ(client_.Call(L"clickon", {Value::Text(L"M:Beenden")}).Long(), success);
    EXPECT_THAT(view_.log, IsEmpty());
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-1)}).Long(), -1);
    EXPECT_EQ(other.Call(L"clickon", {Value::Text(L"M:Beenden")}).Long(), success);
    EXPECT_THAT(view_.log, ElementsAre(L"Close"));
}

TEST_F(ArchiveObjectTest, AnswersStoreFailuresAsANumber) {
    const std::int32_t folder = Folder(client_, L"¶Belege");
    Prepare(client_, 0, 254, 2);
    client_.Call(L"AddPostboxFile", {Value::Text(document_)});
    RemoveFile(StorePath() + L"\\Postkorb\\KAN\\" + std::to_wstring(folder + 1) + L".pdf");
    EXPECT_EQ(client_.Call(L"MoveToArchive", {Value::Text(L"#" + std::to_wstring(folder))}).Long(),
              ArchiveObject::StoreFailure);
    ASSERT_EQ(view_.log.size(), 1U);
    EXPECT_TRUE(view_.log[0].starts_with(L"Notice Die Datei kann nicht verschoben werden"));
}

// --- Trace ---

TEST_F(ArchiveObjectTest, RecordsEveryCallWithTypesAndAnswer) {
    const std::wstring path = directory_ / L"Protokoll.txt";
    CallTrace trace(path);
    program_.trace = &trace;
    const std::int32_t folder = Folder(client_, L"¶Müller \"AG\"");
    LONG mask = 2;
    client_.Invoke(L"prepareobjectex", DISPATCH_METHOD,
                   {Value::Long(0).Get(), Value::Short(254).Get(), Reference(mask)});
    client_.Put(L"ObjShort", Value::Text(L"Zürich"));
    client_.Get(L"ObjMainParent");
    client_.Call(L"UpdateObject");
    client_.Put(L"ObjMaskNo", Value::Long(99));
    client_.Call(L"DeleteObj", {Value::Text(L"abc")});
    client_.Call(L"Gibtsnicht");
    EXPECT_EQ(TextFromUtf8(ReadWholeFile(path)),
              L"CreateStructure(BSTR \"¶Müller \\\"AG\\\"\", I2 0) -> BSTR \"" + std::to_wstring(folder) +
                  L"\"\r\n"
                  L"PrepareObjectEx(I4 0, I2 254, I4& 2) -> I4 1\r\n"
                  L"ObjShort = BSTR \"Zürich\"\r\n"
                  L"ObjMainParent -> I4 0\r\n"
                  L"UpdateObject() -> I4 -4\r\n"
                  L"ObjMaskNo = I4 99 -> Fehler 0x80020009, 0x800A0005 \"Die Ablagemaske 99 gibt es nicht.\" "
                  L"(ELO.professional)\r\n"
                  L"DeleteObj(BSTR \"abc\") -> Fehler 0x80020005\r\n"
                  L"Gibtsnicht -> Fehler 0x80020006\r\n");
}

}  // namespace

}  // namespace kandora::simulators
