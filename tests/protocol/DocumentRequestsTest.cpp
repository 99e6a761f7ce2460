// What the host's document requests cause, from the metadata to the archive.

#include <algorithm>

#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

Variant Metadata(const Text& barcode) {
    return Variant::ArrayOf(std::vector<Text>{L"a", L"b", L"17", L"2", barcode});
}

class DocumentRequest : public StartedProviderTest {
protected:
    /// What follows the questions about the client.
    Lines Work() {
        Lines said = talk.Take();
        const Lines asked = ClientAsked();
        EXPECT_TRUE(said.size() >= asked.size() && std::equal(asked.begin(), asked.end(), said.begin()));
        said.erase(said.begin(),
                   said.begin() + static_cast<std::ptrdiff_t>(std::min(asked.size(), said.size())));
        return said;
    }
    /// How the booking behind the voucher is read.
    const Lines bookingRead{
        "fibu.istoffen -> BOOL True",
        "fibu.neubuchung -> booking",
        R"(booking.lesen(BSTR& "17", BSTR& "2") -> I4 0)",
        "booking.ursprung -> I4 0",
        "booking.ursprung -> I4 0",
    };
    const Lines bookingData{
        R"(booking.Text -> BSTR "Miete Büro")",
        R"(booking.Datum -> BSTR "15.11.2026")",
        R"(booking.Betrag -> BSTR "1200.50")",
    };
    static Lines IndexFields(const std::string& barcode) {
        return {
            "archive.setobjAttrib(I2& 11, BSTR \"" + barcode + "\")",
            R"(archive.setobjAttrib(I2& 12, BSTR "17"))",
            R"(archive.setobjAttrib(I2& 13, BSTR "2"))",
            R"(archive.setobjAttrib(I2& 14, BSTR "Pendent"))",
            R"(archive.setobjAttrib(I2& 15, BSTR "20261115011258"))",
            R"(archive.setobjAttrib(I2& 16, BSTR "15.11.2026"))",
            R"(archive.setobjAttrib(I2& 17, BSTR "1200.50"))",
        };
    }
    /// The whole filing of a plain voucher.
    [[nodiscard]] Lines Filed(const std::string& barcode) const {
        return Together(
            {{R"(file "C:\Kandora\Platzhalter.pdf" -> True)"},
             bookingRead,
             bookingData,
             Probed(Together({{"archive.PrepareObjectEx(I4 0, I2 254, I4& 2) -> I4 1",
                               "archive.ObjMaskNo = I4 2", R"(archive.ObjShort = BSTR "Miete Büro")"},
                              IndexFields(barcode),
                              {R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 1)",
                               R"(archive.LookupDelimiter -> BSTR "¶")",
                               R"(archive.LookupIndex(BSTR& "¶Sesam¶Muster¶Buchungen") -> I4 800)",
                               R"(archive.MoveToArchive(BSTR "#800") -> I4 1)",
                               "archive.GetEntryId(I2 -2) -> I4 4711"}}))});
    }
    /// One pass of a search that finds nothing.
    static Lines EmptyPass(int mask) {
        return Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& " + std::to_string(mask) + ")",
                       "archive.DoInvisibleSearch()", "archive.GetEntryId(I4 268435456) -> I4 0"});
    }
    static Lines NothingFound() { return Together({EmptyPass(2), EmptyPass(5), EmptyPass(4)}); }

    const Text id = L"20261115011258";

    /// `origin` is the booking's, `module` the host's number of the partner's module, `line` the index line
    /// that takes the partner's town.
    void ExpectFiledWithPartner(int origin, const std::string& host, const std::string& module,
                                const std::string& line, const std::string& folder) {
        booking->Answers(L"ursprung", origin);
        machine.HandsOut(hostProgId, NewHost("fibu"));
        machine.HandsOut(hostProgId, NewHost(host));
        Provider().SaveDocument(id, Metadata(L"BC-1"));
        const Lines work = Work();
        EXPECT_EQ(Occurrences(work, host + ".Login(I2 " + module + R"(, BSTR& "C:\Daten\Muster") -> I4 0)"),
                  1);
        EXPECT_EQ(Occurrences(work, "archive.setobjAttrib(I2& " + line + R"(, BSTR "8000 Zürich"))"), 1);
        EXPECT_EQ(
            Occurrences(work, R"(archive.LookupIndex(BSTR& "¶Sesam¶Muster¶)" + folder + R"(") -> I4 800)"),
            1);
        EXPECT_EQ(work.back(), "archive.GetEntryId(I2 -2) -> I4 4711");
    }
};

