// What filing and re-indexing a voucher, debtor or creditor document says to the archive.

#include <algorithm>

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

/// All differences between the conversations of the document kinds.
struct KindCase {
    const wchar_t* kind;
    const char* dataCall;
    int mask;
    int firstPosition;
    bool partner;
    const char* folder;         ///< as the archive is asked for it
    const char* folderMissing;  ///< message
    const char* folderFrame;
    const char* addFrame;
    const char* editFrame;
};

void PrintTo(const KindCase& row, std::ostream* stream) {
    *stream << Spelled(row.kind);
}

const KindCase beleg{L"Beleg",
                     "GetBelegDaten",
                     2,
                     11,
                     false,
                     "¶Sesam¶Muster¶Buchungen",
                     "Ordner für Belegdokumente nicht im ELO gefunden: ¶Sesam¶Muster¶Buchungen",
                     "ELODMS.lBelegDokumente",
                     "ELODMS.AddBeleg",
                     "ELODMS.EditBeleg"};
const KindCase debi{L"Debi",
                    "GetDebiDaten",
                    4,
                    31,
                    true,
                    "¶Sesam¶Muster¶Debi",
                    "Ordner für Debitorendokumente nicht im ELO gefunden: ¶Sesam¶Muster¶Debi",
                    "ELODMS.lDebiDokumente",
                    "ELODMS.AddDebi",
                    "ELODMS.EditDebi"};
/// Deliberate: a missing creditor folder is reported with the debtors' message.
const KindCase kredi{L"Kredi",
                     "GetKrediDaten",
                     5,
                     51,
                     true,
                     "¶Sesam¶Muster¶Kredi",
                     "Ordner für Debitorendokumente nicht im ELO gefunden: ¶Sesam¶Muster¶Kredi",
                     "ELODMS.lKrediDokumente",
                     "ELODMS.AddKredi",
                     "ELODMS.EditKredi"};

/// The index fields as they are written: seven of a voucher, thirteen of a partner's document.
Lines IndexFields(const KindCase& row, const std::string& barcode = "BC-1",
                  const std::string& docId = "20261115011258") {
    const Lines values{barcode,      "17", "2",    "Pendent", docId,         "15.11.2026", "1200.50",
                       "01.11.2026", "77", "1100", "42",      "Muster & Co", "8000 Zürich"};
    Lines lines;
    for (std::size_t i = 0; i < (row.partner ? 13U : 7U); ++i) {
        lines.push_back("archive.setobjAttrib(I2& " +
                        std::to_string(row.firstPosition + static_cast<int>(i)) + ", BSTR \"" + values[i] +
                        "\")");
    }
    return lines;
}

std::string Prepared(const KindCase& row, const std::string& id, int answer) {
    return "archive.PrepareObjectEx(I4 " + id + ", I2 254, I4& " + std::to_string(row.mask) + ") -> I4 " +
           std::to_string(answer);
}

Lines AskedForKind(const KindCase& row) {
    return {R"(file "C:\Kandora\Platzhalter.pdf" -> True)",
            R"(vouchers.GetBuchungsType("17", "2") -> ")" + Spelled(row.kind) + "\"",
            std::string("vouchers.") + row.dataCall + R"(("17", "2"))"};
}

Lines UpToIndex(const KindCase& row) {
    return Together({{Prepared(row, "0", 1), "archive.ObjMaskNo = I4 " + std::to_string(row.mask),
                      R"(archive.ObjShort = BSTR "Miete Büro")"},
                     IndexFields(row)});
}

Lines Found(const KindCase& row) {
    return {R"(archive.LookupDelimiter -> BSTR "¶")",
            std::string("archive.LookupIndex(BSTR& \"") + row.folder + "\") -> I4 800"};
}

const std::string posted = R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 1)";
const std::string moved = R"(archive.MoveToArchive(BSTR "#800") -> I4 1)";

class Filing : public OpenArchiveTest, public testing::WithParamInterface<KindCase> {
protected:
    Filing() { vouchers.kind = GetParam().kind; }

