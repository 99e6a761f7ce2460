#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "interfaces/CodePages.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Files.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/common/tests/LateBoundClient.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;

class CallScriptTest : public ArchiveFixture {
protected:
    void Use(std::string text) {
        script_ =
            CallScript::Parse(JsonFile::Parse(L"probe.json", std::move(text)), ArchiveObject::Members());
        program_.script = &script_;
    }

    static std::wstring MessageFor(std::string text) {
        return FailureOf([&] {
            CallScript::Parse(JsonFile::Parse(L"probe.json", std::move(text)), ArchiveObject::Members());
        });
    }

    std::vector<std::int32_t> LookUp(int times, const wchar_t* path = L"¶A") {
        std::vector<std::int32_t> answers;
        for (int call = 0; call < times; ++call) {
            answers.push_back(client_.Call(L"LookupIndex", {Value::Text(path)}).Long());
        }
        return answers;
    }

    CallScript script_;
    LateBoundClient client_ = LoggedOnClient();
};

TEST_F(CallScriptTest, AnswersEveryCallOrTheNthOrAllFromTheNth) {
    Use(R"([{"call": "lookupindex", "answer": 7}])");
    EXPECT_THAT(LookUp(2), ElementsAre(7, 7));
    Use(R"([{"call": "LookupIndex", "nth": 2, "answer": 7}])");
    EXPECT_THAT(LookUp(3), ElementsAre(0, 7, 0));
    Use(R"([{"call": "LookupIndex", "from": 2, "answer": 7}])");
    EXPECT_THAT(LookUp(3), ElementsAre(0, 7, 7));
}

TEST_F(CallScriptTest, CountsOverAllClients) {
    Use(R"([{"call": "LookupIndex", "nth": 2, "answer": 7}])");
    const LateBoundClient other = LoggedOnClient();
    EXPECT_EQ(other.Call(L"LookupIndex", {Value::Text(L"¶A")}).Long(), 0);
    EXPECT_THAT(LookUp(2), ElementsAre(7, 0));
}

TEST_F(CallScriptTest, ConcernsOnlyCallsWithTheseFirstArguments) {
    Use(R"([{"call": "LookupIndex", "args": ["¶Müller"], "nth": 1, "answer": 7},
            {"call": "PrepareObjectEx", "args": [0, 254], "answer": -3}])");
    EXPECT_THAT(LookUp(1), ElementsAre(0));
    EXPECT_THAT(LookUp(2, L"¶Müller"), ElementsAre(7, 0));
    EXPECT_EQ(client_.Call(L"PrepareObjectEx", {Value::Long(0), Value::Short(0), Value::Long(2)}).Long(), 1);
    EXPECT_EQ(client_.Call(L"PrepareObjectEx", {Value::Long(0), Value::Short(254), Value::Long(2)}).Long(),
              -3);
}

TEST_F(CallScriptTest, AnswersValuesOfEveryKindWithoutMakingTheCall) {
    Use(R"([{"call": "CreateStructure", "nth": 1, "answer": "-3"}, {"call": "CreateStructure", "nth": 2, "answer": null},
            {"call": "CreateStructure", "nth": 3, "answer": true}, {"call": "CreateStructure", "nth": 4, "answer": 1.5}])");
    std::vector<VARTYPE> types;
    for (int call = 0; call < 4; ++call) {
        types.push_back(client_.Call(L"CreateStructure", {Value::Text(L"¶A"), Value::Short(0)}).value.Type());
    }
    EXPECT_THAT(types, ElementsAre(VT_BSTR, VT_NULL, VT_BOOL, VT_R8));
    EXPECT_EQ(store_.FolderCount(), 0U);
}

TEST_F(CallScriptTest, FailsCallsAndAssignments) {
    Use(R"([{"call": "ObjShort", "fail": {"number": 1234, "description": "Ungültig", "source": "Archiv"}},
            {"call": "GetEntryId", "hresult": "0x800706BA"}])");
    client_.Call(L"PrepareObjectEx", {Value::Long(0), Value::Short(254), Value::Long(2)});
    const CallResult failed = client_.Put(L"ObjShort", Value::Text(L"x"));
    EXPECT_EQ(failed.code, DISP_E_EXCEPTION);
    EXPECT_EQ(static_cast<std::uint32_t>(failed.number), 0x800A04D2U);
    EXPECT_EQ(failed.description, L"Ungültig");
    EXPECT_EQ(failed.source, L"Archiv");
    EXPECT_EQ(client_.Call(L"GetEntryId", {Value::Short(-1)}).code, static_cast<HRESULT>(0x800706BA));
}

TEST_F(CallScriptTest, AppliesBeforeTheLoginIsChecked) {
    Use(R"([{"call": "Login", "nth": 1, "answer": -1}, {"call": "SelectView", "answer": 0}])");
    const LateBoundClient stranger = NewClient();
    const auto login = [&] {
        return stranger
            .Call(L"Login", {Value::Text(L"Kandora"), Value::Text(L"geheim"), Value::Text(L"Muster-Archiv")})
            .Long();
    };
    EXPECT_EQ(login(), -1);
    EXPECT_EQ(login(), 0);
    EXPECT_EQ(stranger.Call(L"SelectView", {Value::Short(3)}).Long(), 0);
}

