#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"
#include "tools/kit/Examination.h"
#include "tools/kit/KitCommandLine.h"
#include "tools/kit/Plan.h"

namespace kandora::kit_tests {

namespace {

const std::string plan = R"json({
    "version": "1.2.3", "architecture": "x86",
    "tests": [{"name": "unit_tests", "area": "unit", "program": "tests/unit/unit_tests.exe", "arguments": ["--ja"],
               "environment": {"OANOCACHE": "1"}, "needs": "rights", "cases": 278, "counts": {"failed calls": 5},
               "excused": ["A.B"], "seconds": 8, "limit": 600}],
    "omitted": [{"name": "year_test", "reason": "braucht Python"}],
    "fault": "x", "counts": [{"what": "failed calls", "pattern": "y"}], "classKeys": ["CLSID\\{1}"],
    "settings": [{"section": "Maske", "key": "Debi", "mask": "Debitoren"}],
    "package": {"first": "a", "firstProduct": "b", "next": "c", "nextProduct": "d", "upgradeCode": "e", "nextVersion": "f"},
    "partSeconds": {"jahr": 45}})json";

std::string With(const std::string& what, const std::string& by) {
    std::string text = plan;
    return text.replace(text.find(what), what.size(), by);
}

void ExpectRefused(const std::string& text, const Text& complaint) {
    try {
        kit::PlanFrom(text);
        ADD_FAILURE() << "taken for a plan";
    } catch (const kit::KitFailure& failure) {
        EXPECT_TRUE(failure.Message().starts_with(complaint)) << Utf8FromText(failure.Message());
    }
}

TEST(KitPlan, IsReadAsItIsWritten) {
    const kit::Plan read = kit::PlanFrom(plan);
    EXPECT_EQ(read.version, L"1.2.3");
    ASSERT_EQ(read.tests.size(), 1U);
    const kit::PlannedTest& test = read.tests[0];
    EXPECT_EQ(test.program, L"tests/unit/unit_tests.exe");
    EXPECT_EQ(test.arguments, std::vector<Text>{L"--ja"});
    EXPECT_EQ(test.environment.at(0).value, L"1");
    EXPECT_EQ(test.needs, kit::Needs::Rights);
    EXPECT_EQ(test.cases, 278);
    EXPECT_EQ(test.counts.at("failed calls"), 5);
    EXPECT_EQ(test.excused, std::vector<std::string>{"A.B"});
    EXPECT_EQ(read.omitted.at(0).reason, L"braucht Python");
    EXPECT_EQ(read.settings.at(0).mask, "Debitoren");
    EXPECT_EQ(read.settings.at(0).field, "");
    EXPECT_EQ(read.package.nextProduct, L"d");
    EXPECT_EQ(read.partSeconds.at(L"jahr"), 45);
}

TEST(KitPlan, IsRefusedWhenItIsNone) {
    ExpectRefused("", L"Der Prüfplan ist beschädigt: ");
    ExpectRefused(plan.substr(0, plan.size() / 2), L"Der Prüfplan ist beschädigt: ");
    ExpectRefused(With(R"("cases": 278)", R"("cases": "viele")"), L"Der Prüfplan ist beschädigt: ");
    ExpectRefused(With(R"("rights")", R"("alles")"), L"Unbekanntes Wort «alles» im Prüfplan.");
}

TEST(KitPlan, WithAPatternThatIsNoneCannotBeJudgedBy) {
    EXPECT_THROW(kit::Judge(kit::PlanFrom(With(R"("fault": "x")", R"("fault": "(")"))), kit::KitFailure);
}

TEST(KitPlan, IsListed) {
    const std::vector<Text> lines = kit::ListOf(kit::PlanFrom(plan));
    EXPECT_EQ(lines.front(), L"unit_tests: 278 Fälle, etwa 8 Sekunden, braucht Administratorrechte");
    EXPECT_EQ(lines.back(), L"  year_test: braucht Python");
}

TEST(KitsCommandLine, IsParsed) {
    const kit::KitCommandLine none = kit::ParseKitCommandLine({});
    EXPECT_FALSE(none.yes || none.list || none.withoutPackage || none.withoutMeasurements);
    const kit::KitCommandLine all =
        kit::ParseKitCommandLine({L"--only", L"unit_tests", L"jahr", L"--yes", L"--report", L"Bericht ü.txt",
                                  L"--without-package", L"--without-measurements", L"--list"});
    EXPECT_EQ(all.only, (std::vector<Text>{L"unit_tests", L"jahr"}));
    EXPECT_EQ(all.report, L"Bericht ü.txt");
    EXPECT_TRUE(all.yes && all.list && all.withoutPackage && all.withoutMeasurements);
    EXPECT_TRUE(kit::ParseKitCommandLine({L"--help"}).answer.starts_with(L"Prüft Kandora"));
    EXPECT_TRUE(kit::ParseKitCommandLine({L"--version"}).answer.starts_with(L"pruefen "));
    EXPECT_THROW(kit::ParseKitCommandLine({L"--alles"}), check::UsageError);
    EXPECT_THROW(kit::ParseKitCommandLine({L"unit_tests"}), check::UsageError);
    EXPECT_THROW(kit::ParseKitCommandLine({L"--report"}), check::UsageError);
}

}  // namespace

}  // namespace kandora::kit_tests
