#include <algorithm>

#include "archive/OrigELODMS.h"
#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

Variant Metadata(const wchar_t* number, const wchar_t* barcode) {
    return Variant::ArrayOf(std::vector<Text>{L"", L"", number, L"1", barcode});
}

/// What happens when the host calls in while a request waits for an answer.
class Reentry : public StartedProviderTest {
protected:
    /// Runs the action once, while the archive carries out the call.
    void During(const wchar_t* member, const Answer& answer, std::function<void()> action) {
        archive->Next(member, [answer, action = std::move(action)](Call& call) {
            action();
            return answer.To(call);
        });
    }

    /// The archive's calls that begin so, in order.
    Lines Told(const std::string& call) {
        Lines told;
        for (const std::string& line : talk.Said()) {
            if (line.starts_with("archive." + call)) {
                told.push_back(line);
            }
        }
        return told;
    }

    /// The barcodes that were written, in order.
    Lines Barcodes() { return Told("setobjAttrib(I2& 11,"); }
    static Lines Filed(const Lines& barcodes) {
        Lines written;
        for (const std::string& barcode : barcodes) {
            written.push_back("archive.setobjAttrib(I2& 11, BSTR \"" + barcode + "\")");
        }
        return written;
    }

    Lines Boxes() {
        Lines boxes;
        for (const std::string& line : talk.Said()) {
            if (line.starts_with("box ")) {
                boxes.push_back(line);
            }
        }
        return boxes;
    }

    void TearDown() override {
        talk.Take();  // the tests look at parts of it
        StartedProviderTest::TearDown();
    }
};

