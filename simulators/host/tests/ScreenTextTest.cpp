#include <gmock/gmock.h>

#include "interfaces/CodePages.h"
#include "simulators/host/ScreenText.h"
#include "simulators/host/TextTable.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

std::vector<std::wstring> Wrapped(std::wstring_view text, std::size_t width) {
    std::vector<std::wstring> lines;
    AppendWrapped(lines, text, L"1. ", L"   ", width);
    return lines;
}

/// What is shown of two values with twelve columns for each.
auto Cut(std::wstring_view before, std::wstring_view after) {
    return CutAroundDifference(before, after, 12);
}

TEST(ScreenTextTest, WidthIsCountedInColumns) {
    EXPECT_EQ(DisplayWidth(L""), 0U);
    EXPECT_EQ(DisplayWidth(L"Bär"), 3U);
    // The same word with the diaeresis as a character of its own.
    EXPECT_EQ(DisplayWidth(L"Ba\u0308r"), 3U);
    EXPECT_EQ(DisplayWidth(L"東京"), 4U);
    EXPECT_EQ(DisplayWidth(L"\U0001F4C4."), 3U);
    // Half of a pair takes a column like anything unknown.
    EXPECT_EQ(DisplayWidth(L"\xD83D"), 1U);
}

TEST(ScreenTextTest, WhatIsTooLongEndsInAnEllipsis) {
    EXPECT_EQ(Shortened(L"Müller", 6), L"Müller");
    EXPECT_EQ(Shortened(L"Müller", 5), L"Müll…");
    EXPECT_EQ(Shortened(L"Mu\u0308ller", 6), L"Mu\u0308ller");
    EXPECT_EQ(Shortened(L"Mu\u0308ller", 3), L"Mu\u0308…");
    EXPECT_EQ(Shortened(L"東京都", 6), L"東京都");
    // Where only half of a character has room, none of it is shown.
    EXPECT_EQ(Shortened(L"東京都", 4), L"東…");
    EXPECT_EQ(Shortened(L"\U0001F4C4\U0001F4C4", 3), L"\U0001F4C4…");
    EXPECT_EQ(Shortened(L"eins\r\nzwei\tdrei\x7F", 99), L"eins  zwei drei ");
}

TEST(ScreenTextTest, ValuesThatFitStayWhole) {
    EXPECT_THAT(CutAroundDifference(L"RG alt", L"RG neu", 8), Pair(L"RG alt", L"RG neu"));
    EXPECT_THAT(CutAroundDifference(L"", L"12345678", 8), Pair(L"", L"12345678"));
    EXPECT_THAT(CutAroundDifference(L"gleich", L"gleich", 8), Pair(L"gleich", L"gleich"));
}

TEST(ScreenTextTest, ADifferenceAtTheEndIsInSight) {
    EXPECT_THAT(Cut(L"0123456789abcdefghij", L"0123456789abcdefghijXYZ"),
                Pair(L"…cdefghij", L"…cdefghijXYZ"));
    EXPECT_THAT(Cut(L"0123456789abcdefghij1", L"0123456789abcdefghij2"),
                Pair(L"…abcdefghij1", L"…abcdefghij2"));
}

TEST(ScreenTextTest, ADifferenceInTheMiddleIsInSight) {
    EXPECT_THAT(Cut(L"0123456789abc1defghijklmnopq", L"0123456789abc2defghijklmnopq"),
                Pair(L"…456789abc1…", L"…456789abc2…"));
}

TEST(ScreenTextTest, ADifferenceAtTheFrontNeedsNoCutThere) {
    EXPECT_THAT(Cut(L"A123456789abcdef", L"B123456789abcdef"), Pair(L"A123456789a…", L"B123456789a…"));
    EXPECT_THAT(Cut(L"0123456789Axyzuvw", L"0123456789Bxyzuvw"), Pair(L"0123456789A…", L"0123456789B…"));
}

TEST(ScreenTextTest, OfALongDifferenceTheBeginningIsInSight) {
    EXPECT_THAT(Cut(L"0123456789abcdefghijklmnopqrst", L"0123456789ABCDEFGHIJKLMNOPQRST"),
                Pair(L"…789abcdefg…", L"…789ABCDEFG…"));
    EXPECT_THAT(Cut(L"01abcdefghijklmnopqrst", L"01ABC"), Pair(L"01abcdefghi…", L"01ABC"));
}

TEST(ScreenTextTest, DifferencesThatTheScreenWouldNotShowAreMadeVisible) {
    EXPECT_THAT(Cut(L"RG neu", L"RG neu "), Pair(L"RG neu", L"RG neu␣"));
    EXPECT_THAT(Cut(L"13.Lohn 01", L"13. Lohn 01"), Pair(L"13.Lohn 01", L"13.␣Lohn 01"));
    EXPECT_THAT(Cut(L"RG neu", L"RG\nneu"), Pair(L"RG␣neu", L"RG␊neu"));
    EXPECT_THAT(Cut(L"RG\tneu", L"RG\x85neu"), Pair(L"RG␉neu", L"RG\xFFFDneu"));
}