TEST_F(DocumentRequest, SaveFilesThePlaceholderAsPending) {
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    ExpectLines(Work(), Filed("BC-1"));
}

TEST_F(DocumentRequest, SaveIgnoresAVoucherWithoutBarcode) {
    Provider().SaveDocument(id, Metadata(L""));
    ExpectLines(Work(), {});
}

TEST_F(DocumentRequest, SaveTakesABlankForABarcode) {
    Provider().SaveDocument(id, Metadata(L" "));
    ExpectLines(Work(), Filed(" "));
}

TEST_F(DocumentRequest, SaveRendersWhatIsNoText) {
    const Variant metadata = Variant::ArrayOf(std::vector<Variant>{
        Variant(), Variant(), Variant(std::int32_t{17}), Variant(std::int16_t{2}), Variant::Null()});
    Provider().SaveDocument(id, metadata);
    ExpectLines(Work(), Filed("(Null)"));
}

TEST_F(DocumentRequest, SaveFilesADebtorDocumentWithItsPartner) {
    ExpectFiledWithPartner(1, "debi", "2", "43", "Debi");
}

TEST_F(DocumentRequest, SaveFilesACreditorDocumentWithItsPartner) {
    ExpectFiledWithPartner(2, "kredi", "3", "63", "Kredi");
}

TEST_F(DocumentRequest, SetsANewClientUpFirst) {
    options.clear();
    screen.typed.emplace_back(L" Kunden/Muster");
    Provider().SaveDocument(id, Metadata(L""));
    const Lines said = talk.Take();
    for (const std::string folder : {"Buchungen", "Debi", "Kredi", "Auswertungen"}) {
        EXPECT_EQ(Occurrences(said, "archive.CreateStructure(BSTR& \"¶Kunden¶Muster¶" + folder +
                                        "\", I2 0) -> BSTR \"17\""),
                  1);
        EXPECT_EQ(Occurrences(said, "archive.LookupIndex(BSTR& \"¶Kunden¶Muster¶" + folder + "\") -> I4 800"),
                  1);
    }
    EXPECT_EQ(options[109].ToText(), L"/Kunden/Muster/Buchungen") << "trimmed and completed";
    EXPECT_EQ(options[100].ToText(), L"true");
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(DocumentRequest, ShowsThatANewClientCannotBeSetUp) {
    options.clear();
    archive->Next(L"CreateStructure", L"-3");
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    EXPECT_EQ(talk.Take().back(),
              Box(1580,
                  "Das Erstellen des Pfades /Sesam/Muster/Buchungen war nicht erfolgreich. Fehler Nr. -3",
                  "SOKInterface.EinstellungenSchreiben <- SOKInterface.EinstellungenLesen <- "
                  "Kandora.SaveDocument"));
}

TEST_F(DocumentRequest, SaveShowsAFailureOnceWithAllItsFrames) {
    archive->Next(L"MoveToArchive", 2);
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    const Lines said = talk.Take();
    const std::string box = Box(5, "Fehler beim Hinzufügen des Dokuments: MoveToArchive=2",
                                "ELODMS.AddBeleg <- ELODMS.AddDokument <- Kandora.SaveDocument");
    EXPECT_EQ(said.back(), box);
    EXPECT_EQ(Occurrences(said, box), 1);
}

TEST_F(DocumentRequest, SaveShowsABookingThatCannotBeRead) {
    booking->Next(L"lesen", -1);
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    EXPECT_EQ(talk.Take().back(), Box(5010, "Belegtyp konnte nicht gelesen werden",
                                      "ELODMS.AddDokument <- Kandora.SaveDocument"));
}

TEST_F(DocumentRequest, ColoursNotTheNextOne) {
    booking->Next(L"lesen", -1);
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    talk.Take();
    EXPECT_EQ(Spelled(Globals().goErrHandler().sToString()), "[0]  | ON LINE 0 | CALLSTACK: ");
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    ExpectLines(Work(), Filed("BC-1"));
    archive->Next(L"AddPostboxFile", 0);
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    EXPECT_EQ(talk.Take().back(), Box(5, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=0",
                                      "ELODMS.AddBeleg <- ELODMS.AddDokument <- Kandora.SaveDocument"));
}

TEST_F(DocumentRequest, ChangeFilesAPlaceholderWhenTheArchiveHasNothingYet) {
    Provider().DocumentChanged(id, Metadata(L"BC-1"));
    ExpectLines(Work(), Together({NothingFound(), Filed("BC-1")}));
}

TEST_F(DocumentRequest, ChangeWithoutABarcodeOnlyLooks) {
    Provider().DocumentChanged(id, Metadata(L""));
    ExpectLines(Work(), NothingFound());
}

TEST_F(DocumentRequest, ChangeReIndexesWhatTheArchiveHas) {
    hits = {321};
    archive->Answers(L"getobjAttrib",
                     [](Call& call) { return Variant(call.LongAt(0) == 12 ? L"17" : L"2"); });
    Provider().DocumentChanged(id, Metadata(L"BC-1"));
    ExpectLines(Work(),
                Together({Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& 2)", "archive.DoInvisibleSearch()",
                                  "archive.GetEntryId(I4 268435456) -> I4 321",
                                  "archive.PrepareObjectEx(I4& 321, I2 0, I2 0)",
                                  R"(archive.getobjAttrib(I2& 12) -> BSTR "17")",
                                  R"(archive.getobjAttrib(I2& 13) -> BSTR "2")"}),
                          bookingRead, bookingData,
                          Probed(Together({{"archive.PrepareObjectEx(I4 321, I2 254, I4& 2) -> I4 1",
                                            R"(archive.ObjShort = BSTR "Miete Büro")"},
                                           IndexFields("BC-1"),
                                           {"archive.UpdateObject()"}}))}));
}

