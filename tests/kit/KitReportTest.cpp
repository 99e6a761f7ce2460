#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"
#include "tools/kit/KitReport.h"
#include "tools/kit/Wording.h"

namespace kandora::kit_tests {

namespace {

using kit::Ending;
using kit::Result;
using kit::Verdict;

kit::Plan SomePlan() {
    kit::Plan plan;
    plan.version = L"1.2.3";
    plan.architecture = L"x86";
    return plan;
}

Result ResultOf(const Text& name, Verdict verdict, const Text& told = {}) {
    return {name,
            verdict,
            told,
            verdict == Verdict::LeftOut ? 0 : 3,
            {},
            1.25,
            verdict == Verdict::Failed ? "warum\n" : ""};
}

class ReportOfKit : public testing::Test {
protected:
    [[nodiscard]] nlohmann::json Json() const {
        const std::string text = report_.Text8();
        const std::string mark = kit::KitReport::jsonMark;
        return nlohmann::json::parse(text.substr(text.find(mark) + mark.size()));
    }

    kit::KitReport report_{SomePlan(), {{L"Windows", L"10.0"}}};
};

TEST_F(ReportOfKit, IsIncompleteWhileNothingRan) {
    EXPECT_EQ(report_.ExitCode(), 2);
    report_.Add(ResultOf(L"a", Verdict::LeftOut, L"warum nicht"));
    EXPECT_EQ(report_.ExitCode(), 2);
}

TEST_F(ReportOfKit, EndsWithACode) {
    report_.Add(ResultOf(L"a", Verdict::Passed));
    EXPECT_EQ(report_.ExitCode(), 0);
    report_.Add(ResultOf(L"b", Verdict::LeftOut));
    EXPECT_EQ(report_.ExitCode(), 0);
    report_.Add(ResultOf(L"c", Verdict::Failed));
    EXPECT_EQ(report_.ExitCode(), 1);
    report_.End(Ending::Interrupted);
    EXPECT_EQ(report_.ExitCode(), 2);
    report_.End(Ending::NotGivenBack);
    EXPECT_EQ(report_.ExitCode(), 2);
}

TEST_F(ReportOfKit, SumsUp) {
    report_.Add(ResultOf(L"a", Verdict::Passed));
    report_.Add(ResultOf(L"b", Verdict::Failed));
    report_.Add(ResultOf(L"c", Verdict::LeftOut));
    EXPECT_TRUE(
        report_.Summary().starts_with(L"Ergebnis: 1 bestanden, 1 gescheitert, 1 ausgelassen; 6 Fälle; 0:0"))
        << Utf8FromText(report_.Summary());
    report_.End(Ending::Interrupted);
    EXPECT_TRUE(report_.Summary().ends_with(L"; abgebrochen"));
}

TEST_F(ReportOfKit, TellsEachResultInOneLine) {
    EXPECT_EQ(kit::LineOf(ResultOf(L"unit_tests", Verdict::Passed)),
              L"bestanden   unit_tests                   3 Fälle     1.2 s");
    EXPECT_EQ(kit::LineOf(ResultOf(L"unit_tests", Verdict::Failed, L"weil")),
              L"GESCHEITERT unit_tests                   3 Fälle     1.2 s: weil");
    EXPECT_EQ(kit::LineOf(ResultOf(L"unit_tests", Verdict::LeftOut, L"weil")),
              L"ausgelassen unit_tests                   weil");
}

TEST_F(ReportOfKit, IsOneTextWithAPartForPrograms) {
    report_.Add(ResultOf(L"gut", Verdict::Passed));
    report_.Add(ResultOf(L"schlecht", Verdict::Failed, L"ü"));
    report_.Remark(L"Etwas war.");
    const std::string text = report_.Text8();
    EXPECT_TRUE(text.starts_with("\xEF\xBB\xBFPrüfbericht Kandora 1.2.3 (x86)\r\n"));
    EXPECT_NE(text.find("\r\nEtwas war.\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\n==== schlecht: Protokoll ====\r\nwarum\r\n"), std::string::npos);
    EXPECT_EQ(text.find("gut: Protokoll"), std::string::npos);
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        EXPECT_EQ(text[at - 1], '\r');
    }
    const nlohmann::json json = Json();
    EXPECT_EQ(json["version"], "1.2.3");
    EXPECT_EQ(json["code"], 1);
    EXPECT_EQ(json["ende"], "vollständig");
    EXPECT_EQ(json["windows"]["Windows"], "10.0");
    EXPECT_EQ(json["ergebnisse"][1]["ergebnis"], "gescheitert");
    EXPECT_EQ(json["ergebnisse"][1]["hinweis"], "ü");
}

TEST_F(ReportOfKit, StandsOutputThatIsNoText) {
    Result result = ResultOf(L"a", Verdict::Failed, L"warum");
    result.log = "gr\xFC\xDF"
                 "e\ngrüsse\n" +
                 std::string(1'000'000, 'x');
    report_.Add(result);
    const std::string text = report_.Text8();
    EXPECT_LT(text.size(), 300'000U);
    EXPECT_NE(text.find("grüße\r\ngrüsse\r\n"), std::string::npos);
    EXPECT_EQ(Json()["ergebnisse"][0]["name"], "a");
}

TEST(WordsOfKit, TellTimesAndCodes) {
    EXPECT_EQ(kit::RoughTime(90), L"etwa 90 Sekunden");
    EXPECT_EQ(kit::RoughTime(150), L"etwa 3 Minuten");
    EXPECT_EQ(kit::ClockTime(67.4), L"1:07");
    EXPECT_EQ(kit::ClockTime(3667), L"1:01:07");
    EXPECT_EQ(kit::ExitCodeText(3), L"3");
    EXPECT_EQ(kit::ExitCodeText(0xC0000005), L"0xC0000005 (Zugriff auf fremden Speicher)");
    EXPECT_EQ(kit::Counted(1, L"Fall", L"Fälle"), L"1 Fall");
}

TEST(FactsOfKit, NameWindowsAndItsLibraries) {
    std::map<Text, Text> facts;
    for (const kit::Fact& fact : kit::FactsOfMachine()) {
        EXPECT_FALSE(fact.value.empty()) << Utf8FromText(fact.name);
        facts[fact.name] = fact.value;
    }
    EXPECT_TRUE(iswdigit(facts[L"Windows"].front()));
    for (const wchar_t* const library : {L"ntdll.dll", L"ole32.dll", L"oleaut32.dll", L"rpcrt4.dll"}) {
        EXPECT_NE(facts[library].find(L'.'), Text::npos) << Utf8FromText(library);
    }
    EXPECT_EQ(facts.contains(L"Wine"), !kit::WineVersion().empty());
}

}  // namespace

}  // namespace kandora::kit_tests
