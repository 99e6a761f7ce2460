#include "automation/Text.h"
#include "interfaces/CodePages.h"

#include <array>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include <windows.h>

#include "tests/support/Rendering.h"

namespace kandora::test {
namespace {

TEST(Decimal, IsPlainDigitsWithAMinusSign) {
    EXPECT_EQ(Decimal(0), L"0");
    EXPECT_EQ(Decimal(5000), L"5000");
    EXPECT_EQ(Decimal(-1), L"-1");
    EXPECT_EQ(Decimal(1234567), L"1234567");
    EXPECT_EQ(Decimal(std::numeric_limits<std::int32_t>::min()), L"-2147483648");
    EXPECT_EQ(Decimal(std::numeric_limits<std::int64_t>::max()), L"9223372036854775807");
    EXPECT_EQ(Decimal(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
}

TEST(Digits, AreFilledWithZerosAndNeverCut) {
    EXPECT_EQ(Digits(5, 2), L"05");
    EXPECT_EQ(Digits(0, 2), L"00");
    EXPECT_EQ(Digits(12, 2), L"12");
    EXPECT_EQ(Digits(2026, 2), L"2026");
    EXPECT_EQ(Digits(26, 4), L"0026");
}

TEST(Joining, PutsTheSeparatorBetween) {
    EXPECT_EQ(Joined({}, L", "), L"");
    EXPECT_EQ(Joined({L"a"}, L", "), L"a");
    EXPECT_EQ(Joined({L"a", L"", L"b"}, L" <- "), L"a <-  <- b");
}

TEST(Replacing, FindsEveryOccurrenceFromTheLeft) {
    EXPECT_EQ(Replaced(L"/A/B", L"/", L"¶"), L"¶A¶B");
    EXPECT_EQ(Replaced(L"aaa", L"aa", L"b"), L"ba");
    EXPECT_EQ(Replaced(L"abc", L"x", L"y"), L"abc");
    EXPECT_EQ(Replaced(L"/", L"/", L"//"), L"//") << "what was put in is not searched again";
    EXPECT_EQ(Replaced(L"A", L"a", L"b"), L"A");
    EXPECT_EQ(Replaced(L"abc", L"", L"x"), L"abc");
    EXPECT_EQ(Replaced(L"", L"a", L"b"), L"");
    EXPECT_EQ(Replaced(Text(L"a\0b", 3), TextView(L"\0", 1), L"-"), L"a-b");
}

TEST(Trimming, TakesBlanksAlone) {
    EXPECT_EQ(Trimmed(L"  a b "), L"a b");
    EXPECT_EQ(Trimmed(L"\ta "), L"\ta");
    EXPECT_EQ(Trimmed(L"   "), L"");
    EXPECT_EQ(Trimmed(L""), L"");
}

TEST(LetterCase, IncludesUmlautsAndKeepsNuls) {
    EXPECT_EQ(LowerCase(L"TRUE ÄÖÜ"), L"true äöü");
    EXPECT_EQ(UpperCase(L"nein äöü"), L"NEIN ÄÖÜ");
    EXPECT_EQ(LowerCase(Text(L"A\0B", 3)), Text(L"a\0b", 3));
    EXPECT_EQ(LowerCase(L""), L"");
    EXPECT_EQ(UpperCase(L""), L"");
}

TEST(LetterCase, FollowsNoLanguage) {
    const LCID before = GetThreadLocale();
    constexpr std::array<LCID, 5> languages{0x0407, 0x0807, 0x040C, 0x041F,
                                            0x0411};  // German to Turkish, Japanese
    for (const LCID language : languages) {
        ASSERT_TRUE(SetThreadLocale(language));
        EXPECT_EQ(LowerCase(L"TITEL"), L"titel") << language;
        EXPECT_EQ(UpperCase(L"titel"), L"TITEL") << language;
        EXPECT_EQ(UpperCase(L"straße"), L"STRAßE") << language;
    }
    SetThreadLocale(before);
}

TEST(CodePage, KeepsWhatItHasAndMarksWhatItLacks) {
    EXPECT_EQ(AnsiFromText(L"Muster"), "Muster");
    EXPECT_EQ(AnsiFromText(L""), "");
    EXPECT_EQ(AnsiFromText(L"\u4E2D\u6587"), "??");
    EXPECT_EQ(AnsiFromText(Text(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(TextFromAnsi(AnsiFromText(L"Zürich")), L"Zürich");
    EXPECT_EQ(TextFromAnsi(""), L"");
    EXPECT_EQ(TextFromAnsi(std::string("a\0b", 3)), Text(L"a\0b", 3));
}

TEST(CodePage, TakesNoSimilarCharacterForAMissingOne) {
    EXPECT_EQ(AnsiFromText(L"\u0101"), "?") << "a with macron is no a";
}

TEST(Utf8, KeepsEveryCharacter) {
    EXPECT_EQ(Utf8FromText(L""), "");
    EXPECT_EQ(Utf8FromText(L"Zürich \u4E2D"), "Z\xC3\xBCrich \xE4\xB8\xAD");
    EXPECT_EQ(Utf8FromText(L"\U0001F4C1"), "\xF0\x9F\x93\x81");
    EXPECT_EQ(Utf8FromText(Text(L"a\0b", 3)), std::string("a\0b", 3));
    for (const Text& text : {Text(), Text(L"Zürich"), Text(L"\u4E2D\U0001F4C1"), Text(L"a\0b", 3)}) {
        EXPECT_EQ(TextFromUtf8(Utf8FromText(text)), text);
    }
}

TEST(Utf8, MarksWhatIsNoCharacter) {
    EXPECT_EQ(Utf8FromText(L"a\xD83D"), "a\xEF\xBF\xBD") << "half a character";
    EXPECT_EQ(TextFromUtf8("a\xFF"), L"a\uFFFD");
}

}  // namespace
}  // namespace kandora::test