TEST_F(CallScriptTest, LetsTheFirstActionCountAndAddsUpDelays) {
    Use(R"([{"call": "LookupIndex", "delayMs": 1}, {"call": "LookupIndex", "answer": 7},
            {"call": "LookupIndex", "answer": 8}, {"call": "LookupIndex", "delayMs": 2}])");
    const std::vector<VARIANT> none;
    const DISPPARAMS parameters{};
    Arguments arguments(parameters);
    const std::wstring member = L"LookupIndex";
    const CallScript::Decision decision = script_.Decide(Call{member, CallKind::Method, arguments});
    EXPECT_EQ(decision.delay.count(), 3);
    EXPECT_EQ(std::get<CallScript::Answer>(decision.action).value.Get().lVal, 7);
}

TEST_F(CallScriptTest, ShowsThatACallIsThere) {
    const std::wstring begun = directory_ / L"Begonnen";
    std::string path = Utf8FromText(begun);
    std::ranges::replace(path, '\\', '/');
    Use(R"([{"call": "LookupIndex", "nth": 2, "answer": 7, "begun": ")" + path + R"("}])");
    EXPECT_THAT(LookUp(1), ElementsAre(0));
    EXPECT_FALSE(IsFile(begun));
    EXPECT_THAT(LookUp(1), ElementsAre(7));
    EXPECT_TRUE(IsFile(begun));
}

TEST_F(CallScriptTest, WaitsUntilAFileIsThere) {
    const std::wstring there = directory_ / L"Weiter";
    std::string path = Utf8FromText(there);
    std::ranges::replace(path, '\\', '/');
    Use(R"([{"call": "LookupIndex", "until": ")" + path + R"("}])");
    std::atomic<bool> isThere = false;
    std::thread other([&] {
        isThere = true;
        directory_.Write(L"Weiter", "");
    });
    EXPECT_THAT(LookUp(1), ElementsAre(0));
    EXPECT_TRUE(isThere) << "it went on before";
    other.join();
}

TEST_F(CallScriptTest, DiesBeforeOrAfterTheCall) {
    Use(R"([{"call": "CreateStructure", "nth": 1, "die": "before"}, {"call": "CreateStructure", "nth": 2, "die": "after"}])");
    EXPECT_EQ(client_.Call(L"CreateStructure", {Value::Text(L"¶A"), Value::Short(0)}).code, E_UNEXPECTED);
    EXPECT_EQ(store_.FolderCount(), 0U);
    EXPECT_EQ(client_.Call(L"CreateStructure", {Value::Text(L"¶A"), Value::Short(0)}).code, E_UNEXPECTED);
    EXPECT_EQ(store_.FolderCount(), 1U);
}

TEST_F(CallScriptTest, ComplainsWithLineAndColumn) {
    EXPECT_EQ(MessageFor("{}"),
              L"probe.json, Zeile 1, Spalte 1: Hier muss eine Liste in eckigen Klammern stehen.");
    EXPECT_EQ(MessageFor("[\n  {\"call\": \"Login\", \"antwort\": 1}]"),
              L"probe.json, Zeile 2, Spalte 21: Unbekannte Angabe «antwort».");
    EXPECT_EQ(MessageFor("[{\"answer\": 1}]"), L"probe.json, Zeile 1, Spalte 2: Die Angabe «call» fehlt.");
    EXPECT_EQ(MessageFor("[{\"call\": \"Logout\", \"answer\": 1}]"),
              L"probe.json, Zeile 1, Spalte 11: Das Archiv hat kein Mitglied «Logout».");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\"}]"), L"probe.json, Zeile 1, Spalte 2: Eine Regel braucht "
                                                     L"genau eine der Angaben «answer», «fail», «hresult», "
                                                     L"«delayMs», «until», «die».");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\", \"answer\": 1, \"die\": \"after\"}]").substr(0, 29),
              L"probe.json, Zeile 1, Spalte 2");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\", \"nth\": 0, \"answer\": 1}]"),
              L"probe.json, Zeile 1, Spalte 27: Die Zahl muss zwischen 1 und 2147483647 liegen.");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\", \"nth\": 1, \"from\": 2, \"answer\": 1}]"),
              L"probe.json, Zeile 1, Spalte 30: «nth» und «from» schliessen sich aus.");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\",\n\"hresult\": \"0x5\"}]"),
              L"probe.json, Zeile 2, Spalte 12: Hier muss ein Fehlercode wie \"0x800706BA\" stehen.");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\",\n\"die\": \"danach\"}]"),
              L"probe.json, Zeile 2, Spalte 8: Hier muss \"before\" oder \"after\" stehen.");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\", \"fail\": {\"nummer\": 5}}]"),
              L"probe.json, Zeile 1, Spalte 29: Unbekannte Angabe «nummer».");
    EXPECT_EQ(MessageFor("[{\"call\": \"Login\", \"answer\": [1]}]"),
              L"probe.json, Zeile 1, Spalte 30: Hier muss ein Text in Anführungszeichen stehen.");
}

}  // namespace

}  // namespace kandora::simulators
