#include <gtest/gtest.h>

#include "simulators/archive/StoreNames.h"

namespace kandora::simulators {

namespace {

TEST(StoreNames, EncodesWhatAFileNameMayNotHold) {
    EXPECT_EQ(EncodeName(L"Müller AG"), L"Müller AG");
    EXPECT_EQ(EncodeName(L"a/b\\c:d*e?f\"g<h>i|j"), L"a%2Fb%5Cc%3Ad%2Ae%3Ff%22g%3Ch%3Ei%7Cj");
    EXPECT_EQ(EncodeName(L"100%"), L"100%25");
    EXPECT_EQ(EncodeName(L"Tab\tZeile\n"), L"Tab%09Zeile%0A");
}

TEST(StoreNames, EncodesATrailingDotOrBlankOnly) {
    EXPECT_EQ(EncodeName(L"Co."), L"Co%2E");
    EXPECT_EQ(EncodeName(L"A. B "), L"A. B%20");
    EXPECT_EQ(EncodeName(L"..."), L"..%2E");
    EXPECT_EQ(EncodeName(L" vorne"), L" vorne");
}

TEST(StoreNames, KeepsAwayFromDeviceNamesAndTheStoresOwnFiles) {
    EXPECT_EQ(EncodeName(L"con"), L"%63on");
    EXPECT_EQ(EncodeName(L"LPT1.txt"), L"%4CPT1.txt");
    EXPECT_EQ(EncodeName(L"Console"), L"Console");
    EXPECT_EQ(EncodeName(L"Ordner.json"), L"Ordner%2Ejson");
    EXPECT_EQ(EncodeName(L"17.pdf"), L"17%2Epdf");
    EXPECT_EQ(EncodeName(L"übrig.tmp"), L"übrig%2Etmp");
    EXPECT_EQ(EncodeName(L"2026"), L"2026");
}

TEST(StoreNames, DecodesWhatItEncodes) {
    for (const wchar_t* name :
         {L"a/b\\c:d*e?f\"g<h>i|j", L"100% 50%2F", L"Co.", L"con", L"Ordner.json", L"Ünïcödé ", L"¶"}) {
        EXPECT_EQ(DecodeName(EncodeName(name)), name);
        EXPECT_EQ(EncodeName(name).find_first_of(L"<>:\"/\\|?*"), std::wstring::npos);
    }
    EXPECT_EQ(DecodeName(L"50%"), L"50%");
    EXPECT_EQ(DecodeName(L"%zz%4"), L"%zz%4");
    EXPECT_EQ(DecodeName(L"a%2fb"), L"a/b");
}

TEST(StoreNames, ReadsIdsStrictly) {
    EXPECT_EQ(ParseId(L"4711"), 4711);
    EXPECT_EQ(ParseId(L"2147483647"), 2147483647);
    for (const wchar_t* text :
         {L"", L"-1", L"+1", L" 1", L"1 ", L"1.0", L"2147483648", L"99999999999", L"zwei"}) {
        EXPECT_EQ(ParseId(text), std::nullopt);
    }
}

}  // namespace

}  // namespace kandora::simulators
