// The INI file over a machine in memory; over the platform's own profile functions see ProfileTest.

#include "support/CIniFile.h"

#include <gtest/gtest.h>

#include "automation/Errors.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

constexpr const char* file = "C:\\Kandora\\Kandora.ini";

class IniFile : public testing::Test {
protected:
    void Set(const std::string& key, const std::string& value) { machine.profile.Set(file, "S", key, value); }

    Conversation talk;
    FakePlatform machine{talk};
    CIniFile ini{machine};
};

TEST_F(IniFile, LiesBesideTheComponentUnderItsName) {
    EXPECT_EQ(ini.sIniFile(), L"C:\\Kandora\\Kandora.ini");
    machine.componentFile = L"D:\\Anderswo\\Kandora.32.dll";
    EXPECT_EQ(ini.sIniFile(), L"C:\\Kandora\\Kandora.ini") << "fixed from the first use on";
    EXPECT_EQ(CIniFile(machine).sIniFile(), L"D:\\Anderswo\\Kandora.32.ini");
}

TEST_F(IniFile, MayBeAnotherOne) {
    machine.folders.insert(L"E:\\Daten");
    ini.sIniFile(L"E:\\Daten\\Andere.ini");
    EXPECT_EQ(ini.sIniFile(), L"E:\\Daten\\Andere.ini");
    ini.sString(L"S", L"k");
    EXPECT_EQ(machine.profileFile, "E:\\Daten\\Andere.ini");
}

TEST_F(IniFile, MayBeSetOnceOnly) {
    machine.folders.insert(L"E:\\Daten");
    ini.sIniFile(L"E:\\Daten\\Andere.ini");
    const RuntimeError error = ErrorOf([&] { ini.sIniFile(L"E:\\Daten\\Dritte.ini"); });
    EXPECT_EQ(error.Number(), 5);
    EXPECT_EQ(error.Description(), L"sIniFile may only be set once per Object.");
    EXPECT_EQ(error.Source(), L"CIniFile.sIniFile");
    EXPECT_EQ(ini.sIniFile(), L"E:\\Daten\\Andere.ini");
}

TEST_F(IniFile, CannotBeSetAfterItWasUsed) {
    ini.sString(L"S", L"k");
    EXPECT_EQ(RaisedBy([&] { ini.sIniFile(L"E:\\Daten\\Andere.ini"); }),
              (Raised{5, L"sIniFile may only be set once per Object."}));
}

TEST_F(IniFile, NeedsItsFolder) {
    const RuntimeError error = ErrorOf([&] { ini.sIniFile(L"E:\\Fehlt\\Andere.ini"); });
    EXPECT_EQ(error.Number(), 53);
    EXPECT_EQ(error.Description(), DescriptionOf(53));
    EXPECT_EQ(error.Source(), L"CIniFile.sIniFile");
    ExpectConversation(talk, {R"(folder "E:\Fehlt" -> False)"});
    EXPECT_EQ(ini.sIniFile(), L"C:\\Kandora\\Kandora.ini") << "nothing was stored";
}

TEST_F(IniFile, ReadsTexts) {
    Set("k", "Wert");
    EXPECT_EQ(ini.sString(L"S", L"k"), L"Wert");
    EXPECT_EQ(ini.sString(L"s", L"K"), L"Wert");
    EXPECT_EQ(ini.sString(L"S", L"fehlt"), L"");
    EXPECT_EQ(ini.sString(L"Fehlt", L"k"), L"");
    EXPECT_EQ(machine.profileFile, file);
}

TEST_F(IniFile, ReadsValuesOfAnyLengthInStepsOfAThousand) {
    struct Case {
        std::size_t length;
        Lines calls;
    };
    const std::string first = R"(string "S" "k" 1000)";
    const std::string second = R"(string "S" "k" 2000)";
    const std::string third = R"(string "S" "k" 3000)";
    for (const Case& row : std::vector<Case>{{0, {first}},
                                             {998, {first}},
                                             {999, {first, second}},
                                             {1000, {first, second}},
                                             {1998, {first, second}},
                                             {1999, {first, second, third}},
                                             {2998, {first, second, third}}}) {
        const std::string value(row.length, 'x');
        Set("k", value);
        machine.profileCalls.clear();
        EXPECT_EQ(ini.sString(L"S", L"k"), TextFromAnsi(value));
        ExpectLines(machine.profileCalls, row.calls);
    }
}

TEST_F(IniFile, ReadsUmlautsInKeysAndValues) {
    machine.profile.Set(file, AnsiFromText(L"Büro"), AnsiFromText(L"Schlüssel"), AnsiFromText(L"Zürich"));
    EXPECT_EQ(ini.sString(L"Büro", L"Schlüssel"), L"Zürich");
}

TEST_F(IniFile, WritesTexts) {
    ini.sString(L"S", L"k", L"Wert");
    ini.sString(L"Neu", L"Ort", L"Zürich");
    ExpectLines(machine.profileCalls, {R"(write "S" "k" "Wert")", R"(write "Neu" "Ort" "Zürich")"});
    EXPECT_EQ(ini.sString(L"Neu", L"Ort"), L"Zürich");
}

