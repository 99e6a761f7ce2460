#include "tools/check/OwnRights.h"

#include <gtest/gtest.h>

#include "tools/check/Checks.h"

namespace kandora::check {
namespace {

OwnRights Rights(bool isElevated) {
    OwnRights rights;
    rights.user = L"PC01\\user01";
    rights.sid = L"S-1-5-21-1-2-3-1001";
    rights.isAdministrator = isElevated;
    rights.isElevated = isElevated;
    rights.loggedOn = L"pc01\\USER01";
    return rights;
}

/// The lines of what a check reports.
template <class Check>
std::vector<Text> LinesOf(Check&& check) {
    std::vector<Text> lines;
    Report report([&](const Finding& finding) { lines.push_back(LineOf(finding)); });
    check(report);
    return lines;
}

TEST(OwnRights, AreThoseOfTheToken) {
    const OwnRights rights = RightsOfThisProgram();
    EXPECT_TRUE(rights.sid.starts_with(L"S-1-5-"));
    EXPECT_FALSE(rights.user.empty());
    EXPECT_TRUE(rights.groups.contains(rights.sid));
    EXPECT_TRUE(rights.groups.contains(L"S-1-1-0"));
    EXPECT_TRUE(rights.isElevated || !rights.isSplit);
}

TEST(OwnRights, AreTold) {
    const auto lines = [](const OwnRights& rights) {
        return LinesOf([&](Report& report) { CheckRights(report, rights); });
    };
    EXPECT_EQ(lines(Rights(true)),
              std::vector<Text>{
                  L"gut      Rechte: Benutzer: PC01\\user01, Mitglied der Administratoren, mit erhöhten "
                  L"Rechten"});
    OwnRights asleep = Rights(true);
    asleep.isElevated = false;
    EXPECT_EQ(lines(asleep),
              std::vector<Text>{
                  L"gut      Rechte: Benutzer: PC01\\user01, Mitglied der Administratoren, ohne erhöhte "
                  L"Rechte"});
    EXPECT_EQ(lines(Rights(false)),
              std::vector<Text>{
                  L"gut      Rechte: Benutzer: PC01\\user01, nicht Mitglied der Administratoren, ohne "
                  L"erhöhte Rechte"});
}

TEST(OwnRights, OfSomebodyElseAreAWarning) {
    OwnRights rights = Rights(true);
    rights.loggedOn = L"PC01\\anna";
    const auto lines = LinesOf([&](Report& report) { CheckRights(report, rights); });
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[1].starts_with(L"Warnung  Rechte: Sitzung: gehört PC01\\anna → "))
        << AnsiFromText(lines[1]);
    rights.loggedOn.clear();
    EXPECT_FALSE(rights.IsAnothers()) << "a service has no session of anybody";
}

TEST(OwnRights, AnotherInstanceIsAWarning) {
    OwnRights split = Rights(true);
    split.isSplit = true;
    OwnRights anothers = Rights(false);
    anothers.loggedOn = L"PC01\\anna";
    const auto lines = [](const OwnRights& rights, bool inProcess) {
        Server server;
        server.inProcess = inProcess;
        return LinesOf([&](Report& report) { WarnOfAnotherInstance(report, area::archive, server, rights); });
    };
    for (const OwnRights& rights : {split, anothers}) {
        const auto warnings = lines(rights, false);
        ASSERT_EQ(warnings.size(), 1U);
        EXPECT_TRUE(warnings[0].starts_with(L"Warnung  Archiv: Laufendes Programm: "))
            << AnsiFromText(warnings[0]);
        EXPECT_TRUE(lines(rights, true).empty()) << "what is loaded is nobody else's";
    }
    EXPECT_TRUE(lines(Rights(true), false).empty()) << "without account control there is but one";
    EXPECT_TRUE(lines(Rights(false), false).empty());
}

TEST(OwnRights, OrdinaryUsersAreNoAdministrators) {
    const Sids ordinary = OrdinaryUser(Rights(true));
    EXPECT_TRUE(ordinary.contains(L"S-1-5-32-545"));
    EXPECT_TRUE(ordinary.contains(L"S-1-5-21-1-2-3-513"));
    EXPECT_FALSE(ordinary.contains(L"S-1-5-32-544"));
    EXPECT_FALSE(ordinary.contains(L"S-1-5-21-1-2-3-1001"));
    const Sids own = WithoutElevation(Rights(true));
    EXPECT_TRUE(own.contains(L"S-1-5-21-1-2-3-1001"));
    EXPECT_FALSE(own.contains(L"S-1-5-32-544"));
}

}  // namespace
}  // namespace kandora::check
