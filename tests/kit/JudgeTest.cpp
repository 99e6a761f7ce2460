#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "tests/kit/PlayedProgram.h"
#include "tools/kit/Judge.h"

namespace kandora::kit_tests {

namespace {

using kit::CaseEnd;
using kit::Judge;
using kit::Outcome;
using kit::PlannedTest;

kit::Plan PlanWithRules() {
    kit::Plan plan;
    plan.fault = R"(\bwine: Unhandled|Assertion (?:failed|'.*' failed)|^Backtrace:)";
    plan.counts = {{"failed calls", R"(^fault sweep: (\d+) cases)"}};
    return plan;
}

class Judging : public testing::Test {
protected:
    [[nodiscard]] Outcome Of(const std::string& output, bool hasEndedWell = true) const {
        return judge_.Of(test_, output, hasEndedWell);
    }
    void ExpectPassed(const std::string& output) const {
        const Outcome outcome = Of(output);
        EXPECT_TRUE(outcome.HasPassed()) << Utf8FromText(outcome.Told());
    }
    void ExpectFailed(const std::string& output, const std::string& complaint,
                      bool hasEndedWell = true) const {
        const Outcome outcome = Of(output, hasEndedWell);
        EXPECT_FALSE(outcome.HasPassed());
        EXPECT_NE(Utf8FromText(outcome.Told()).find(complaint), std::string::npos)
            << Utf8FromText(outcome.Told());
    }
    static std::string With(std::string text, const std::string& what, const std::string& by) {
        return text.replace(text.find(what), what.size(), by);
    }