TEST_F(IniFile, TellsWhatCouldNotBeWritten) {
    machine.profileWritesFail = true;
    const RuntimeError error = ErrorOf([&] { ini.sString(L"S", L"k", L"Wert"); });
    EXPECT_EQ(error.Number(), 31036);
    EXPECT_EQ(error.Description(), L"Failed to write [S] k=Wert");
    EXPECT_EQ(error.Source(), L"CIniFile.sString");
    EXPECT_EQ(ErrorOf([&] { ini.lLong(L"S", L"k", 1); }).Source(), L"CIniFile.lLong");
    EXPECT_EQ(ErrorOf([&] { ini.bBoolean(L"S", L"k", true); }).Source(), L"CIniFile.bBoolean");
}

TEST_F(IniFile, NeedsSectionAndKey) {
    struct Case {
        std::function<void()> action;
        const wchar_t* source;
    };
    for (const Case& row : std::vector<Case>{{[&] { ini.sString(L"", L"k"); }, L"CIniFile.sString"},
                                             {[&] { ini.sString(L"S", L""); }, L"CIniFile.sString"},
                                             {[&] { ini.sString(L"", L"k", L"v"); }, L"CIniFile.sString"},
                                             {[&] { ini.sString(L"S", L"", L"v"); }, L"CIniFile.sString"},
                                             {[&] { ini.lLong(L"", L"k"); }, L"CIniFile.lLong"},
                                             {[&] { ini.lLong(L"S", L""); }, L"CIniFile.lLong"},
                                             {[&] { ini.lLong(L"", L"k", 1); }, L"CIniFile.lLong"},
                                             {[&] { ini.lLong(L"S", L"", 1); }, L"CIniFile.lLong"},
                                             {[&] { ini.bBoolean(L"", L"k"); }, L"CIniFile.bBoolean"},
                                             {[&] { ini.bBoolean(L"S", L""); }, L"CIniFile.bBoolean"},
                                             {[&] { ini.bBoolean(L"", L"k", true); }, L"CIniFile.bBoolean"},
                                             {[&] { ini.bBoolean(L"S", L"", true); }, L"CIniFile.bBoolean"},
                                             {[&] { ini.vasKeys(L""); }, L"CIniFile.vasKeys"},
                                             {[&] { ini.vasSectionLines(L""); }, L"CIniFile.vasSectionLines"},
                                             {[&] { ini.ReadSection(L""); }, L"CIniFile.ReadSection"}}) {
        const RuntimeError error = ErrorOf(row.action);
        EXPECT_EQ(error.Number(), 5);
        EXPECT_EQ(error.Description(), DescriptionOf(5));
        EXPECT_EQ(error.Source(), row.source);
    }
    EXPECT_TRUE(machine.profileCalls.empty());
}

TEST_F(IniFile, ReadsNumbers) {
    struct Case {
        const char* value;
        std::int32_t number;
    };
    for (const Case& row :
         std::vector<Case>{{"", 0}, {"17", 17}, {"-3", -3}, {" 42 ", 42}, {"2147483647", 2147483647}}) {
        Set("k", row.value);
        EXPECT_EQ(ini.lLong(L"S", L"k"), row.number) << row.value;
    }
    EXPECT_EQ(ini.lLong(L"S", L"fehlt"), 0);
}

TEST_F(IniFile, TellsThatAValueIsNoNumber) {
    for (const char* const value : {"12abc", "ja", "-", "True"}) {
        Set("k", value);
        const RuntimeError error = ErrorOf([&] { ini.lLong(L"S", L"k"); });
        EXPECT_EQ(error.Number(), 13) << value;
        EXPECT_EQ(error.Description(), L"Value not numeric");
        EXPECT_EQ(error.Source(), L"CIniFile.lLong");
    }
    Set("k", "99999999999");
    EXPECT_EQ(RaisedBy([&] { ini.lLong(L"S", L"k"); }), (Raised{6, DescriptionOf(6)}));
}

TEST_F(IniFile, WritesNumbers) {
    ini.lLong(L"S", L"k", -2147483647 - 1);
    ini.lLong(L"S", L"l", 17);
    ExpectLines(machine.profileCalls, {R"(write "S" "k" "-2147483648")", R"(write "S" "l" "17")"});
}

TEST_F(IniFile, ReadsTruthValues) {
    for (const char* const value :
         {"FALSE", "False", "f", "N", "no", "NEIN", "Nein", "0", "", " no ", "\"  n  \""}) {
        Set("k", value);
        EXPECT_FALSE(ini.bBoolean(L"S", L"k")) << value;
    }
    for (const char* const value : {"WAHR", "JA", "yes", "1", "-1", "X", "FALSCH", "00", "n o", "True"}) {
        Set("k", value);
        EXPECT_TRUE(ini.bBoolean(L"S", L"k")) << value;
    }
    EXPECT_FALSE(ini.bBoolean(L"S", L"fehlt"));
}

