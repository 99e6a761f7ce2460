#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <functional>

#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"
#include "simulators/common/Files.h"
#include "simulators/common/Unicode.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/Driver.h"
#include "simulators/host/RunReport.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

std::wstring DescribeArray(const VARIANT& variant) {
    if (variant.vt != (VT_ARRAY | VT_VARIANT)) {
        return Describe(variant);
    }
    LONG lowest = -1;
    LONG highest = -1;
    SafeArrayGetLBound(variant.parray, 1, &lowest);
    SafeArrayGetUBound(variant.parray, 1, &highest);
    std::wstring text = L"[" + std::to_wstring(lowest) + L":";
    for (LONG at = lowest; at <= highest; ++at) {
        VARIANT element;
        VariantInit(&element);
        SafeArrayGetElement(variant.parray, &at, &element);
        text += L" " + Describe(element);
        VariantClear(&element);
    }
    return text + L"]";
}

/// Writes down the calls of the vtable and answers as told.
class RecordingProvider final : public Undescribed<kandora::LentComObject<DMSProvider>> {
public:
    std::vector<std::wstring> calls;
    HRESULT code = S_OK;
    std::function<void()> whileSaving;
    std::function<void()> whilePrinting;

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return E_NOTIMPL;
    }

    HRESULT STDMETHODCALLTYPE ShowDocument(BSTR id, VARIANT data) override {
        return Note(L"ShowDocument", id, data);
    }
    HRESULT STDMETHODCALLTYPE PrintDocument(BSTR id, VARIANT data) override {
        if (whilePrinting) {
            whilePrinting();
        }
        return Note(L"PrintDocument", id, data);
    }
    HRESULT STDMETHODCALLTYPE SaveDocument(BSTR id, VARIANT data) override {
        if (whileSaving) {
            whileSaving();
        }
        return Note(L"SaveDocument", id, data);
    }
    HRESULT STDMETHODCALLTYPE StartProvider(VARIANT data) override { return Note(L"StartProvider", data); }
    HRESULT STDMETHODCALLTYPE FibuVersion(VARIANT data) override { return Note(L"FibuVersion", data); }
    HRESULT STDMETHODCALLTYPE CreateDocID(VARIANT data, BSTR* result) override {
        *result = SysAllocString(L"20261120101112");
        return Note(L"CreateDocID", data);
    }
    HRESULT STDMETHODCALLTYPE GetOpenDocInfo(VARIANT* result) override {
        const std::vector<std::wstring> texts{L"OpenDocInfo0", L"Ä", L"0507"};
        result->vt = VT_ARRAY | VT_BSTR;
        result->parray = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(texts.size()));
        for (LONG at = 0; at < static_cast<LONG>(texts.size()); ++at) {
            BSTR text = SysAllocString(texts[static_cast<std::size_t>(at)].c_str());
            SafeArrayPutElement(result->parray, &at, text);
            SysFreeString(text);
        }
        calls.emplace_back(L"GetOpenDocInfo()");
        return code;
    }
    HRESULT STDMETHODCALLTYPE SavePendingDocument(VARIANT info, BSTR id, VARIANT data) override {
        calls.push_back(L"SavePendingDocument(" + DescribeArray(info) + L", " + FromBstr(id) + L", " +
                        DescribeArray(data) + L")");
        return code;
    }
    HRESULT STDMETHODCALLTYPE GetVirtualPrinterName(BSTR* result) override {
        *result = SysAllocString(L"ELO Drucker");
        calls.emplace_back(L"GetVirtualPrinterName()");
        return code;
    }
    HRESULT STDMETHODCALLTYPE InitProvider(VARIANT data, VARIANT*) override {
        return Note(L"InitProvider", data);
    }
    HRESULT STDMETHODCALLTYPE DeleteDocument(BSTR id, VARIANT data) override {
        return Note(L"DeleteDocument", id, data);
    }
    HRESULT STDMETHODCALLTYPE SetDocumentStatus(BSTR id, VARIANT data) override {
        return Note(L"SetDocumentStatus", id, data);
    }
    HRESULT STDMETHODCALLTYPE DocumentChanged(BSTR id, VARIANT data) override {
        return Note(L"DocumentChanged", id, data);
    }

