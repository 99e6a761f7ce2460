// What happens in the archive when a voucher is changed or deleted. Re-indexing itself is tested with filing.

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

class StatusChange : public OpenArchiveTest {
protected:
    void Change(const Text& barcode = L"BC-1") { Client().ChangeDocument(barcode, L"17", L"2", L"ID"); }
    void Delete() { Client().MarkAsDeleted(L"ID", L"17", L"2"); }

    /// The archive finds the entry by its number and index or by its id.
    void Hold(std::int32_t id) {
        hits = {id};
        archive->Answers(L"getobjAttrib", [](Call& call) {
            const std::int32_t position = call.LongAt(0);
            return Variant(position == 12 ? L"17" : position == 13 ? L"2" : L"ID");
        });
    }
    /// What follows the lookup.
    Lines AfterLookup() {
        Lines said = talk.Take();
        while (!said.empty() && !said.front().starts_with("vouchers.")) {
            said.erase(said.begin());
        }
        return said;
    }
    static std::string Kind(const Text& kind) {
        return R"(vouchers.GetBuchungsType("17", "2") -> )" + Quoted(kind);
    }
    static Lines EmptyPass(int mask) {
        return Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& " + std::to_string(mask) + ")",
                       "archive.DoInvisibleSearch()", "archive.GetEntryId(I4 268435456) -> I4 0"});
    }
    const Lines nothingFound = Together({EmptyPass(2), EmptyPass(5), EmptyPass(4)});
};

TEST_F(StatusChange, WithoutEntryAndBarcodeDoesNothing) {
    Change(L"");
    Expect(nothingFound);
}