TEST_F(DocumentRequest, ChangeShowsAFailureWithAllItsFrames) {
    archive->Next(L"DoInvisibleSearch", Failure::Exception(1000, L"gesperrt"));
    Provider().DocumentChanged(id, Metadata(L"BC-1"));
    EXPECT_EQ(talk.Take().back(), Box(1000, "gesperrt",
                                      "ELODMS.FindSageDocumentByBelegNr <- ELODMS.ChangeDocument <- "
                                      "Kandora.DocumentChanged"));
}

TEST_F(DocumentRequest, DeleteBlanksMarksAndDeletes) {
    hits = {321};
    archive->Answers(L"getobjAttrib", L"20261115011258");
    Provider().DeleteDocument(id, Metadata(L"BC-1"));
    const std::string found = R"(archive.getobjAttrib(I2& 15) -> BSTR "20261115011258")";
    ExpectLines(
        Work(),
        Together(
            {Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& 2)", "archive.DoInvisibleSearch()",
                     "archive.GetEntryId(I4 268435456) -> I4 321",
                     "archive.PrepareObjectEx(I4& 321, I2 0, I4& 2)", found, found}),
             bookingRead,
             Probed({"archive.PrepareObjectEx(I4& 321, I2 254, I4& 2) -> I4 1",
                     R"(archive.ObjShort = BSTR "Gelöschter Beleg")",
                     R"(archive.setobjAttrib(I2& 11, BSTR ""))", R"(archive.setobjAttrib(I2& 12, BSTR ""))",
                     R"(archive.setobjAttrib(I2& 13, BSTR ""))",
                     R"(archive.setobjAttrib(I2& 14, BSTR "Gelöscht"))",
                     R"(archive.setobjAttrib(I2& 15, BSTR ""))", R"(archive.setobjAttrib(I2& 16, BSTR ""))",
                     R"(archive.setobjAttrib(I2& 17, BSTR ""))", "archive.DeleteObj(I4& 321) -> I4 1"})}));
}