private:
    HRESULT Note(const wchar_t* name, BSTR id, const VARIANT& data) {
        calls.push_back(std::wstring(name) + L"(" + FromBstr(id) + L", " + DescribeArray(data) + L")");
        return code;
    }
    HRESULT Note(const wchar_t* name, const VARIANT& data) {
        calls.push_back(std::wstring(name) + L"(" + DescribeArray(data) + L")");
        return code;
    }
};

class DriverTest : public ::testing::Test {
protected:
    void SetUp() override {
        accounting_.OpenClient(ClientFile::Load(folder_.Write(L"klein.json", smallClient)));
    }

    std::wstring RequestFile() const { return folder_ / L"a.txt"; }

    std::vector<Outcome> Run(const std::wstring& text, const std::filesystem::path& printerFile = {}) {
        std::vector<Outcome> outcomes;
        Driver driver(accounting_, link_, nullptr, printerFile);
        for (const Request& request : ParseRequests(text, RequestFile())) {
            outcomes.push_back(driver.Run(request, RequestFile()));
        }
        return outcomes;
    }

    std::wstring Check(const std::wstring& text) {
        const std::wstring message = FailureOf(
            [&] { CheckRequests(ParseRequests(text, RequestFile()), RequestFile(), accounting_.Client()); });
        return message.starts_with(RequestFile()) ? message.substr(RequestFile().size()) : message;
    }

    kandora::test::TemporaryFolder folder_;
    Accounting accounting_;
    RecordingProvider provider_;
    ProviderLink link_{ComPtr<DMSProvider>(&provider_)};
};

TEST_F(DriverTest, StartUpRequestsCarryTheirText) {
    Run(L"InitProvider Start\nStartProvider\nFibuVersion \"Fibu 2026.1\"");
    EXPECT_THAT(provider_.calls,
                ::testing::ElementsAre(L"InitProvider(BSTR \"Start\")", L"StartProvider(BSTR \"\")",
                                       L"FibuVersion(BSTR \"Fibu 2026.1\")"));
}

TEST_F(DriverTest, MetadataCountFromZeroAndKeepNaturalTypes) {
    Run(L"SaveDocument 20260304080000 10 1 B1");
    EXPECT_THAT(provider_.calls,
                ::testing::ElementsAre(L"SaveDocument(20260304080000, [0: BSTR \"10/1\" BSTR "
                                       L"\"C:\\\\Daten\\\\Mandanten\\\\Klein\" I4 10 I2 1 BSTR \"B1\"])"));
}

TEST_F(DriverTest, NumbersThatAreNoneTravelAsText) {
    Run(L"DeleteDocument 1 007 A");
    EXPECT_THAT(provider_.calls[0], ::testing::HasSubstr(L"BSTR \"007\" BSTR \"A\" BSTR \"\"]"));
}

TEST_F(DriverTest, EveryDocumentRequestReachesItsOwnSlot) {
    Run(L"SaveDocument a 1 1\nDocumentChanged b 1 1\nDeleteDocument c 1 1\nShowDocument d\nPrintDocument e\n"
        L"SetDocumentStatus f 1 1\nSavePendingDocument g 1 1");
    std::vector<std::wstring> starts;
    for (const std::wstring& call : provider_.calls) {
        starts.push_back(call.substr(0, call.find(L' ')));
    }
    EXPECT_THAT(starts, ::testing::ElementsAre(L"SaveDocument(a,", L"DocumentChanged(b,",
                                               L"DeleteDocument(c,", L"ShowDocument(d,", L"PrintDocument(e,",
                                               L"SetDocumentStatus(f,", L"SavePendingDocument([0:"));
}

