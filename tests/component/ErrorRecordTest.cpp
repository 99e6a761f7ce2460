#include "interfaces/CodePages.h"
#include "tests/component/Host.h"

#include <gtest/gtest.h>

#include <thread>

#include "Kandora.h"

// What an outside caller's errors leave in the thread's record: the next error box shows them, and nothing
// else clears them. There are no settings and no archive, so that every call fails.
namespace kandora::component_tests {
namespace {

using namespace std::literals;

constexpr HRESULT invalidCall = static_cast<HRESULT>(0x800A0005);
constexpr HRESULT objectMissing = static_cast<HRESULT>(0x800A005B);

/// The box of an InitProvider that cannot read its settings. `numbers` stands in its brackets, and `before`
/// are the frames of earlier errors.
std::vector<ShownBox> Box(const std::wstring& numbers, const std::wstring& before = {}) {
    return {{L"Kandora", L"[" + numbers +
                             L"] Der Wert hat nicht den erwarteten Typ | ON LINE 0 | CALLSTACK: " + before +
                             L"MGlobals.IniLesen <- Kandora.InitProvider"}};
}

class ErrorRecord : public testing::Test {
protected:
    [[nodiscard]] std::vector<Answer> Play(const std::vector<std::wstring>& requests) const {
        return installation_.Play(requests);
    }

private:
    Installation installation_;
};

/// Operations of the older client that tell nobody of their errors, and the frames that they leave.
struct SilentOperation {
    const wchar_t* call;
    const wchar_t* frames;
};
const std::vector<SilentOperation> silentOperations{
    {L"oElo", L"CArchiv.AnmeldenAnElo"},
    {L"ShowDokument 7", L"CArchiv.AnmeldenAnElo <- CArchiv.ShowDokument"},
    {L"IsDokumentVorhanden 7", L"CArchiv.AnmeldenAnElo <- CArchiv.IsDokumentVorhanden"},
    {L"GetUnverknuepfte", L"CArchiv.AnmeldenAnElo <- CArchiv.GetUnverknuepfte"},
    {L"GetParentFolderId 7", L"CArchiv.AnmeldenAnElo <- CArchiv.GetParentFolderId"},
    {L"CurrentRegisterDate 7", L"CArchiv.AnmeldenAnElo <- CArchiv.CurrentRegisterDate"},
    {L"LoescheDokument 7", L"CArchiv.AnmeldenAnElo <- CArchiv.LoescheDokument"},
    {L"AddDokumentToMassenversaendeZA C:\\fehlt.pdf", L"CArchiv.AddDokumentToMassenversaendeZA"},
    {L"AddDokument C:\\fehlt.pdf", L"CArchiv.AddDokument"},
};

TEST_F(ErrorRecord, KeepsASilentErrorForTheNextBoxAndNoLonger) {
    std::vector<std::wstring> requests;
    for (const SilentOperation& operation : silentOperations) {
        requests.push_back(L"outside OrigELODMS "s + operation.call);
        requests.emplace_back(L"InitProvider");
        requests.emplace_back(L"InitProvider");
    }
    const std::vector<Answer> answers = Play(requests);
    for (std::size_t at = 0; at < silentOperations.size(); ++at) {
        const Answer& call = answers[3 * at];
        EXPECT_EQ(call.code, S_OK) << call.request;
        EXPECT_EQ(answers[3 * at + 1].boxes, Box(L"13 (5) ", silentOperations[at].frames + L" <- "s))
            << call.request;
        EXPECT_EQ(answers[3 * at + 2].boxes, Box(L"13")) << "the box before has shown everything";
    }
}

TEST_F(ErrorRecord, KeepsARaisedErrorToo) {
    const std::vector<Answer> answers =
        Play({L"outside ELODMS CheckLogin", L"outside OrigELODMS PrintDokument 7", L"outside ELODMS oElo",
              L"outside OrigELODMS LoescheVerknuepfung 7", L"InitProvider", L"outside ELODMS CheckLogin"});
    std::string frames = "ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin";
    EXPECT_EQ(answers[0].code, invalidCall);
    EXPECT_EQ(answers[0].result, frames);
    frames += " <- CArchiv.AnmeldenAnElo <- CArchiv.PrintDokument";
    EXPECT_EQ(answers[1].code, objectMissing);
    EXPECT_EQ(answers[1].result, frames) << "the frames of both";
    frames += " <- ELODMS.AnmeldenAnElo <- ELODMS.oElo";
    EXPECT_EQ(answers[2].code, invalidCall);
    EXPECT_EQ(answers[2].result, frames);
    frames += " <- CArchiv.AnmeldenAnElo <- CArchiv.LoescheVerknuepfung";
    EXPECT_EQ(answers[3].code, objectMissing);
    EXPECT_EQ(answers[3].result, frames);
    EXPECT_EQ(answers[4].boxes, Box(L"13 (5) ", TextFromUtf8(frames + " <- ")));
    EXPECT_EQ(answers[5].result, "ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin");
}

/// Nothing in between shows or raises an error: neither requests that have none, nor errors that are ignored
/// by design, nor the ends of the clients, whose logging out fails here.
TEST_F(ErrorRecord, IsLeftAloneByEverythingElse) {
    const std::vector<Answer> answers = Play(
        {L"outside OrigELODMS AddDokument C:\\fehlt.pdf", L"FibuVersion", L"StartProvider", L"CreateDocID",
         L"SaveDocument", L"outside ELODMS ELOSichtbar", L"outside SOKInterface EinstellungenLesen",
         L"outside SOKInterface GetBelegDaten 1001 1", L"outside cUser bLoggedOn", L"InitProvider"});
    EXPECT_EQ(answers[7].code, objectMissing);
    EXPECT_EQ(answers[7].result, "") << "reading a booking has no frame of its own";
    EXPECT_EQ(answers[9].boxes, Box(L"13 (5) ", L"CArchiv.AddDokument <- "));
}

TEST(ErrorRecords, BelongToTheirThreads) {
    const auto source = [] {
        const auto client = Component::Built().Create<IDispatch>(CLSID_ELODMS, IID_IDispatch);
        return Call(client.Get(), L"CheckLogin").source;
    };
    const std::wstring frames = L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin";
    const Apartment apartment;
    EXPECT_EQ(source(), frames);
    std::thread([&] {
        const Apartment other;
        EXPECT_EQ(source(), frames);
    }).join();
    EXPECT_EQ(source(), frames + L" <- " + frames);
}

}  // namespace
}  // namespace kandora::component_tests