    std::int32_t File(const Text& status = L"Pendent") {
        return Client().AddDokument(L"C:\\Kandora\\Platzhalter.pdf", L"BC-1", L"17", L"2", status,
                                    L"20261115011258");
    }
    [[nodiscard]] static std::string Trail(const std::string& innermost) {
        return (innermost.empty() ? "" : innermost + " <- ") + GetParam().addFrame + " <- ELODMS.AddDokument";
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, Filing, testing::Values(beleg, debi, kredi),
                         [](const auto& row) { return Spelled(row.param.kind); });

TEST_P(Filing, CreatesAnEntryWithAllItsIndexFields) {
    EXPECT_EQ(File(), 4711);
    Expect(Together(
        {AskedForKind(GetParam()), Probed(Together({UpToIndex(GetParam()),
                                                    {posted},
                                                    Found(GetParam()),
                                                    {moved, "archive.GetEntryId(I2 -2) -> I4 4711"}}))}));
    EXPECT_EQ(handler.lOriginalNumber(), 0);
}

TEST_P(Filing, WritesTheSameStatusWhateverItWasTold) {
    File(L"Bezahlt");
    Expect(Together(
        {AskedForKind(GetParam()), Probed(Together({UpToIndex(GetParam()),
                                                    {posted},
                                                    Found(GetParam()),
                                                    {moved, "archive.GetEntryId(I2 -2) -> I4 4711"}}))}));
    const Records& records = state.records;
    const DocumentRecord& record = GetParam().kind == Text(L"Debi")    ? records.cDebiBeleg
                                   : GetParam().kind == Text(L"Kredi") ? records.cKrediBeleg
                                                                       : records.cBeleg;
    EXPECT_EQ(record.BelegStatus, L"Bezahlt") << "what it was told ends in the record alone";
}

TEST_P(Filing, TakesAnyPositiveAnswerToThePreparation) {
    archive->Next(L"PrepareObjectEx", 99);
    EXPECT_EQ(File(), 4711);
    talk.Take();
}

TEST_P(Filing, StopsWhenTheEntryCannotBePrepared) {
    for (const int answer : {0, -3}) {
        archive->Next(L"PrepareObjectEx", answer);
        EXPECT_EQ(
            Failing([&] { File(); }),
            Shown(5, "Unerwarteter Rückgabewert: PrepareObjectEx=" + std::to_string(answer), Trail("")));
        Expect(Together({AskedForKind(GetParam()), Probed({Prepared(GetParam(), "0", answer)})}));
    }
}

TEST_P(Filing, StopsWhenTheFileIsNotTaken) {
    for (const int answer : {0, 2, -1}) {
        const std::string value = std::to_string(answer);
        archive->Next(L"AddPostboxFile", answer);
        EXPECT_EQ(Failing([&] { File(); }),
                  Shown(5, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=" + value, Trail("")));
        Expect(Together(
            {AskedForKind(GetParam()),
             Probed(Together(
                 {UpToIndex(GetParam()),
                  {R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 )" + value}}))}));
    }
}

TEST_P(Filing, StopsWhenTheFolderIsMissing) {
    archive->Next(L"LookupIndex", 0);
    EXPECT_EQ(Failing([&] { File(); }), Shown(5, GetParam().folderMissing, Trail(GetParam().folderFrame)));
    Expect(Together(
        {AskedForKind(GetParam()), Probed(Together({UpToIndex(GetParam()),
                                                    {posted, R"(archive.LookupDelimiter -> BSTR "¶")",
                                                     std::string("archive.LookupIndex(BSTR& \"") +
                                                         GetParam().folder + "\") -> I4 0"}}))}));
}

TEST_P(Filing, StopsWhenTheEntryCannotBeMoved) {
    for (const int answer : {0, 2}) {
        const std::string value = std::to_string(answer);
        archive->Next(L"MoveToArchive", answer);
        EXPECT_EQ(Failing([&] { File(); }),
                  Shown(5, "Fehler beim Hinzufügen des Dokuments: MoveToArchive=" + value, Trail("")));
        Expect(Together({AskedForKind(GetParam()),
                         Probed(Together({UpToIndex(GetParam()),
                                          {posted},
                                          Found(GetParam()),
                                          {R"(archive.MoveToArchive(BSTR "#800") -> I4 )" + value}}))}));
    }
}

TEST_P(Filing, AddressesTheFolderByItsNumber) {
    archive->Next(L"LookupIndex", 4711);
    File();
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, R"(archive.MoveToArchive(BSTR "#4711") -> I4 1)"), 1);
}

TEST_P(Filing, PassesOnWhateverFailsOnTheWay) {
    struct Step {
        const wchar_t* member;
        std::string frames;
    };
    for (const Step& step : std::vector<Step>{{L"PrepareObjectEx", Trail("")},
                                              {L"ObjMaskNo", Trail("")},
                                              {L"ObjShort", Trail("")},
                                              {L"setobjAttrib", Trail("")},
                                              {L"AddPostboxFile", Trail("")},
                                              {L"LookupDelimiter", Trail(GetParam().folderFrame)},
                                              {L"LookupIndex", Trail(GetParam().folderFrame)},
                                              {L"MoveToArchive", Trail("")}}) {
        archive->Next(step.member, Failure::Exception(1234, L"Archiv voll", L"ELO"));
        EXPECT_EQ(Failing([&] { File(); }), Shown(1234, "Archiv voll", step.frames)) << Spelled(step.member);
        const Lines said = talk.Take();
        EXPECT_TRUE(said.back().ends_with("!! 1234 \"Archiv voll\"")) << "nothing may follow " << said.back();
    }
}

TEST_P(Filing, CannotReturnAnIdThatIsNoNumber) {
    archive->Answers(L"GetEntryId", [](Call& call) {
        return call.LongAt(0) == -2 ? Variant(L"unbekannt") : Variant(std::int32_t{0});
    });
    EXPECT_EQ(Failing([&] { File(); }), Shown(13, Spelled(DescriptionOf(13)), "ELODMS.AddDokument"));
    talk.Take();
}

TEST_P(Filing, LosesNothingOfTheSessionWhenTheArchiveRestartsInBetween) {
    const Fake second = NewArchive("archive");
    machine.HandsOut(archiveProgId, second);
    archive->Next(L"ObjShort", [&](Call& call) {
        call.object.Dies(static_cast<HRESULT>(0x800706BAU));
        return Variant();
    });
    EXPECT_EQ(File(), 4711);
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "create ELO.professional"), 1);
}

TEST_P(Filing, StartsWithFreshRecords) {
    state.records.cBeleg.Kundenname = L"alt";
    state.records.cDebiBeleg.Rechnungsdatum = L"alt";
    state.records.cKrediBeleg.Barcode = L"alt";
    vouchers.kind = L"Andere";
    EXPECT_EQ(File(), 0);
    EXPECT_EQ(state.records.cBeleg.Kundenname, L"");
    EXPECT_EQ(state.records.cDebiBeleg.Rechnungsdatum, L"");
    EXPECT_EQ(state.records.cKrediBeleg.Barcode, L"");
    talk.Take();
}

TEST_P(Filing, StopsWhenTheHostCannotTellTheKind) {
    vouchers.kindFailure = RuntimeError(5010, L"Belegtyp konnte nicht gelesen werden");
    EXPECT_EQ(Failing([&] { File(); }),
              Shown(5010, "Belegtyp konnte nicht gelesen werden", "ELODMS.AddDokument"));
    Expect(
        {R"(file "C:\Kandora\Platzhalter.pdf" -> True)", R"(vouchers.GetBuchungsType("17", "2") !! 5010)"});
}

TEST_P(Filing, StopsWhenTheHostCannotTellTheData) {
    vouchers.dataFailure = RuntimeError(91);
    EXPECT_EQ(Failing([&] { File(); }), Shown(91, Spelled(DescriptionOf(91)), "ELODMS.AddDokument"));
    Expect({R"(file "C:\Kandora\Platzhalter.pdf" -> True)",
            R"(vouchers.GetBuchungsType("17", "2") -> ")" + Spelled(GetParam().kind) + "\"",
            std::string("vouchers.") + GetParam().dataCall + R"(("17", "2") !! 91)"});
}

class Voucher : public OpenArchiveTest {};

TEST_F(Voucher, OfNoKnownKindIsNotFiled) {
    for (const wchar_t* const kind : {L"Buchung", L"debi", L"KREDI", L"beleg", L"Beleg ", L""}) {
        vouchers.kind = kind;
        EXPECT_EQ(
            Client().AddDokument(L"C:\\Kandora\\Platzhalter.pdf", L"BC-1", L"17", L"2", L"Pendent", L"1"), 0);
        Expect({R"(file "C:\Kandora\Platzhalter.pdf" -> True)",
                R"(vouchers.GetBuchungsType("17", "2") -> ")" + Spelled(kind) + "\""});
    }
}

TEST_F(Voucher, IsNotFiledWithoutItsFileAndTheHostIsNotEvenAsked) {
    EXPECT_EQ(
        Failing([&] { Client().AddDokument(L"C:\\fehlt.pdf", L"BC-1", L"17", L"2", L"Pendent", L"1"); }),
        Shown(5, "Dokument nicht gefunden: C:\\fehlt.pdf", "ELODMS.AddDokument"));
    Expect({R"(file "C:\fehlt.pdf" -> False)"});
}

TEST_F(Voucher, HandsOverThePlaceholderAndNotTheFileThatWasChecked) {
    machine.files.insert(L"C:\\Scan\\Rechnung.pdf");
    Client().AddDokument(L"C:\\Scan\\Rechnung.pdf", L"BC-1", L"17", L"2", L"Pendent", L"1");
    const Lines said = talk.Take();
    EXPECT_EQ(said.front(), R"(file "C:\Scan\Rechnung.pdf" -> True)");
    EXPECT_EQ(Occurrences(said, posted), 1);
}

TEST_F(Voucher, KeepsNulsAndUmlautsInItsTexts) {
    const Text odd(L"A\0Ü", 3);
    Client().AddDokument(L"C:\\Kandora\\Platzhalter.pdf", odd, L"17", L"2", L"Pendent", L"1");
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, R"(archive.setobjAttrib(I2& 11, BSTR "A\0Ü"))"), 1);
}

/// Re-indexing, reached through a changed voucher that the archive already has.
class ReIndexing : public OpenArchiveTest, public testing::WithParamInterface<KindCase> {
protected:
    ReIndexing() {
        vouchers.kind = GetParam().kind;
        hits = {321};
        archive->Answers(L"getobjAttrib", [](Call& call) {
            return Variant(call.LongAt(0) % 10 == 2 ? L"17" : L"2");  // number and index of the voucher
        });
    }
    /// Everything after the lookup.
    Lines Changed(const Text& barcode) {
        Client().ChangeDocument(barcode, L"17", L"2", L"20261115011258");
        Lines said = talk.Take();
        const auto start =
            std::ranges::find_if(said, [](const std::string& line) { return line.starts_with("vouchers"); });
        said.erase(said.begin(), start);
        return said;
    }
    [[nodiscard]] static Lines Asked() {
        return {R"(vouchers.GetBuchungsType("17", "2") -> ")" + Spelled(GetParam().kind) + "\"",
                std::string("vouchers.") + GetParam().dataCall + R"(("17", "2"))"};
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, ReIndexing, testing::Values(beleg, debi, kredi),
                         [](const auto& row) { return Spelled(row.param.kind); });

TEST_P(ReIndexing, RewritesTheIndexFieldsOfTheEntry) {
    ExpectLines(Changed(L"BC-1"),
                Together({Asked(), Probed(Together({{Prepared(GetParam(), "321", 1),
                                                     R"(archive.ObjShort = BSTR "Miete Büro")"},
                                                    IndexFields(GetParam()),
                                                    {"archive.UpdateObject()"}}))}));
}

TEST_P(ReIndexing, NeverClearsABarcode) {
    Lines fields = IndexFields(GetParam());
    fields.erase(fields.begin());
    ExpectLines(Changed(L""), Together({Asked(), Probed(Together({{Prepared(GetParam(), "321", 1),
                                                                   R"(archive.ObjShort = BSTR "Miete Büro")"},
                                                                  fields,
                                                                  {"archive.UpdateObject()"}}))}));
}

TEST_P(ReIndexing, StopsWhenTheEntryCannotBePrepared) {
    archive->Next(L"PrepareObjectEx", 1);  // the search
    archive->Next(L"PrepareObjectEx", 1);  // the hit
    archive->Next(L"PrepareObjectEx", 0);
    EXPECT_EQ(Failing([&] { Changed(L"BC-1"); }),
              Shown(5, "Unerwarteter Rückgabewert: PrepareObjectEx=0",
                    GetParam().editFrame + std::string(" <- ELODMS.ChangeDocument")));
    EXPECT_EQ(talk.Take().back(), Prepared(GetParam(), "321", 0));
}

TEST_P(ReIndexing, PassesOnWhateverFailsOnTheWay) {
    for (const wchar_t* const member : {L"ObjShort", L"setobjAttrib", L"UpdateObject"}) {
        archive->Next(member, Failure::Exception(1234, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Changed(L"BC-1"); }),
                  Shown(1234, "gesperrt", GetParam().editFrame + std::string(" <- ELODMS.ChangeDocument")));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1234 \"gesperrt\""));
    }
}

TEST_P(ReIndexing, DoesNotExamineTheResultOfTheUpdate) {
    archive->Next(L"UpdateObject", -1);
    EXPECT_NO_THROW(Changed(L"BC-1"));
}

}  // namespace
}  // namespace kandora::test
