// The INI file over the platform's own profile functions and real files.

#include <gtest/gtest.h>

#include "automation/WindowsPlatform.h"
#include "support/CIniFile.h"
#include "tests/support/Raised.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::test {
namespace {

class Profile : public testing::Test {
protected:
    /// An INI file object for a file with the content.
    void Write(const std::string& content) { ini.sIniFile(folder.Write(L"Test.ini", content)); }

    TemporaryFolder folder;
    WindowsPlatform machine;
    CIniFile ini{machine};
};

TEST_F(Profile, ReadsValuesAsTheyStand) {
    Write("; Kommentar\r\n[Archiv]\r\nName=Haupt\r\nLeer=\r\n  Blank = x y  \r\nZitat=\" a "
          "\"\r\n[Login]\r\nName=anna\r\n");
    EXPECT_EQ(ini.sString(L"Archiv", L"Name"), L"Haupt");
    EXPECT_EQ(ini.sString(L"ARCHIV", L"name"), L"Haupt");
    EXPECT_EQ(ini.sString(L"Archiv", L"Leer"), L"");
    EXPECT_EQ(ini.sString(L"Archiv", L"Blank"), L"x y");
    EXPECT_EQ(ini.sString(L"Archiv", L"Zitat"), L" a ");
    EXPECT_EQ(ini.sString(L"Login", L"Name"), L"anna");
    EXPECT_EQ(ini.sString(L"Login", L"Fehlt"), L"");
}

TEST_F(Profile, ReadsUmlautsOfTheCodePage) {
    Write("[S]\r\nOrt=" + AnsiFromText(L"Zürich, Genève") + "\r\n");
    EXPECT_EQ(ini.sString(L"S", L"Ort"), L"Zürich, Genève");
}

TEST_F(Profile, ReadsLongValuesWhole) {
    for (const std::size_t length : {997U, 998U, 999U, 1000U, 1998U, 1999U, 5000U}) {
        const TemporaryFolder own;
        CIniFile file(machine);
        file.sIniFile(own.Write(L"Lang.ini", "[S]\r\nk=" + std::string(length, 'x') + "\r\nl=kurz\r\n"));
        EXPECT_EQ(file.sString(L"S", L"k"), Text(length, L'x')) << length;
        EXPECT_EQ(file.sString(L"S", L"l"), L"kurz");
    }
}

TEST_F(Profile, ReadsNothingOfAMissingFile) {
    ini.sIniFile(folder / L"Fehlt.ini");
    EXPECT_EQ(ini.sString(L"S", L"k"), L"");
    EXPECT_EQ(ini.lLong(L"S", L"k"), 0);
    EXPECT_FALSE(ini.bBoolean(L"S", L"k"));
    EXPECT_TRUE(ini.vasKeys(L"S").empty());
    EXPECT_TRUE(ini.vasSections().empty());
    EXPECT_TRUE(ini.vasSectionLines(L"S").empty());
}

TEST_F(Profile, NeedsTheFolderOfItsFile) {
    EXPECT_EQ(NumberRaisedBy([&] { ini.sIniFile(folder / L"Fehlt\\Test.ini"); }), 53);
}

TEST_F(Profile, ListsKeysSectionsAndLines) {
    Write("[A]\r\neins=1\r\nzwei=\r\n[Leer]\r\n[B]\r\ndrei=3\r\n");
    EXPECT_EQ(ini.vasKeys(L"A"), (std::vector<Text>{L"eins", L"zwei"}));
    EXPECT_EQ(ini.vasSections(), (std::vector<Text>{L"A", L"Leer", L"B"}));
    EXPECT_EQ(ini.vasSectionLines(L"A"), (std::vector<Text>{L"eins=1", L"zwei="}));
    EXPECT_TRUE(ini.vasKeys(L"Leer").empty());
    EXPECT_TRUE(ini.vasKeys(L"C").empty());
    EXPECT_TRUE(ini.vasSectionLines(L"Leer").empty());
}

TEST_F(Profile, ListsLongSectionsWhole) {
    std::string content = "[S]\r\n";
    std::vector<Text> keys;
    std::vector<Text> lines;
    for (int i = 0; i < 400; ++i) {
        const std::string key = "Schluessel" + std::to_string(i);
        content += key + "=Wert\r\n";
        keys.push_back(TextFromAnsi(key));
        lines.push_back(TextFromAnsi(key) + L"=Wert");
    }
    Write(content);
    EXPECT_EQ(ini.vasKeys(L"S"), keys);
    EXPECT_EQ(ini.vasSectionLines(L"S"), lines);
    EXPECT_EQ(ini.ReadSection(L"S").Pairs().size(), 400U);
}

TEST_F(Profile, ListsNamesThatJustFillTheBuffer) {
    for (std::size_t length = 994; length <= 1002; ++length) {
        const TemporaryFolder own;
        CIniFile file(machine);
        file.sIniFile(own.Write(L"Lang.ini", "[S]\r\n" + std::string(length, 'k') + "=1\r\n"));
        EXPECT_EQ(file.vasKeys(L"S"), std::vector<Text>{Text(length, L'k')}) << length;
    }
}

TEST_F(Profile, WritesWhatItReads) {
    Write("[S]\r\nalt=1\r\n");
    ini.sString(L"S", L"Ort", L"Zürich");
    ini.lLong(L"S", L"Zahl", -17);
    ini.bBoolean(L"Neu", L"An", true);
    EXPECT_EQ(ini.sString(L"S", L"Ort"), L"Zürich");
    EXPECT_EQ(ini.lLong(L"S", L"Zahl"), -17);
    EXPECT_TRUE(ini.bBoolean(L"Neu", L"An"));
    EXPECT_EQ(ini.lLong(L"S", L"alt"), 1);
    EXPECT_NE(BytesOf(folder / L"Test.ini").find("Ort=" + AnsiFromText(L"Zürich")), std::string::npos);
}

TEST_F(Profile, CreatesItsFileWithTheFirstValue) {
    ini.sIniFile(folder / L"Neu.ini");
    ini.sString(L"S", L"k", L"v");
    EXPECT_EQ(ini.sString(L"S", L"k"), L"v");
}

TEST_F(Profile, TellsThatItCannotBeWritten) {
    const TemporaryFolder own;
    ini.sIniFile(own / L"Ordner");
    ASSERT_TRUE(CreateDirectoryW((own / L"Ordner").c_str(), nullptr));
    EXPECT_EQ(RaisedBy([&] { ini.sString(L"S", L"k", L"v"); }), (Raised{31036, L"Failed to write [S] k=v"}));
}

}  // namespace
}  // namespace kandora::test