TEST_F(DocumentRequest, DeleteNeedsNoBarcodeInTheMetadata) {
    Provider().DeleteDocument(id, Variant::ArrayOf(std::vector<Text>{L"a", L"b", L"17", L"2"}));
    ExpectLines(Work(), Together({NothingFound(), bookingRead}));
}

TEST_F(DocumentRequest, DeleteShowsARefusalWithAllItsFrames) {
    hits = {321};
    archive->Answers(L"getobjAttrib", L"20261115011258");
    archive->Next(L"DeleteObj", -5);
    Provider().DeleteDocument(id, Metadata(L"BC-1"));
    EXPECT_EQ(talk.Take().back(),
              Box(5, "Konnte Dokument nicht löschen: -5",
                  "ELODMS.LoescheDokument <- ELODMS.MarkAsDeleted <- Kandora.DeleteDocument"));
}

TEST_F(DocumentRequest, ShowBringsTheDocumentToTheUser) {
    hits = {321};
    archive->Answers(L"getobjAttrib", L"20261115011258");
    Provider().ShowDocument(id, Metadata(L"BC-1"));
    const Lines work = Work();
    const Lines end(work.end() - 8, work.end());
    ExpectLines(end, Probed({"archive.BringToFront()", R"(archive.EloWindow(BSTR "NORMAL"))",
                             "archive.GotoId(I4& 321) -> I4 1", "archive.BringToFront()"}));
}

TEST_F(DocumentRequest, ShowTellsThatThereIsNoSuchDocument) {
    Provider().ShowDocument(id, Metadata(L"BC-1"));
    ExpectLines(Work(), Together({NothingFound(),
                                  {R"(box "Das Dokument konnte nicht im Archiv gefunden werden" 64)"}}));
}

TEST_F(DocumentRequest, ShowNeedsTheFirstElementOfTheMetadataAlone) {
    Provider().ShowDocument(id, Variant::ArrayOf(std::vector<Text>{L"a"}));
    EXPECT_EQ(talk.Take().back(), R"(box "Das Dokument konnte nicht im Archiv gefunden werden" 64)");
    Provider().ShowDocument(id, Variant::ArrayOf(std::vector<Text>()));
    EXPECT_EQ(talk.Take().back(), Box(9, Spelled(DescriptionOf(9)), "Kandora.ShowDocument"));
}

TEST_F(DocumentRequest, PrintFilesTheReportThatTheUserDescribes) {
    screen.dialogs.push_back({true, L"Bilanz", L"Bilanz 2026", L"1.1.2026", L"31.12.2026", {}});
    Provider().PrintDocument(id, Variant());
    const Lines work = Work();
    EXPECT_EQ(work.front(), "dialog -> True");
    EXPECT_EQ(work.back(), R"(archive.clickon(BSTR "mmrefresh"))");
    EXPECT_EQ(Occurrences(work, R"(archive.AddPostboxFile(BSTR& "C:\Druck\Liste.pdf") -> I4 1)"), 1);
}

TEST_F(DocumentRequest, PrintDoesNothingWhenTheUserCancels) {
    Provider().PrintDocument(id, Variant());
    ExpectLines(Work(), {"dialog -> False"});
}

TEST_F(DocumentRequest, PrintShowsAFailureWithAllItsFrames) {
    screen.dialogs.push_back({true, L"Bilanz", L"Bilanz 2026", L"1.1.2026", L"31.12.2026", {}});
    archive->Next(L"AddPostboxFile", 0);
    Provider().PrintDocument(id, Variant());
    EXPECT_EQ(talk.Take().back(), Box(5, "Fehler beim Hinzufügen des Dokuments: AddPostboxFile=0",
                                      "ELODMS.SaveAuswertung <- Kandora.PrintDocument"));
}