TEST_F(DriverTest, BookingRequestsTakeIdAndBarcodeFromTheClient) {
    const auto outcomes = Run(L"SaveDocument booking 10 2");
    EXPECT_EQ(outcomes[0].docId, L"20260305080000");
    EXPECT_EQ(outcomes[0].barcode, L"B2");
    EXPECT_THAT(provider_.calls[0], ::testing::StartsWith(L"SaveDocument(20260305080000, "));
    EXPECT_THAT(provider_.calls[0], ::testing::HasSubstr(L"I4 10 I2 2 BSTR \"B2\"]"));
}

TEST_F(DriverTest, ResultsComeBack) {
    const auto outcomes = Run(L"CreateDocID\nGetOpenDocInfo\nGetVirtualPrinterName\nInitProvider");
    EXPECT_EQ(TextOf(outcomes[0].result), L"20261120101112");
    EXPECT_EQ(DescribeOutcome(outcomes[1]),
              L"GetOpenDocInfo -> S_OK, Ergebnis [\"OpenDocInfo0\",\"Ä\",\"0507\"]");
    EXPECT_EQ(TextOf(outcomes[2].result), L"ELO Drucker");
    EXPECT_EQ(outcomes[3].result.Type(), VT_EMPTY);
}

TEST_F(DriverTest, TheAccountingsOwnRequestsAreShownAsTheyStand) {
    const auto outcomes = Run(L"  change 10 1 text=\"a  b\" \r\ncloseclient");
    EXPECT_EQ(DescribeOutcome(outcomes[0]), L"change 10 1 text=\"a  b\"");
    EXPECT_EQ(DescribeOutcome(outcomes[1]), L"closeclient");
    EXPECT_TRUE(provider_.calls.empty());
}

TEST_F(DriverTest, AFailingAnswerIsAnOutcome) {
    provider_.code = RPC_E_DISCONNECTED;
    const auto outcomes = Run(L"SaveDocument booking 10 1");
    EXPECT_EQ(outcomes[0].code, RPC_E_DISCONNECTED);
    EXPECT_THAT(DescribeOutcome(outcomes[0]), ::testing::HasSubstr(L"0x80010108"));
}

TEST_F(DriverTest, ChangesShowInLaterRequestsButNotInTheFile) {
    Run(L"change 10 1 text=\"Neu\" betrag=1.05 barcode=B9\nDocumentChanged booking 10 1");
    EXPECT_EQ(accounting_.Client()->FindBooking(L"10", L"1")->text, L"Neu");
    EXPECT_EQ(accounting_.Client()->FindBooking(L"10", L"1")->betrag, 10500);
    EXPECT_THAT(provider_.calls[0], ::testing::HasSubstr(L"BSTR \"B9\"]"));
    EXPECT_EQ(ReadWholeFile(folder_ / L"klein.json"), smallClient);
}

TEST_F(DriverTest, ACopyKeepsChanges) {
    Run(L"openclient klein.json kopie.json\nchange 10 2 belegNr=12 text=\"Neu \"\"Ä\"\"\" datum=2026-03-06 "
        L"betrag=-1.05 ursprung=0 opNr= barcode=B9 docId=7\nchange 11 1 barcode=B8\noption 100 false");
    ClientFile copy = ClientFile::Load(folder_ / L"kopie.json");
    const Booking* booking = copy.FindBooking(L"12", L"2");
    ASSERT_NE(booking, nullptr);
    EXPECT_EQ(booking->text, L"Neu \"Ä\"");
    EXPECT_EQ(booking->datum, copy.FindBooking(L"10", L"1")->datum + 2);
    EXPECT_EQ(booking->betrag, -10500);
    EXPECT_EQ(booking->ursprung, 0);
    EXPECT_EQ(booking->opNr + L"|" + booking->barcode + L"|" + booking->docId, L"|B9|7");
    EXPECT_EQ(copy.FindBooking(L"11", L"1")->barcode, L"B8");
    EXPECT_EQ(copy.FindBooking(L"10", L"2"), nullptr);
    EXPECT_EQ(copy.Bookings().size(), 3U);
    EXPECT_EQ(copy.Option(600, 100), L"false");
    EXPECT_EQ(ReadWholeFile(folder_ / L"klein.json"), smallClient);
}

