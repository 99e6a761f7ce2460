#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "simulators/common/JsonFile.h"
#include "simulators/common/tests/FailureOf.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

JsonFile Parsed(std::string text) {
    return JsonFile::Parse(L"probe.json", std::move(text));
}

TEST(JsonFileTest, NamesThePlaceOfASyntaxError) {
    EXPECT_EQ(FailureOf([] { Parsed("{\n  \"a\": 1,\n  \"b\" 2\n}"); }),
              L"probe.json, Zeile 3, Spalte 7: Das ist kein gültiges JSON.");
    EXPECT_EQ(FailureOf([] { Parsed("{\"a\": [1, 2"); }),
              L"probe.json, Zeile 1, Spalte 12: Das JSON endet zu früh.");
    EXPECT_EQ(FailureOf([] { Parsed(""); }), L"probe.json, Zeile 1, Spalte 1: Das JSON endet zu früh.");
    EXPECT_EQ(FailureOf([] { Parsed("\"\xFF\""); }),
              L"probe.json, Zeile 1, Spalte 2: Das ist kein gültiges JSON.");
}

TEST(JsonFileTest, CountsColumnsInCharactersNotBytes) {
    EXPECT_EQ(FailureOf([] { Parsed("{\"Grösse äöü\": x}"); }),
              L"probe.json, Zeile 1, Spalte 16: Das ist kein gültiges JSON.");
}

TEST(JsonFileTest, SkipsAByteOrderMark) {
    const JsonFile file = Parsed("\xEF\xBB\xBF{\"a\": 1}");
    EXPECT_EQ(file.Integer(file.Required(file.Root(), "a")), 1);
}

TEST(JsonFileTest, NamesThePlaceOfAValueThatDoesNotFit) {
    const JsonFile file = Parsed("{\n"
                                 "  \"liste\": [ 1, -2.5e3 , true,null, \"x\", {\"tief\": [[], {}, 7]} ],\n"
                                 "  \"ende\":\"z\"\n"
                                 "}");
    const Json& list = file.Required(file.Root(), "liste");
    const auto placeOf = [&](const Json& node) {
        const std::wstring message = FailureOf([&] { file.Fail(node, L"."); });
        return message.substr(12, message.size() - 12 - 3);
    };
    EXPECT_EQ(placeOf(file.Root()), L"Zeile 1, Spalte 1");
    EXPECT_EQ(placeOf(list), L"Zeile 2, Spalte 12");
    EXPECT_EQ(placeOf(list[0]), L"Zeile 2, Spalte 14");
    EXPECT_EQ(placeOf(list[1]), L"Zeile 2, Spalte 17");
    EXPECT_EQ(placeOf(list[2]), L"Zeile 2, Spalte 26");
    EXPECT_EQ(placeOf(list[3]), L"Zeile 2, Spalte 31");
    EXPECT_EQ(placeOf(list[4]), L"Zeile 2, Spalte 37");
    EXPECT_EQ(placeOf(list[5]), L"Zeile 2, Spalte 42");
    EXPECT_EQ(placeOf(list[5]["tief"][1]), L"Zeile 2, Spalte 56");
    EXPECT_EQ(placeOf(list[5]["tief"][2]), L"Zeile 2, Spalte 60");
    EXPECT_EQ(placeOf(file.Root()["ende"]), L"Zeile 3, Spalte 10");
}

TEST(JsonFileTest, NamesAnUnknownMember) {
    const JsonFile file = Parsed("{\"a\": {\"b\": 1},\n \"b\": {\n   \"ü\": 2, \"c\": 3}}");
    EXPECT_EQ(FailureOf([&] { file.AllowOnly(file.Root()["b"], {"c"}); }),
              L"probe.json, Zeile 3, Spalte 4: Unbekannte Angabe «ü».");
    EXPECT_EQ(FailureOf([&] { file.AllowOnly(file.Root()["b"], {"c", "ü"}); }), L"");
}

TEST(JsonFileTest, SaysWhatIsMissingOrOfTheWrongKind) {
    const JsonFile file = Parsed(R"({"zahl": 3, "text": "", "gross": 99999999999, "bruch": 1.5})");
    const auto& root = file.Root();
    EXPECT_EQ(FailureOf([&] { file.Required(root, "fehlt"); }),
              L"probe.json, Zeile 1, Spalte 1: Die Angabe «fehlt» fehlt.");
    EXPECT_EQ(FailureOf([&] { file.Text(root["zahl"]); }),
              L"probe.json, Zeile 1, Spalte 10: Hier muss ein Text in Anführungszeichen stehen.");
    EXPECT_EQ(FailureOf([&] { file.NonEmptyText(root["text"]); }),
              L"probe.json, Zeile 1, Spalte 21: Der Text darf nicht leer sein.");
    EXPECT_EQ(FailureOf([&] { file.Integer(root["zahl"], 4, 9); }),
              L"probe.json, Zeile 1, Spalte 10: Die Zahl muss zwischen 4 und 9 liegen.");
    EXPECT_NE(FailureOf([&] { file.Integer(root["gross"]); }), L"");
    EXPECT_EQ(FailureOf([&] { file.Integer(root["bruch"]); }),
              L"probe.json, Zeile 1, Spalte 56: Hier muss eine ganze Zahl stehen.");
    EXPECT_NE(FailureOf([&] { file.Boolean(root["zahl"]); }), L"");
    EXPECT_NE(FailureOf([&] { file.Array(root["zahl"]); }), L"");
    EXPECT_NE(FailureOf([&] { file.Object(root["zahl"]); }), L"");
    EXPECT_EQ(file.Optional(root, "fehlt"), nullptr);
}

TEST(JsonFileTest, NamesAFileThatIsNotThere) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring message = FailureOf([&] { JsonFile::Read(directory / L"nichts.json"); });
    EXPECT_NE(message.find(L"nichts.json"), std::wstring::npos);
    EXPECT_TRUE(message.starts_with(L"Die Datei kann nicht gelesen werden")) << Utf8FromText(message);
}

}  // namespace

}  // namespace kandora::simulators
