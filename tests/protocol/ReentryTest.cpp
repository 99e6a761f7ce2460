#include <algorithm>

#include "tests/protocol/ProviderTest.h"

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
        // Enters while the second one is carried out, when the third one waits already.
        During(L"AddPostboxFile", 1, [] {});
        During(L"AddPostboxFile", 1, [&] { Provider().SaveDocument(L"D4", Metadata(L"1004", L"B4")); });
    });
    Provider().SaveDocument(L"D1", Metadata(L"1001", L"B1"));
    EXPECT_EQ(Barcodes(), Filed({"B1", "B2", "B3", "B4"}));
}

TEST_F(Reentry, WhatOnlyReturnsAValueAnswersAtOnceWithoutAskingTheHost) {
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
    EXPECT_EQ(meanwhile, Lines{});
    EXPECT_EQ(Told("MoveToArchive").size(), 1U);
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