TEST_F(DriverTest, CheckingRequestsWritesNothingToACopy) {
    const ClientFile copy = LoadClient(folder_ / L"klein.json", folder_ / L"kopie.json");
    CheckRequests(ParseRequests(L"change 10 1 text=Neu", L""), L"", &copy);
    EXPECT_EQ(ReadWholeFile(folder_ / L"kopie.json"), smallClient);
}

TEST_F(DriverTest, AChangedNumberCountsFromThenOn) {
    Run(L"change 10 1 belegNr=12\nDocumentChanged booking 12 1");
    EXPECT_THAT(provider_.calls[0],
                ::testing::StartsWith(L"DocumentChanged(20260304080000, [0: BSTR \"12/1\""));
    EXPECT_EQ(accounting_.Client()->FindBooking(L"10", L"1"), nullptr);
    EXPECT_EQ(Check(L"change 12 1 belegNr=11"), L", Zeile 1, Spalte 1: Die Buchung 11/1 gibt es schon.");
    EXPECT_EQ(Check(L"change 12 1 belegNr="),
              L", Zeile 1, Spalte 13: Belegnummer und Belegindex können nicht leer sein.");
}

TEST_F(DriverTest, AReportIsPrintedBeforeItIsSent) {
    const std::filesystem::path file = folder_ / L"Drück.pdf";
    std::string seen;
    provider_.whilePrinting = [&] { seen = ReadWholeFile(file); };
    Run(L"PrintDocument 1", file);
    EXPECT_THAT(seen, ::testing::StartsWith("%PDF-1.4"));
    EXPECT_THAT(seen, ::testing::HasSubstr("Mandant Klein"));
    EXPECT_EQ(provider_.calls.size(), 1U);
    Run(L"ShowDocument 1", folder_ / L"andere.pdf");
    EXPECT_FALSE(std::filesystem::exists(folder_ / L"andere.pdf")) << "nothing else is printed";
}

TEST_F(DriverTest, WithoutPrinterFileAReportIsOnlySent) {
    bool wasThere = true;
    provider_.whilePrinting = [&] {
        wasThere = std::distance(std::filesystem::directory_iterator(folder_ / L""), {}) > 1;
    };
    Run(L"PrintDocument 1");
    EXPECT_EQ(provider_.calls.size(), 1U);
    EXPECT_FALSE(wasThere) << "beside the client file nothing is written";
}

TEST_F(DriverTest, AnotherClientIsFoundBesideTheRequestFileAndMayBeCopied) {
    std::string other = smallClient;
    other.replace(other.find("Klein"), 5, "Gross");
    folder_.Write(L"gross.json", other);
    Run(L"openclient gross.json kopie.json\noption 100 false\ncloseclient");
    EXPECT_EQ(accounting_.LastClient(), L"C:\\Daten\\Mandanten\\Gross");
    EXPECT_EQ(ReadWholeFile(folder_ / L"gross.json"), other);
    EXPECT_EQ(ClientFile::Load(folder_ / L"kopie.json").Option(600, 100), L"false");
}

