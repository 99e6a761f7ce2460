// How folder paths and masks are checked, and how paths are created. The folders of the document kinds are
// resolved when documents are filed; see there.

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

class Folder : public OpenArchiveTest {
protected:
    /// The answer of a creation, and the path as it stands afterwards.
    std::pair<std::string, std::string> Created(Text path) {
        std::string answer = Spelled(Client().PFadErstellen(path));
        return {std::move(answer), Spelled(path)};
    }
};

TEST_F(Folder, IsLookedUpInTheArchivesNotation) {
    EXPECT_EQ(Client().CheckPFadVorhanden(L"/A/B"), L"");
    Expect(Probed({delimiter, R"(archive.LookupIndex(BSTR& "¶A¶B") -> I4 800)"}));
}

TEST_F(Folder, HasWhateverSeparatorTheArchiveUses) {
    struct Case {
        const wchar_t* separator;
        const wchar_t* path;
        std::string asked;
    };
    for (const Case& row : std::vector<Case>{{L"\\", L"/A/B", "\\A\\B"},
                                             {L"::", L"/A//B/", "::A::::B::"},
                                             {L"/", L"/A/B", "/A/B"},
                                             {L"", L"/A/B", "AB"},
                                             {L"¶", L"Ablage", "Ablage"},
                                             {L"//", L"/A/", "//A//"}}) {
        archive->Answers(L"LookupDelimiter", row.separator);
        Client().CheckPFadVorhanden(row.path);
        Expect(Probed({"archive.LookupDelimiter -> BSTR " + Quoted(row.separator),
                       "archive.LookupIndex(BSTR& \"" + row.asked + "\") -> I4 800"}));
    }
}

TEST_F(Folder, ThatTheArchiveDoesNotKnowIsNamedAsItWasGiven) {
    for (const Variant& answer :
         {Variant(std::int32_t{0}), Variant(std::int32_t{-1}), Variant::Null(), Variant(L"0")}) {
        archive->Next(L"LookupIndex", answer);
        EXPECT_EQ(Client().CheckPFadVorhanden(L"/A/B"),
                  L"Der Pfad '/A/B' ist im Archiv nicht vorhanden\rKorrigieren Sie die Sesam-Einstellungen")
            << Shown(answer);
        Expect(Probed({delimiter, R"(archive.LookupIndex(BSTR& "¶A¶B") -> )" + Shown(answer)}));
    }
}

TEST_F(Folder, PassesOnWhateverFails) {
    for (const wchar_t* const member : {L"LookupDelimiter", L"LookupIndex"}) {
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Client().CheckPFadVorhanden(L"/A"); }),
                  Shown(1000, "gesperrt", "ELODMS.CheckPFadVorhanden"));
    }
    for (const wchar_t* const member : {L"LookupDelimiter", L"CreateStructure"}) {
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Created(L"/A"); }), Shown(1000, "gesperrt", "ELODMS.PFadErstellen"));
    }
    archive->Next(L"ReadObjMask", Failure::Exception(1000, L"gesperrt"));
    EXPECT_EQ(Failing([&] { Client().CheckMaskeVorhanden(1); }),
              Shown(1000, "gesperrt", "ELODMS.CheckMaskeVorhanden"));
    talk.Take();
}

TEST_F(Folder, IsCreatedInTheArchivesNotation) {
    EXPECT_EQ(Created(L"/A/B"), (std::pair<std::string, std::string>("", "/A/B")));
    Expect(Probed({delimiter, R"(archive.CreateStructure(BSTR& "¶A¶B", I2 0) -> BSTR "17")"}));
}