    PlannedTest test_ = [] {
        PlannedTest test;
        test.cases = 3;
        return test;
    }();
    Judge judge_{PlanWithRules()};
};

TEST_F(Judging, PassesWhatRanAllItsCases) {
    ExpectPassed(Said(3));
    EXPECT_EQ(Of(Said(3)).Names(CaseEnd::Passed),
              (std::vector<std::string>{"A.Case0", "A.Case1", "A.Case2"}));
}

TEST_F(Judging, ReadsWindowsLineEnds) {
    std::string said = Said(3);
    for (std::size_t at = said.find('\n'); at != std::string::npos; at = said.find('\n', at + 2)) {
        said.insert(at, 1, '\r');
    }
    ExpectPassed(said);
}

TEST_F(Judging, FindsCasesBehindTextWithoutALineEnd) {
    ExpectPassed(With(Said(3), "[       OK ] A.Case1", "halfway[       OK ] A.Case1"));
}

TEST_F(Judging, FailsWhatIsCutOffAnywhere) {
    const std::string whole = Said(3);
    for (std::size_t length = 0; length < whole.size() - 2; ++length) {
        EXPECT_FALSE(Of(whole.substr(0, length)).HasPassed()) << length;
    }
}

TEST_F(Judging, FailsWhatSaysNothing) {
    ExpectFailed("", "es zählt seine Fälle nicht auf; seine Schlusszeile fehlt");
}

TEST_F(Judging, FailsWhatHasNoCase) {
    ExpectFailed(Said(0), "es hat keinen Fall");
}

TEST_F(Judging, FailsWhatListsMoreThanItRuns) {
    ExpectFailed(With(Said(3), "Running 3", "Running 4"), "nur 3 der 4 aufgezählten Fälle liefen");
}

TEST_F(Judging, FailsWhatHasFewerCasesThanItIsKnownToHave) {
    ExpectFailed(Said(2), "2 Fälle bestanden, 3 müssten es sein");
    ExpectFailed(Said(4), "4 Fälle bestanden, 3 müssten es sein");
}

TEST_F(Judging, FailsAFailedCase) {
    ExpectFailed(With(Said(3), "[       OK ] A.Case1", "[  FAILED  ] A.Case1"), "gescheitert: A.Case1");
    ExpectFailed(With(Said(3), "[       OK ] A.Case1 (", "[  FAILED  ] A.Case1, where GetParam() = 3 ("),
                 "gescheitert: A.Case1");
}

TEST_F(Judging, FailsClosingLinesThatCountOtherwise) {
    ExpectFailed(With(Said(3), "PASSED  ] 3", "PASSED  ] 2"),
                 "seine Schlusszeilen zählen 3 Fälle und 2 bestandene");
    ExpectFailed(With(Said(3), "] 3 tests from", "] 2 tests from"), "seine Schlusszeilen zählen 2 Fälle");
}

TEST_F(Judging, FailsCasesThatRunTwiceOrHaveNoEndOrNoBeginning) {
    ExpectFailed(With(Said(3), "[ RUN      ] A.Case1", "[ RUN      ] A.Case0"), "A.Case0 lief zweimal");
    ExpectFailed(With(Said(3), "[       OK ] A.Case1 (7 ms)\n", ""), "A.Case1 kam nicht zum Ende");
    ExpectFailed(With(Said(3), "[ RUN      ] A.Case1\n", ""), "A.Case1 endete, ohne begonnen zu haben");
    ExpectFailed(Said(3) + Said(3), "es begann zweimal");
}

TEST_F(Judging, FailsAFaultInTheOutput) {
    ExpectFailed("wine: Unhandled page fault on write access\n" + Said(3),
                 "ein Absturz: wine: Unhandled page fault");
    ExpectFailed(Said(3) + "Assertion 'x > 0' failed\n", "ein Absturz");
    ExpectFailed(With(Said(3), "[       OK ] A.Case1", "Backtrace:\n[       OK ] A.Case1"), "ein Absturz");
    ExpectPassed("a Backtrace: of nothing\n" + Said(3));
}

TEST_F(Judging, FailsAnEndWithAnError) {
    ExpectFailed(Said(3), "es endete mit einem Fehler", false);
}

TEST_F(Judging, ExcusesOnlyCasesThatAKitCannotRun) {
    const std::string skipped =
        With(With(Said(3), "[       OK ] A.Case1", "[  SKIPPED ] A.Case1"), "PASSED  ] 3", "PASSED  ] 2");
    ExpectFailed(skipped, "2 Fälle bestanden, 3 müssten es sein (ausgelassen: A.Case1)");
    test_.excused = {"A.Case1"};
    ExpectPassed(skipped);
    test_.excused = {"A.Case2"};
    ExpectFailed(skipped, "2 Fälle bestanden");
}

TEST_F(Judging, AddsUpWhatLinesCount) {
    test_.counts = {{"failed calls", 12}};
    const std::string counted = "fault sweep: 5 cases, all well\nfault sweep: 7 cases, all well\n" + Said(3);
    ExpectPassed(counted);
    EXPECT_EQ(Of(counted).counts.at("failed calls"), 12);
    ExpectFailed(Said(3), "gezählt wurde nichts, sein müsste es 12 failed calls");
    ExpectFailed("fault sweep: 5 cases\n" + Said(3), "gezählt wurde 5 failed calls");
}

TEST_F(Judging, HoldsEverythingForAProgramThatACaseStarts) {
    const auto around = [](const std::string& inner) {
        std::string said = Said(3);
        return said.insert(said.find("[       OK ] A.Case1"), inner);
    };
    std::string inner = Said(2);
    for (std::size_t at = inner.find("A.Case"); at != std::string::npos; at = inner.find("A.Case", at + 6)) {
        inner[at] = 'B';
    }
    ExpectPassed(around(inner));
    ExpectFailed(around(With(inner, "[       OK ] B.Case1", "[  FAILED  ] B.Case1")),
                 "in einem Programm, das A.Case1 gestartet hat: ");
    ExpectFailed(around(inner.substr(0, inner.find("[=========="
                                                   "] 2"))),
                 "in einem Programm, das A.Case1 gestartet hat: ");
}

TEST_F(Judging, StandsLongLines) {
    ExpectPassed(std::string(1'000'000, 'x') + "\n" + Said(3));
}

TEST_F(Judging, NamesOnlyTheFirstFailures) {
    test_.cases = 9;
    std::string said = Said(9);
    for (std::size_t at = said.find("[       OK ]"); at != std::string::npos;
         at = said.find("[       OK ]")) {
        said.replace(at, 12, "[  FAILED  ]");
    }
    ExpectFailed(said, "A.Case4 und 4 weitere");
}

TEST(CourseOfRun, TellsHowFarAProgramIs) {
    const std::string said = Said(3);
    EXPECT_EQ(kit::CourseOf("").listed, 0);
    const kit::CourseOfRun course = kit::CourseOf(said.substr(0, said.find("[       OK ] A.Case1")));
    EXPECT_EQ(course.listed, 3);
    EXPECT_EQ(course.begun, 2);
    EXPECT_EQ(course.current, "A.Case1");
}

}  // namespace

}  // namespace kandora::kit_tests
