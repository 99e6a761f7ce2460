#include "tools/check/FileSystem.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tools/check/Spelling.h"

namespace kandora::check {
namespace {

TEST(SameFile, IgnoresTheSpellingOfThePath) {
    EXPECT_TRUE(SameFile(L"C:\\Kandora\\Kandora.dll", L"c:\\KANDORA\\kandora.DLL"));
    EXPECT_TRUE(SameFile(L"C:\\Kandora\\Kandora.dll", L"C:\\Kandora\\Werkzeuge\\..\\Kandora.dll"));
    EXPECT_TRUE(SameFile(L"C:\\Kandora\\Kandora.dll", L"C:/Kandora/Kandora.dll"));
    EXPECT_FALSE(SameFile(L"C:\\Kandora\\Kandora.dll", L"C:\\Kandora\\Kandora2.dll"));
    EXPECT_FALSE(SameFile(L"C:\\Kandora\\Kandora.dll", L"D:\\Kandora\\Kandora.dll"));
}

TEST(SameFile, KnowsTheLetterCaseOfUmlauts) {
    EXPECT_TRUE(SameFile(L"C:\\Treuhand Ärni\\Kandora.dll", L"C:\\TREUHAND äRNI\\Kandora.dll"));
    EXPECT_TRUE(SameFile(L"C:\\Büro Öhri\\Kandora.dll", L"C:\\BÜRO öHRI\\Kandora.dll"));
    EXPECT_FALSE(SameFile(L"C:\\Ärni\\Kandora.dll", L"C:\\Arni\\Kandora.dll"));
    const test::TemporaryFolder folder;
    const Text file = folder.Write(L"Ärni.dll", "x");
    EXPECT_TRUE(SameFile(file, folder / L"äRNI.DLL"));
}

TEST(Spelling, ComparesWithoutLetterCase) {
    EXPECT_TRUE(EqualIgnoringCase(L"Apartment", L"APARTMENT"));
    EXPECT_TRUE(EqualIgnoringCase(L"Schlüssel", L"SCHLÜSSEL"));
    EXPECT_TRUE(EqualIgnoringCase(L"", TextView()));
    EXPECT_FALSE(EqualIgnoringCase(L"Schlüssel", L"Schlussel"));
    EXPECT_FALSE(EqualIgnoringCase(L"a", L"ab"));
}

TEST(Spelling, CountsTheLettersThatDiffer) {
    EXPECT_EQ(EditDistance(L"Schlüssel", L"SCHLÜSSEL"), 0U);
    EXPECT_EQ(EditDistance(L"Beleg", L"Belge"), 1U) << "neighbours that are swapped";
    EXPECT_EQ(EditDistance(L"Beleg", L"Belege"), 1U);
    EXPECT_EQ(EditDistance(L"", L"Debi"), 4U);
}

}  // namespace
}  // namespace kandora::check