TEST_F(StatusChange, WithoutEntryFilesThePlaceholderAsPending) {
    Change();
    const Lines said = AfterLookup();
    EXPECT_EQ(said.front(), Kind(L"Beleg"));
    EXPECT_EQ(Occurrences(said, R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 1)"), 1);
    EXPECT_EQ(Occurrences(said, R"(archive.setobjAttrib(I2& 15, BSTR "ID"))"), 1);
    EXPECT_EQ(state.records.cBeleg.BelegStatus, L"Pendent");
    EXPECT_EQ(state.records.cBeleg.Barcode, L"BC-1");
}

TEST_F(StatusChange, WithoutEntryTellsThatThePlaceholderIsMissing) {
    machine.files.clear();
    EXPECT_EQ(Failing([&] { Change(); }), Shown(5, "Dokument nicht gefunden: C:\\Kandora\\Platzhalter.pdf",
                                                "ELODMS.AddDokument <- ELODMS.ChangeDocument"));
    Expect(Together({nothingFound, {R"(file "C:\Kandora\Platzhalter.pdf" -> False)"}}));
}

TEST_F(StatusChange, OfAnUnknownKindLeavesTheEntryAlone) {
    Hold(321);
    for (const wchar_t* const kind : {L"Buchung", L"beleg", L"DEBI", L"kredi", L""}) {
        vouchers.kind = kind;
        Change();
        ExpectLines(AfterLookup(), {Kind(kind)});
    }
}

TEST_F(StatusChange, SetsOnlyTheIdentityAndLeavesTheRestToTheHost) {
    Hold(321);
    for (const wchar_t* const kind : {L"Debi", L"Kredi", L"Beleg"}) {
        vouchers.kind = kind;
        DocumentRecord& record = kind == Text(L"Debi")    ? state.records.cDebiBeleg
                                 : kind == Text(L"Kredi") ? state.records.cKrediBeleg
                                                          : state.records.cBeleg;
        record.BelegStatus = L"vorher";
        record.Barcode = L"vorher";
        Change();
        EXPECT_EQ(record.Barcode, L"BC-1");
        EXPECT_EQ(record.BelegNr, L"17");
        EXPECT_EQ(record.BelegIndex, L"2");
        EXPECT_EQ(record.SesamDocID, L"ID");
        EXPECT_EQ(record.BelegStatus, L"vorher");
        EXPECT_EQ(AfterLookup().back(), "archive.UpdateObject()");
    }
}

TEST_F(StatusChange, StopsWhenTheHostCannotTellTheKind) {
    Hold(321);
    vouchers.kindFailure = RuntimeError(5010, L"Belegtyp konnte nicht gelesen werden");
    EXPECT_EQ(Failing([&] { Change(); }),
              Shown(5010, "Belegtyp konnte nicht gelesen werden", "ELODMS.ChangeDocument"));
    ExpectLines(AfterLookup(), {R"(vouchers.GetBuchungsType("17", "2") !! 5010)"});
}

TEST_F(StatusChange, StopsWhenTheHostCannotTellTheData) {
    Hold(321);
    vouchers.dataFailure = RuntimeError(91);
    EXPECT_EQ(Failing([&] { Change(); }), Shown(91, Spelled(DescriptionOf(91)), "ELODMS.ChangeDocument"));
    EXPECT_EQ(talk.Take().back(), R"(vouchers.GetBelegDaten("17", "2") !! 91)");
}

TEST_F(StatusChange, KeepsTheRecordsOfEarlierDocuments) {
    Hold(321);
    state.records.cDebiBeleg.Kundenname = L"Vorige AG";
    Change();
    EXPECT_EQ(state.records.cDebiBeleg.Kundenname, L"Vorige AG") << "only filing starts with fresh records";
    talk.Take();
}

/// One kind's index fields.
struct BlankCase {
    const wchar_t* kind;
    int firstPosition;
    int fields;
};

void PrintTo(const BlankCase& row, std::ostream* stream) {
    *stream << Spelled(row.kind);
}

class Deletion : public StatusChange, public testing::WithParamInterface<BlankCase> {
protected:
    Deletion() { vouchers.kind = GetParam().kind; }
};

INSTANTIATE_TEST_SUITE_P(Kinds, Deletion,
                         testing::Values(BlankCase{L"Beleg", 11, 7}, BlankCase{L"Debi", 31, 13},
                                         BlankCase{L"Kredi", 51, 13}),
                         [](const auto& row) { return Spelled(row.param.kind); });

TEST_P(Deletion, BlanksTheFieldsMarksTheStatusAndDeletesAtOnce) {
    Hold(321);
    Delete();
    Lines work{"archive.PrepareObjectEx(I4& 321, I2 254, I4& 2) -> I4 1",
               R"(archive.ObjShort = BSTR "Gelöschter Beleg")"};
    for (int i = 0; i < GetParam().fields; ++i) {
        work.push_back("archive.setobjAttrib(I2& " + std::to_string(GetParam().firstPosition + i) +
                       (i == 3 ? R"(, BSTR "Gelöscht"))" : R"(, BSTR ""))"));
    }
    work.emplace_back("archive.DeleteObj(I4& 321) -> I4 1");
    ExpectLines(AfterLookup(), Together({{Kind(GetParam().kind)}, Probed(work)}));
}

TEST_P(Deletion, AsksForTheKindEvenWhenThereIsNoEntry) {
    Delete();
    Expect(Together({nothingFound, {Kind(GetParam().kind)}}));
}

TEST_P(Deletion, StopsWhenTheEntryCannotBeLoaded) {
    Hold(321);
    for (const int answer : {0, -9}) {
        archive->Next(L"PrepareObjectEx", 1);  // the search
        archive->Next(L"PrepareObjectEx", 1);  // the hit
        archive->Next(L"PrepareObjectEx", answer);
        EXPECT_EQ(Failing([&] { Delete(); }),
                  Shown(5, "Unerwarteter Rückgabewert: PrepareObjectEx=" + std::to_string(answer),
                        "ELODMS.MarkAsDeleted"));
        ExpectLines(AfterLookup(),
                    Together({{Kind(GetParam().kind)},
                              Probed({"archive.PrepareObjectEx(I4& 321, I2 254, I4& 2) -> I4 " +
                                      std::to_string(answer)})}));
    }
}

TEST_P(Deletion, TellsThatTheArchiveRefuses) {
    Hold(321);
    archive->Next(L"DeleteObj", -5);
    EXPECT_EQ(Failing([&] { Delete(); }), Shown(5, "Konnte Dokument nicht löschen: -5",
                                                "ELODMS.LoescheDokument <- ELODMS.MarkAsDeleted"));
    EXPECT_EQ(talk.Take().back(), "archive.DeleteObj(I4& 321) -> I4 -5");
}

TEST_P(Deletion, PassesOnWhateverFailsOnTheWay) {
    Hold(321);
    for (const wchar_t* const member : {L"ObjShort", L"setobjAttrib"}) {
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Delete(); }), Shown(1000, "gesperrt", "ELODMS.MarkAsDeleted"));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1000 \"gesperrt\""));
    }
}

TEST_F(StatusChange, DeletionOfAnUnknownKindLoadsTheEntryAndLeavesItAlone) {
    Hold(321);
    for (const wchar_t* const kind : {L"Buchung", L"beleg", L"debi", L"KREDI", L""}) {
        vouchers.kind = kind;
        Delete();
        ExpectLines(
            AfterLookup(),
            Together({{Kind(kind)}, Probed({"archive.PrepareObjectEx(I4& 321, I2 254, I4& 2) -> I4 1"})}));
    }
}

TEST_F(StatusChange, DeletionStopsWhenTheHostCannotTellTheKind) {
    vouchers.kindFailure = RuntimeError(5010, L"Belegtyp konnte nicht gelesen werden");
    EXPECT_EQ(Failing([&] { Delete(); }),
              Shown(5010, "Belegtyp konnte nicht gelesen werden", "ELODMS.MarkAsDeleted"));
    Expect(Together({nothingFound, {R"(vouchers.GetBuchungsType("17", "2") !! 5010)"}}));
}

TEST_F(StatusChange, DeletionTellsThatTheLookupFailed) {
    archive->Next(L"DoInvisibleSearch", Failure::Exception(1000, L"gesperrt"));
    EXPECT_EQ(Failing([&] { Delete(); }),
              Shown(1000, "gesperrt", "ELODMS.FindSageDocumentByID <- ELODMS.MarkAsDeleted"));
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
