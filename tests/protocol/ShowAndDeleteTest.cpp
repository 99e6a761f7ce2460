// How a document is shown in the archive's own window, and how an entry is deleted.

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

class Showing : public OpenArchiveTest {
protected:
    Showing() {
        hits = {321};
        archive->Answers(L"getobjAttrib", L"ID");
    }
    /// What follows the lookup, whose last line is the second reading of the hit's field.
    Lines AfterLookup() {
        Lines said = talk.Take();
        return {said.begin() + 12, said.end()};
    }
};

TEST_F(Showing, BringsTheArchiveForwardNavigatesAndBringsItForwardAgain) {
    Client().ShowDokument(L"ID");
    Expect(Probed(
        {"archive.PrepareObjectEx(I2 0, I2 0, I4& 2)", "archive.DoInvisibleSearch()",
         "archive.GetEntryId(I4 268435456) -> I4 321", "archive.PrepareObjectEx(I4& 321, I2 0, I4& 2)",
         R"(archive.getobjAttrib(I2& 15) -> BSTR "ID")", R"(archive.getobjAttrib(I2& 15) -> BSTR "ID")",
         "archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))", "archive.GotoId(I4& 321) -> I4 1",
         "archive.BringToFront()"}));
}

TEST_F(Showing, TellsTheUserThatThereIsNoSuchDocument) {
    hits.clear();
    Client().ShowDokument(L"ID");
    const Lines said = talk.Take();
    EXPECT_EQ(said.back(), R"(box "Das Dokument konnte nicht im Archiv gefunden werden" 64)");
    for (const std::string& line : said) {
        EXPECT_FALSE(line.starts_with("archive.BringToFront") || line.starts_with("archive.EloWindow") ||
                     line.starts_with("archive.GotoId"))
            << "the archive's window is left alone: " << line;
    }
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_F(Showing, FailsWhenTheArchiveDoesNotNavigate) {
    for (const int answer : {0, 2, -1}) {
        archive->Next(L"GotoId", answer);
        EXPECT_EQ(Failing([&] { Client().ShowDokument(L"ID"); }),
                  Shown(5, "Dokument nicht gefunden: id=321", "ELODMS.ShowDokument"));
        ExpectLines(AfterLookup(), Probed({"archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))",
                                           "archive.GotoId(I4& 321) -> I4 " + std::to_string(answer)}));
    }
}

TEST_F(Showing, NamesTheIdThatWasAskedFor) {
    archive->Next(L"GotoId", [](Call& call) {
        call.Store(0, Variant(std::int32_t{9}));
        return Variant(std::int32_t{0});
    });
    EXPECT_EQ(Failing([&] { Client().ShowDokument(L"ID"); }),
              Shown(5, "Dokument nicht gefunden: id=321", "ELODMS.ShowDokument"));
    talk.Take();
}

TEST_F(Showing, PassesOnWhateverFailsOnTheWay) {
    for (const wchar_t* const member : {L"BringToFront", L"EloWindow", L"GotoId"}) {
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Client().ShowDokument(L"ID"); }),
                  Shown(1000, "gesperrt", "ELODMS.ShowDokument"));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1000 \"gesperrt\""));
    }
    archive->Next(L"DoInvisibleSearch", Failure::Exception(1000, L"gesperrt"));
    EXPECT_EQ(Failing([&] { Client().ShowDokument(L"ID"); }),
              Shown(1000, "gesperrt", "ELODMS.FindSageDocumentByID <- ELODMS.ShowDokument"));
    talk.Take();
}

class DeletingAnEntry : public OpenArchiveTest {};

TEST_F(DeletingAnEntry, IsOneCall) {
    Client().LoescheDokument(321);
    Expect(Probed({"archive.DeleteObj(I4& 321) -> I4 1"}));
}

TEST_F(DeletingAnEntry, FailsWithTheArchivesAnswer) {
    for (const int answer : {-5, 0, 2}) {
        const std::string value = std::to_string(answer);
        archive->Next(L"DeleteObj", answer);
        EXPECT_EQ(Failing([&] { Client().LoescheDokument(321); }),
                  Shown(5, "Konnte Dokument nicht löschen: " + value, "ELODMS.LoescheDokument"));
        Expect(Probed({"archive.DeleteObj(I4& 321) -> I4 " + value}));
    }
}

TEST_F(DeletingAnEntry, PassesOnAFailure) {
    archive->Next(L"DeleteObj", Failure::Code(E_ACCESSDENIED));
    EXPECT_EQ(Failing([&] { Client().LoescheDokument(321); }),
              Shown(70, Spelled(DescriptionOf(70)), "ELODMS.LoescheDokument"));
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