TEST_F(DocumentRequest, PendingAndStatusAreTracedAtMost) {
    Provider().SavePendingDocument(Variant(), id, Variant());
    Provider().SetDocumentStatus(id, Variant());
    Expect({});
    State().settings.gbDebug = true;
    Provider().SavePendingDocument(Variant(L"x"), id, Variant(std::int32_t{7}));
    Provider().SetDocumentStatus(id, Metadata(L"BC-1"));
    Expect({Logged("DMSProvider_SavePendingDocument  [x]  [20261115011258]  [7]"),
            Logged("DMSProvider_SetDocumentStatus  [20261115011258]  [[a, b, 17, 2, BC-1]]")});
}

TEST_F(DocumentRequest, PendingAndStatusShowThatTheLogCannotBeWritten) {
    State().settings.gbDebug = true;
    machine.appendFailure = RuntimeError(61);
    Provider().SavePendingDocument(Variant(), L"ID", Variant());
    Expect({Logged("DMSProvider_SavePendingDocument  [(Empty)]  [ID]  [(Empty)]") + " !! 61",
            Box(61, Spelled(DescriptionOf(61)), "Kandora.SavePendingDocument")});
    Provider().SetDocumentStatus(L"ID", Variant());
    Expect({Logged("DMSProvider_SetDocumentStatus  [ID]  [(Empty)]") + " !! 61",
            Box(61, Spelled(DescriptionOf(61)), "Kandora.SetDocumentStatus")});
}

TEST_F(DocumentRequest, NeedsMetadataWithTheElementsThatItReads) {
    struct Case {
        const char* method;
        void (*request)(ELOProvider&, const Variant&);
        std::size_t elements;
    };
    for (const Case& row : std::vector<Case>{
             {"SaveDocument", [](ELOProvider& p, const Variant& v) { p.SaveDocument(L"ID", v); }, 5},
             {"DocumentChanged", [](ELOProvider& p, const Variant& v) { p.DocumentChanged(L"ID", v); }, 5},
             {"DeleteDocument", [](ELOProvider& p, const Variant& v) { p.DeleteDocument(L"ID", v); }, 4},
             {"ShowDocument", [](ELOProvider& p, const Variant& v) { p.ShowDocument(L"ID", v); }, 1}}) {
        const std::string frame = std::string("Kandora.") + row.method;
        for (std::size_t count = 0; count < row.elements; ++count) {
            row.request(Provider(), Variant::ArrayOf(std::vector<Text>(count, L"x")));
            ExpectLines(Work(), {Box(9, Spelled(DescriptionOf(9)), frame)});
        }
        for (const Variant& none : {Variant(), Variant(L"text"), Variant(std::int32_t{1}), Variant::Null()}) {
            row.request(Provider(), none);
            ExpectLines(Work(), {Box(13, Spelled(DescriptionOf(13)), frame)});
        }
    }
}

TEST_F(DocumentRequest, TakesTheHostsIdAsItIs) {
    const Text odd = L" ä\t\"'; DROP ";
    Provider().SaveDocument(odd, Metadata(L"BC-1"));
    EXPECT_EQ(Occurrences(Work(), "archive.setobjAttrib(I2& 15, BSTR " + Quoted(odd) + ")"), 1);
}

TEST_F(DocumentRequest, SurvivesAnotherRequestWhileItsErrorBoxIsOpen) {
    archive->Next(L"MoveToArchive", 2);
    screen.duringBox = [&] {
        screen.duringBox = {};
        EXPECT_EQ(Provider().CreateDocID(Variant()), L"20261115011258");
    };
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, Box(5, "Fehler beim Hinzufügen des Dokuments: MoveToArchive=2",
                                    "ELODMS.AddBeleg <- ELODMS.AddDokument <- Kandora.SaveDocument")),
              1);
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(DocumentRequest, SurvivesAnotherRequestWhileTheHostAnswers) {
    booking->Next(L"Text", [&](Call&) {
        Provider().SaveDocument(L"Innen", Metadata(L"BC-2"));
        return Variant(L"Aussen");
    });
    Provider().SaveDocument(id, Metadata(L"BC-1"));
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I2 -2) -> I4 4711"), 2);
    EXPECT_GE(Occurrences(said, R"(archive.setobjAttrib(I2& 15, BSTR "Innen"))"), 1)
        << "the records are shared";
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

}  // namespace
}  // namespace kandora::test