TEST_F(DriverTest, BoxesAreCreditedToTheRequestThatShowedThem) {
    BoxWatcher watcher(GetCurrentThreadId());
    Driver driver(accounting_, link_, &watcher);
    provider_.whileSaving = [] { MessageBoxW(nullptr, L"Fehler 53", L"Kandora", MB_OK); };
    const auto requests = ParseRequests(L"SaveDocument booking 10 1\nShowDocument 1", L"a.txt");
    const Outcome saved = driver.Run(requests[0], L"a.txt");
    const Outcome shown = driver.Run(requests[1], L"a.txt");
    ASSERT_EQ(saved.boxes.size(), 1U);
    EXPECT_EQ(saved.boxes[0].caption, L"Kandora");
    EXPECT_EQ(saved.boxes[0].text, L"Fehler 53");
    EXPECT_TRUE(shown.boxes.empty());
}

TEST_F(DriverTest, MistakesShowBeforeAnythingIsSent) {
    folder_.Write(L"kaputt.json", "{\n  \"mandant\": }");
    EXPECT_EQ(Check(L"InitProvider\nSaveDocument booking 10 1"), L"");
    EXPECT_EQ(
        Check(L"InitProvider\nSaveDocument booking 10 3"),
        L", Zeile 2, Spalte 1: Die Buchung 10/3 gibt es im Mandanten «C:\\Daten\\Mandanten\\Klein» nicht.");
    EXPECT_EQ(Check(L"change 10 1 betrag=viel"),
              L", Zeile 1, Spalte 13: Ein Betrag hat die Form 1234.50, nicht «viel».");
    EXPECT_EQ(Check(L"change 10 1 docId=\nSaveDocument booking 10 1"),
              L", Zeile 2, Spalte 1: Die Buchung 10/1 hat keine Dokument-ID.");
    EXPECT_THAT(Check(L"openclient kaputt.json"),
                ::testing::AllOf(::testing::StartsWith(L", Zeile 1, Spalte 1: "),
                                 ::testing::HasSubstr(L"kaputt.json, Zeile 2, Spalte 14")));
    EXPECT_THAT(Check(L"openclient fehlt.json"), ::testing::HasSubstr(L"fehlt.json"));
    EXPECT_EQ(accounting_.Client()->FindBooking(L"10", L"1")->docId, L"20260304080000")
        << "a check changes nothing";
    EXPECT_TRUE(provider_.calls.empty());
}

TEST_F(DriverTest, AYearSavesEveryBookingAfterTheStart) {
    const auto requests = YearRequests(*accounting_.Client());
    ASSERT_EQ(requests.size(), 5U);
    EXPECT_EQ(requests[0].kind, RequestKind::InitProvider);
    EXPECT_EQ(requests[1].kind, RequestKind::StartProvider);
    EXPECT_EQ(requests[4].kind, RequestKind::SaveDocument);
    EXPECT_EQ(requests[4].belegNr, L"11");
    EXPECT_TRUE(requests[4].fromBooking);
}

TEST_F(DriverTest, TheReportHoldsEveryRequest) {
    auto outcomes = Run(L"GetOpenDocInfo\nSaveDocument booking 10 1\nInitProvider");
    outcomes[1].code = E_FAIL;
    outcomes[1].boxes.push_back({L"Kandora", L"Fehler\nÄ"});
    const auto report = nlohmann::json::parse(RenderReport(outcomes, 1.25));
    EXPECT_EQ(report["seconds"], 1.25);
    ASSERT_EQ(report["requests"].size(), 3U);
    EXPECT_EQ(report["requests"][0]["request"], "GetOpenDocInfo");
    EXPECT_EQ(report["requests"][0]["result"][2], "0507");
    EXPECT_EQ(report["requests"][1]["docId"], "20260304080000");
    EXPECT_EQ(report["requests"][1]["hresult"], static_cast<std::int32_t>(E_FAIL));
    EXPECT_EQ(report["requests"][1]["boxes"][0]["caption"], "Kandora");
    EXPECT_EQ(report["requests"][1]["boxes"][0]["text"], "Fehler\nÄ");
    EXPECT_TRUE(report["requests"][2]["result"].is_null());
}

}  // namespace

}  // namespace kandora::simulators