TEST_F(IniFile, WritesTruthValues) {
    ini.bBoolean(L"S", L"k", true);
    ini.bBoolean(L"S", L"k", false);
    ExpectLines(machine.profileCalls, {R"(write "S" "k" "True")", R"(write "S" "k" "False")"});
}

TEST_F(IniFile, ListsKeysSectionsAndLines) {
    machine.profile.Set(file, "A", "eins", "1");
    machine.profile.Set(file, "A", "zwei", "");
    machine.profile.Set(file, "B", "drei", "3");
    EXPECT_EQ(ini.vasKeys(L"A"), (std::vector<Text>{L"eins", L"zwei"}));
    EXPECT_EQ(ini.vasSections(), (std::vector<Text>{L"A", L"B"}));
    EXPECT_EQ(ini.vasSectionLines(L"A"), (std::vector<Text>{L"eins=1", L"zwei="}));
    ExpectLines(machine.profileCalls, {R"(string "A" - 1000)", "string - - 1000", R"(section "A" 1000)"});
}

TEST_F(IniFile, ListsNothingOfWhatIsMissing) {
    EXPECT_TRUE(ini.vasKeys(L"Fehlt").empty());
    EXPECT_TRUE(ini.vasSections().empty());
    EXPECT_TRUE(ini.vasSectionLines(L"Fehlt").empty());
    EXPECT_TRUE(ini.ReadSection(L"Fehlt").Pairs().empty());
}

TEST_F(IniFile, ListsNamesOfAnyLength) {
    std::vector<Text> keys;
    std::vector<Text> lines;
    for (int i = 0; i < 300; ++i) {
        const std::string key = "Schluessel" + std::to_string(i);
        machine.profile.Add(file, "S", key, "x");
        keys.push_back(TextFromAnsi(key));
        lines.push_back(TextFromAnsi(key) + L"=x");
    }
    EXPECT_EQ(ini.vasKeys(L"S"), keys);
    EXPECT_EQ(ini.vasSectionLines(L"S"), lines);
}

TEST_F(IniFile, ListsNamesThatJustFillTheBuffer) {
    for (std::size_t length = 990; length <= 1005; ++length) {
        machine.profile = {};
        Set(std::string(length, 'k'), "");
        EXPECT_EQ(ini.vasKeys(L"S"), std::vector<Text>{Text(length, L'k')}) << length;
    }
}

TEST_F(IniFile, ReadsAWholeSection) {
    Set("b", "2");
    Set("a", "1");
    using Pairs = std::vector<std::pair<Text, Text>>;
    EXPECT_EQ(ini.ReadSection(L"S").Pairs(), (Pairs{{L"b", L"2"}, {L"a", L"1"}}));
}

TEST_F(IniFile, TellsThatASectionNamesAKeyTwice) {
    machine.profile.Add(file, "S", "a", "1");
    machine.profile.Add(file, "S", "a", "2");
    const RuntimeError error = ErrorOf([&] { ini.ReadSection(L"S"); });
    EXPECT_EQ(error.Number(), 457);
    EXPECT_EQ(error.Source(), L"CIniFile.ReadSection");
}

TEST_F(IniFile, TakesKeysThatDifferInLetterCaseForTwo) {
    machine.profile.Add(file, "S", "a", "1");
    machine.profile.Add(file, "S", "A", "2");
    EXPECT_EQ(ini.ReadSection(L"S").Pairs().size(), 2U);
}

TEST_F(IniFile, WritesAWholeSectionAndKeepsOtherKeys) {
    Set("bleibt", "1");
    Dictionary pairs;
    pairs.Add(L"b", L"2");
    pairs.Add(L"a", L"1");
    ini.WriteSection(L"S", pairs);
    ExpectLines(machine.profileCalls, {R"(write "S" "b" "2")", R"(write "S" "a" "1")"});
    EXPECT_EQ(ini.vasKeys(L"S"), (std::vector<Text>{L"bleibt", L"b", L"a"}));
}

TEST_F(IniFile, StopsAtTheFirstPairThatCannotBeWritten) {
    machine.profileWritesFail = true;
    Dictionary pairs;
    pairs.Add(L"b", L"2");
    pairs.Add(L"a", L"1");
    const RuntimeError error = ErrorOf([&] { ini.WriteSection(L"S", pairs); });
    EXPECT_EQ(error.Number(), 31036);
    EXPECT_EQ(error.Description(), L"Failed to write [S] b=2");
    EXPECT_EQ(error.Source(), L"CIniFile.WriteSection");
    ExpectLines(machine.profileCalls, {R"(write "S" "b" "2")"});
}

TEST_F(IniFile, WritesNothingWithoutPairs) {
    ini.WriteSection(L"S", {});
    EXPECT_TRUE(machine.profileCalls.empty());
}

TEST(Pairs, AreComparedExactly) {
    Dictionary pairs;
    pairs.Add(L"a", L"1");
    pairs.Add(L"A", L"2");
    EXPECT_EQ(NumberRaisedBy([&] { pairs.Add(L"a", L"3"); }), 457);
    EXPECT_EQ(pairs.Pairs().size(), 2U);
}

}  // namespace
}  // namespace kandora::test