/// Wherever two long texts differ and however much room there is: both fit, and they do not look alike.
TEST(ScreenTextTest, WhateverDiffersIsInSight) {
    const std::wstring common(
        L"RG 26102 Alterszentrum Lindenhöhe, 11 x Espressotassen, Du\u0308tzend, 東京都");
    const std::vector<std::pair<std::wstring, std::wstring>> differences{
        {L"", L" "},
        {L"", L" (Rückfrage erledigt)"},
        {L"a", L"b"},
        {L"東", L"京"},
        {L"o", L"o\u0308"},
        {std::wstring(70, L'x'), std::wstring(70, L'y')},
        {std::wstring(70, L'x'), L""}};
    for (const auto& [left, right] : differences) {
        for (std::size_t at = 0; at <= common.size(); ++at) {
            const std::wstring before = common.substr(0, at) + left + common.substr(at);
            const std::wstring after = common.substr(0, at) + right + common.substr(at);
            for (const std::size_t most : {8U, 9U, 10U, 11U, 20U, 21U, 52U, 75U, 103U, 150U}) {
                const auto shown = CutAroundDifference(before, after, most);
                ASSERT_LE(DisplayWidth(shown.first), most) << Utf8FromText(shown.first);
                ASSERT_LE(DisplayWidth(shown.second), most) << Utf8FromText(shown.second);
                ASSERT_NE(shown.first, shown.second) << at << " " << most << " " << Utf8FromText(shown.first);
            }
        }
    }
}

TEST(ScreenTextTest, LinesAreBrokenAtBlanks) {
    EXPECT_THAT(Wrapped(L"", 20), ElementsAre(L"1."));
    EXPECT_THAT(Wrapped(L"Die Rückfrage ist erledigt", 17),
                ElementsAre(L"1. Die Rückfrage", L"   ist erledigt"));
    EXPECT_THAT(Wrapped(L"Die Rückfrage ist erledigt", 16),
                ElementsAre(L"1. Die Rückfrage", L"   ist erledigt"));
    EXPECT_THAT(Wrapped(L"Die Rückfrage ist erledigt", 15),
                ElementsAre(L"1. Die", L"   Rückfrage", L"   ist erledigt"));
    EXPECT_THAT(Wrapped(L"eins  zwei   drei\nvier", 10),
                ElementsAre(L"1. eins", L"   zwei", L"   drei", L"   vier"));
}

TEST(ScreenTextTest, AWordLongerThanALineIsBrokenToo) {
    EXPECT_THAT(Wrapped(L"Pfad C:\\Daten\\Mandanten", 12),
                ElementsAre(L"1. Pfad", L"   C:\\Daten\\", L"   Mandanten"));
    EXPECT_THAT(Wrapped(L"東京都庁", 8), ElementsAre(L"1. 東京", L"   都庁"));
    // Where there is no room at all, everything is shown nevertheless.
    EXPECT_THAT(Wrapped(L"ab", 3), ElementsAre(L"1. a", L"   b"));
}

TEST(TextTableTest, ColumnsAreAsWideAsTheirWidestCell) {
    TextTable table({L"Nr", L"Name"}, {0});
    table.Add({L"7", L"Mu\u0308ller"});
    table.Add({L"123", L"Bär"});
    std::vector<std::wstring> lines;
    table.RenderTo(lines, L" ", 80);
    EXPECT_THAT(lines, ElementsAre(L"  Nr  Name", L" ---  ------", L"   7  Mu\u0308ller", L" 123  Bär"));
}

TEST(TextTableTest, TheWidestColumnGivesWay) {
    TextTable table({L"Nr", L"Name", L"Ort"}, {});
    table.Add({L"7", L"Handelsanstalt Drei Schweizen", L"St. Gallen"});
    std::vector<std::wstring> lines;
    table.RenderTo(lines, L"", 30);
    EXPECT_THAT(lines, ElementsAre(L"Nr  Name            Ort", L"--  --------------  ----------",
                                   L"7   Handelsanstal…  St. Gallen"));
    lines.clear();
    table.RenderTo(lines, L"  ", 20);
    EXPECT_THAT(lines, ElementsAre(L"  Nr  Name    Ort", L"  --  ------  ------", L"  7   Hande…  St. G…"));
}

TEST(TextTableTest, TheLastCellOfAShortRowTakesWhatIsLeftOfTheLine) {
    TextTable table({L"A", L"B", L"C"}, {});
    table.Add({L"1", L"2", L"3"});
    table.Add({L"1", L"reicht hinüber"});
    std::vector<std::wstring> lines;
    table.RenderTo(lines, L"", 14);
    EXPECT_THAT(lines, ElementsAre(L"A  B  C", L"-  -  -", L"1  2  3", L"1  reicht hin…"));
}

}  // namespace

}  // namespace kandora::simulators