TEST_F(Reentry, ADocumentRequestIsCarriedOutRightAfterTheOneInProgress) {
    bool returnedAtOnce = false;
    During(L"PrepareObjectEx", 1, [&] {
        const std::size_t said = talk.Said().size();
        Provider().SaveDocument(L"D2", Metadata(L"1002", L"B2"));
        returnedAtOnce = talk.Said().size() == said;
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_TRUE(returnedAtOnce);
    EXPECT_EQ(Barcodes(), Filed({"B1", "B2"}));
    EXPECT_EQ(Told("MoveToArchive").size(), 2U);
    const Lines said = talk.Said();
    const auto firstMove = std::find_if(said.begin(), said.end(), [](const std::string& line) {
        return line.starts_with("archive.MoveToArchive");
    });
    const auto second = std::find_if(said.begin(), said.end(), [](const std::string& line) {
        return line.find("\"B2\"") != std::string::npos;
    });
    EXPECT_LT(firstMove, second);
}

TEST_F(Reentry, TheFirstOnesArgumentsAreKeptAsTheyWere) {
    Text id = L"D2";
    Variant metadata = Metadata(L"1002", L"B2");
    During(L"MoveToArchive", 1, [&] {
        Provider().SaveDocument(id, metadata);
        id = L"changed";
        metadata = Variant();
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Barcodes(), Filed({"B1", "B2"}));
    EXPECT_EQ(Boxes(), Lines{});
}

TEST_F(Reentry, RequestsKeepTheOrderInWhichTheyCame) {
    During(L"PrepareObjectEx", 1, [&] {
        Provider().SaveDocument(L"D2", Metadata(L"1002", L"B2"));
        Provider().SaveDocument(L"D3", Metadata(L"1003", L"B3"));
        // D4 enters while the second request is carried out and the third one is waiting.
        During(L"AddPostboxFile", 1, [] {});
        During(L"AddPostboxFile", 1, [&] { Provider().SaveDocument(L"D4", Metadata(L"1004", L"B4")); });
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Barcodes(), Filed({"B1", "B2", "B3", "B4"}));
}

TEST_F(Reentry, WhatOnlyReturnsAValueAsksTheHostAndAnswersAtOnce) {
    Text id;
    Text printer;
    Variant info;
    Lines meanwhile;
    During(L"PrepareObjectEx", 1, [&] {
        const std::size_t before = talk.Said().size();
        id = Provider().CreateDocID(Variant());
        printer = Provider().GetVirtualPrinterName();
        info = Provider().GetOpenDocInfo();
        meanwhile.assign(talk.Said().begin() + static_cast<std::ptrdiff_t>(before), talk.Said().end());
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(id, L"20261115011258");
    EXPECT_EQ(printer, L"ELO Drucker");
    EXPECT_EQ(info.UpperBound(), 3);
    EXPECT_EQ(meanwhile, Together({ClientAsked(), ClientAsked(), ClientAsked()}));
    EXPECT_EQ(Told("MoveToArchive").size(), 1U);
}

/// The host opens another client while something is still in progress for the first one.
class AnotherClient : public Reentry {
protected:
    /// From now on a client is open whose archive is on or off; its folders and placeholder are its own.
    void Open(const wchar_t* archiveOn) {
        client = L"C:\\Daten\\Zweiter";
        options = {{100, Variant(archiveOn)},
                   {105, Variant(L"C:\\Zweiter.pdf")},
                   {109, Variant(L"/Zweiter/Buchungen")},
                   {110, Variant(L"/Zweiter/Auswertungen")},
                   {111, Variant(L"/Zweiter/Debi")},
                   {112, Variant(L"/Zweiter/Kredi")}};
        machine.files.insert(L"C:\\Zweiter.pdf");
    }
    void OpenFirst(const wchar_t* archiveOn) {
        options[100] = Variant(archiveOn);
        Provider().GetVirtualPrinterName();
        talk.Take();
    }
    void ExpectAnswers(bool isOn) {
        EXPECT_EQ(Provider().CreateDocID(Variant()), isOn ? L"20261115011258" : L"");
        EXPECT_EQ(Provider().GetVirtualPrinterName(), isOn ? L"ELO Drucker" : L"");
        EXPECT_EQ(Provider().GetOpenDocInfo().IsEmpty(), !isOn);
        hasAnswered_ = true;
    }
    void TearDown() override {
        EXPECT_TRUE(hasAnswered_);
        Reentry::TearDown();
    }

private:
    bool hasAnswered_ = false;
};

TEST_F(AnotherClient, IsAnsweredForWithinTheReadingOfTheFirstOnesSettings) {
    OpenFirst(L"false");
    options[100] = Variant(L"true");
    const auto firstOptions = options;
    const Fake fibu = NewHost("first");
    machine.HandsOut(hostProgId, fibu);
    // The folders for bookings and reports are read by then, the others are not.
    for (const std::int32_t key : {100, 105, 109, 110}) {
        fibu->Next(L"IniLesen", options[key]);
    }
    fibu->Next(L"IniLesen", [&](Call&) {
        Open(L"true");
        ExpectAnswers(true);
        Open(L"false");
        ExpectAnswers(false);
        options = firstOptions;
        return options[111];
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(State().folders.strPfadBuchungen, SampleFolders().strPfadBuchungen);
    EXPECT_EQ(State().folders.strPfadDebi, SampleFolders().strPfadDebi);
    EXPECT_EQ(Barcodes(), Filed({"B1"}));
    EXPECT_EQ(Told("AddPostboxFile").back(),
              R"(archive.AddPostboxFile(BSTR& "C:\Kandora\Platzhalter.pdf") -> I4 1)");
    EXPECT_EQ(Boxes(), Lines{});
    for (const std::string& line : talk.Said()) {
        EXPECT_FALSE(line.starts_with("first.Logout")) << "the first one's object was logged out";
    }
}

TEST_F(AnotherClient, IsAnsweredForDuringARepeatedStart) {
    OpenFirst(L"true");
    During(L"SelectView", 1, [&] {
        Open(L"false");
        ExpectAnswers(false);
    });
    During(L"ReadObjMask", 0, [&] {
        Open(L"true");
        ExpectAnswers(true);
    });
    Provider().InitProvider(Variant());
    EXPECT_TRUE(State().gbMandantArchivAktiv);
    EXPECT_EQ(Boxes(), Lines{});
}

TEST_F(AnotherClient, IsAnsweredForDuringAnOutsideCallersCall) {
    OpenFirst(L"false");
    archive->ForgetAsked();  // it stands for the outside caller's object, too
    OrigELODMS older(Globals().ArchiveSide());
    During(L"GotoId", 1, [&] {
        Open(L"true");
        ExpectAnswers(true);
        Open(L"false");
        ExpectAnswers(false);
    });
    {
        const RequestOrder::Turn turn(Globals().Order());
        older.ShowDokument(7);
    }
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(AnotherClient, IsAnsweredForWhileATracedValueCallsBack) {
    OpenFirst(L"false");
    State().settings.gbDebug = true;
    const Fake value("value");
    value->HasDefaultValue([&](Call&) {
        State().settings.gbDebug = false;
        Open(L"true");
        ExpectAnswers(true);
        Open(L"false");
        ExpectAnswers(false);
        return Variant(L"7.2");
    });
    Provider().FibuVersion(value.AsVariant());
    EXPECT_EQ(Boxes(), Lines{});
}

TEST_F(AnotherClient, IsNotSetUpUnderTheOneInProgress) {
    During(L"PrepareObjectEx", 1, [&] {
        Open(L"");
        ExpectAnswers(false);
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Boxes(), Lines{});
    for (const std::string& line : talk.Said()) {
        EXPECT_EQ(line.find("Inischreiben"), std::string::npos) << line;
        EXPECT_FALSE(line.starts_with("input")) << line;
    }
    EXPECT_EQ(Told("CreateStructure"), Lines{});
}

TEST_F(AnotherClient, DoesNotShowTheArchiveBehindTheBoxThatThereIsNone) {
    OpenFirst(L"false");
    screen.duringBox = [&] {
        Open(L"true");
        ExpectAnswers(true);
    };
    Provider().StartProvider(Variant());
    EXPECT_EQ(Boxes(), Lines{Box(0, "", "Kandora.StartProvider")});
    EXPECT_EQ(Told("BringToFront"), Lines{});
}

/// The archive's session is lost at the moment of the question. The session that is opened for the question
/// is ended again, and the request in progress keeps its own.
TEST_F(Reentry, WhatAsksMeanwhileLogsInForItselfWhenItMust) {
    const Fake second = NewArchive("second");
    machine.HandsOut(archiveProgId, second);
    Lines own;
    During(L"PrepareObjectEx", 1, [&] {
        archive->Next(L"GetEntryId", -1);
        const std::size_t before = talk.Said().size();
        EXPECT_EQ(Provider().GetVirtualPrinterName(), L"ELO Drucker");
        for (std::size_t at = before; at < talk.Said().size(); ++at) {
            if (!talk.Said()[at].starts_with("fibu.")) {
                own.push_back(talk.Said()[at]);
            }
        }
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    ASSERT_GT(own.size(), 8U);
    EXPECT_EQ(own[2], "archive.GetEntryId(I2 -1) -> I4 -1");
    EXPECT_EQ(own[3], "create ELO.professional");
    EXPECT_EQ(own[4], R"(second.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)");
    EXPECT_EQ(own[own.size() - 2], R"(second.Login(BSTR& "LOGOUT", BSTR& "", BSTR& ""))");
    EXPECT_EQ(own.back(), R"(second.EloWindow(BSTR "MINIMIZE"))");
    EXPECT_EQ(Told("MoveToArchive").size(), 1U);
    EXPECT_EQ(Told("Login("), Lines{}) << "neither in nor out";
}

TEST_F(Reentry, WhatAsksMeanwhileTellsOfItsOwnErrorOnly) {
    During(L"AddPostboxFile", 0, [&] {
        options[109] = Variant(L"/fehlt");
        archive->Next(L"LookupIndex", 0);
        EXPECT_EQ(Provider().CreateDocID(Variant()), L"");
        options[109] = Variant(SampleFolders().strPfadBuchungen);
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    const Lines boxes = Boxes();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_NE(boxes[0].find("[5003] Der Pfad '/fehlt'"), std::string::npos) << boxes[0];
    EXPECT_NE(boxes[0].find("CALLSTACK: SOKInterface.EinstellungenLesen <- Kandora.CreateDocID\""),
              std::string::npos)
        << boxes[0];
    EXPECT_NE(boxes[1].find("[5] Fehler beim Hinzufügen des Dokuments: AddPostboxFile=0"), std::string::npos)
        << boxes[1];
}

TEST_F(Reentry, DuringTheStartNothingIsAnswered) {
    NewComponent();
    Text printer = L"?";
    During(L"SelectView", 1, [&] { printer = Provider().GetVirtualPrinterName(); });
    Provider().InitProvider(Variant());
    EXPECT_EQ(printer, L"");
    EXPECT_EQ(Provider().GetVirtualPrinterName(), L"ELO Drucker");
}

TEST_F(Reentry, TheStartCanBeAskedForAgainMeanwhile) {
    During(L"MoveToArchive", 1, [&] {
        SetIni("Archiv", "ArchivAktiv", "False");
        Provider().InitProvider(Variant());
        Provider().StartProvider(Variant());
        EXPECT_TRUE(State().settings.gbArchivAktiv) << "read although a filing is under way";
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_FALSE(State().gbIniOK);
    EXPECT_EQ(Told("GetEntryId(I2 -2)").size(), 1U);
}

TEST_F(Reentry, TheErrorsOfBothAreShownEachWithItsOwnCallStack) {
    During(L"AddPostboxFile", 0, [&] {
        machine.appendFailure = RuntimeError(75);
        State().settings.gbDebug = true;
        Provider().SetDocumentStatus(L"D2", Variant());
        State().settings.gbDebug = false;
        Provider().SaveDocument(L"D3", Variant());
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    const Lines boxes = Boxes();
    ASSERT_EQ(boxes.size(), 3U);
    EXPECT_NE(boxes[0].find("CALLSTACK: Kandora.SetDocumentStatus\""), std::string::npos) << boxes[0];
    EXPECT_NE(boxes[1].find("AddPostboxFile=0"), std::string::npos) << boxes[1];
    EXPECT_TRUE(boxes[1].find("CALLSTACK: ELODMS.") != std::string::npos) << boxes[1];
    EXPECT_NE(boxes[2].find("CALLSTACK: Kandora.SaveDocument\""), std::string::npos) << boxes[2];
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

TEST_F(Reentry, ARequestThatEntersDuringTheErrorBoxIsNotColoured) {
    archive->Next(L"AddPostboxFile", 0);
    screen.duringBox = [&] {
        screen.duringBox = nullptr;
        Provider().SaveDocument(L"D2", Variant());
    };
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    const Lines boxes = Boxes();
    ASSERT_EQ(boxes.size(), 2U);
    EXPECT_NE(boxes[1].find("\"[13] "), std::string::npos) << boxes[1];
}

TEST_F(Reentry, AProviderThatTheHostLetsGoOfMeanwhileStillServesWhatWaits) {
    auto second = std::make_shared<ELOProvider>(Globals());
    During(L"MoveToArchive", 1, [&] {
        second->SaveDocument(L"D2", Metadata(L"1002", L"B2"));
        second.reset();
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Told("MoveToArchive").size(), 2U);
}

TEST_F(Reentry, ABoxThatFailsDoesNotLoseWhatWaits) {
    During(L"AddPostboxFile", 0, [&] { Provider().SaveDocument(L"D2", Metadata(L"1002", L"B2")); });
    screen.duringBox = [&] {
        screen.duringBox = nullptr;
        throw std::bad_alloc();
    };
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Told("MoveToArchive").size(), 1U);
    EXPECT_EQ(Globals().goErrHandler().lOriginalNumber(), 0);
}

}  // namespace
}  // namespace kandora::test