TEST_F(Folder, WithoutALeadingSlashIsTrimmedAndCompleted) {
    EXPECT_EQ(Created(L"  A/B ").second, "/A/B");
    EXPECT_EQ(Created(L" /A/B").second, "//A/B");
    EXPECT_EQ(Created(L"\tA").second, "/\\x09A");
    EXPECT_EQ(Created(L" ").second, "/");
    Expect(Probed({delimiter, R"(archive.CreateStructure(BSTR& "¶A¶B", I2 0) -> BSTR "17")", delimiter,
                   R"(archive.CreateStructure(BSTR& "¶¶A¶B", I2 0) -> BSTR "17")", delimiter,
                   R"(archive.CreateStructure(BSTR& "¶\x09A", I2 0) -> BSTR "17")", delimiter,
                   R"(archive.CreateStructure(BSTR& "¶", I2 0) -> BSTR "17")"}));
}

TEST_F(Folder, WithALeadingSlashKeepsItsBlanks) {
    EXPECT_EQ(Created(L"/ A / B ").second, "/ A / B ");
    Expect(Probed({delimiter, R"(archive.CreateStructure(BSTR& "¶ A ¶ B ", I2 0) -> BSTR "17")"}));
}

TEST_F(Folder, WithoutANameIsNotCreated) {
    EXPECT_EQ(Created(L""), (std::pair<std::string, std::string>(
                                "Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ", "")));
    Expect({});
}

TEST_F(Folder, CannotBeCreatedWhenTheAnswerIsANegativeNumber) {
    struct Case {
        Variant answer;
        std::string number;
    };
    for (const Case& row : std::vector<Case>{
             {Variant(L"-3"), "-3"}, {Variant(std::int32_t{-3}), "-3"}, {Variant(L" -12 "), " -12 "}}) {
        archive->Next(L"CreateStructure", row.answer);
        EXPECT_EQ(Created(L"A"),
                  (std::pair<std::string, std::string>(
                      "Das Erstellen des Pfades /A war nicht erfolgreich. Fehler Nr. " + row.number, "/A")));
    }
    talk.Take();
}

TEST_F(Folder, IsCreatedWhenTheAnswerIsAnythingElse) {
    for (const Variant& answer : {Variant(L"17"), Variant(L"0"), Variant(L""), Variant(L"Ordner"),
                                  Variant(L"-3x"), Variant(std::int32_t{0}), Variant::Null(), Variant()}) {
        archive->Next(L"CreateStructure", answer);
        EXPECT_EQ(Created(L"/A").first, "") << Shown(answer);
    }
    talk.Take();
}

TEST_F(Folder, KeepsTheCallersPathWhateverTheArchiveWritesBack) {
    archive->Next(L"CreateStructure", [](Call& call) {
        call.Store(0, Variant(L"anders"));
        return Variant(L"17");
    });
    EXPECT_EQ(Created(L"/A").second, "/A");
    talk.Take();
}

TEST_F(Folder, IsAskedForAnewEachTime) {
    Client().CheckPFadVorhanden(L"/A");
    Client().CheckPFadVorhanden(L"/A");
    const Lines once{delimiter, R"(archive.LookupIndex(BSTR& "¶A") -> I4 800)"};
    Expect(Probed(Together({once, once})));
}

class Mask : public OpenArchiveTest {};

TEST_F(Mask, ExistsUnlessTheAnswerIsNegative) {
    for (const int answer : {0, 1, 255}) {
        archive->Next(L"ReadObjMask", answer);
        EXPECT_EQ(Client().CheckMaskeVorhanden(0), L"");
        Expect(Probed({"archive.ReadObjMask(I4& 0) -> I4 " + std::to_string(answer)}));
    }
}

TEST_F(Mask, ThatIsMissingIsNamedByItsNumber) {
    archive->Answers(L"ReadObjMask", -1);
    EXPECT_EQ(Client().CheckMaskeVorhanden(1234567), L"Die Ablagemaske Nr. 1234567 ist nicht vorhanden");
    EXPECT_EQ(Client().CheckMaskeVorhanden(-7), L"Die Ablagemaske Nr. -7 ist nicht vorhanden");
    Expect(Probed({"archive.ReadObjMask(I4& 1234567) -> I4 -1", "archive.ReadObjMask(I4& -7) -> I4 -1"}));
}

}  // namespace
}  // namespace kandora::test
