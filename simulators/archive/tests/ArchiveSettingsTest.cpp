#include <gtest/gtest.h>

#include "simulators/archive/ArchiveSettings.h"
#include "simulators/common/Files.h"
#include "simulators/common/tests/FailureOf.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

class SettingsTest : public ::testing::Test {
protected:
    std::wstring MessageFor(std::string_view text) {
        const std::wstring path = directory_.Write(L"archiv.json", text);
        const std::wstring message = FailureOf([&] { ReadArchiveSettings(path); });
        // Without the path, which differs from run to run.
        return message.starts_with(path) ? message.substr(path.size() + 2) : message;
    }

    kandora::test::TemporaryFolder directory_;
};

TEST_F(SettingsTest, TheSampleStoreDescribesAUsableArchive) {
    ASSERT_TRUE(CreateSampleStore(directory_ / L"neu\\Muster"));
    const ArchiveSettings settings = ReadArchiveSettings(directory_ / L"neu\\Muster\\archiv.json");
    EXPECT_EQ(settings.archives, std::vector<std::wstring>{L"Muster-Archiv"});
    EXPECT_EQ(settings.separator, L"¶");
    ASSERT_NE(settings.FindUser(L"kandora"), nullptr);
    EXPECT_EQ(settings.FindUser(L"kandora")->password, L"geheim");
    EXPECT_EQ(settings.FindUser(L"kandora")->shortSign, L"KAN");
    const std::vector<std::pair<std::int32_t, std::size_t>> masks{{1, 0}, {2, 7}, {3, 3}, {4, 13}, {5, 13}};
    for (const auto& [number, lines] : masks) {
        ASSERT_NE(settings.FindMask(number), nullptr) << number;
        EXPECT_EQ(settings.FindMask(number)->fields.size(), lines) << number;
    }
    EXPECT_EQ(settings.FindMask(4)->fields[12].name, L"Ort");
    EXPECT_TRUE(settings.FindMask(2)->HasLine(7));
    EXPECT_FALSE(settings.FindMask(2)->HasLine(8));
    EXPECT_EQ(settings.FindMask(6), nullptr);
}

TEST_F(SettingsTest, TheSampleNeverReplacesAStore) {
    const std::wstring path = directory_.Write(L"archiv.json", "meins");
    EXPECT_FALSE(CreateSampleStore(directory_.Path()));
    EXPECT_EQ(ReadWholeFile(path), "meins");
}

TEST_F(SettingsTest, AcceptsAnySeparatorThatIsNotEmpty) {
    const std::wstring path = directory_.Write(
        L"archiv.json", R"({"archive": ["A", "B"], "trennzeichen": " :: ", "benutzer": [], "masken": []})");
    const ArchiveSettings settings = ReadArchiveSettings(path);
    EXPECT_EQ(settings.separator, L" :: ");
    EXPECT_TRUE(settings.HasArchive(L"b"));
    EXPECT_EQ(
        MessageFor("{\"archive\": [\"A\"],\n \"trennzeichen\": \"\", \"benutzer\": [], \"masken\": []}"),
        L"Zeile 2, Spalte 18: Der Text darf nicht leer sein.");
}

TEST_F(SettingsTest, ComplainsWithLineAndColumn) {
    EXPECT_EQ(MessageFor("{\n  \"archive\": [\"A\"]\n  \"trennzeichen\": \"/\"}"),
              L"Zeile 3, Spalte 16: Das ist kein gültiges JSON.");
    EXPECT_EQ(MessageFor(R"({"archive": ["A"], "trennzeichen": "/", "benutzer": []})"),
              L"Zeile 1, Spalte 1: Die Angabe «masken» fehlt.");
    EXPECT_EQ(MessageFor(R"({"archive": [], "trennzeichen": "/", "benutzer": [], "masken": []})"),
              L"Zeile 1, Spalte 13: Mindestens ein Archiv muss einen Namen haben.");
    EXPECT_EQ(MessageFor(R"({"archiv": ["A"]})"), L"Zeile 1, Spalte 2: Unbekannte Angabe «archiv».");
    EXPECT_EQ(MessageFor("{\"archive\": [\"A\"], \"trennzeichen\": \"/\", \"masken\": [],\n"
                         "\"benutzer\": [{\"name\": \"x\", \"passwort\": \"y\"},\n"
                         "             {\"name\": \"X\", \"passwort\": \"z\"}]}"),
              L"Zeile 3, Spalte 23: Diesen Benutzer gibt es schon.");
    EXPECT_EQ(MessageFor("{\"archive\": [\"A\"], \"trennzeichen\": \"/\", \"benutzer\": [], \"masken\": [\n"
                         "{\"nummer\": 2, \"name\": \"M\", \"felder\": [{\"zeile\": 1, \"name\": \"a\"},\n"
                         " {\"zeile\": 1, \"name\": \"b\"}]}]}"),
              L"Zeile 3, Spalte 12: Diese Zeile gibt es in der Maske schon.");
    EXPECT_EQ(MessageFor("{\"archive\": [\"A\"], \"trennzeichen\": \"/\", \"benutzer\": [], \"masken\": [\n"
                         "{\"nummer\": \"2\", \"name\": \"M\", \"felder\": []}]}"),
              L"Zeile 2, Spalte 12: Hier muss eine ganze Zahl stehen.");
    EXPECT_EQ(MessageFor("{\"archive\": [\"A\"], \"trennzeichen\": \"/\", \"benutzer\": [], \"masken\": [\n"
                         "{\"nummer\": 2, \"name\": \"M\", \"felder\": []},\n"
                         "{\"nummer\": 2, \"name\": \"N\", \"felder\": []}]}"),
              L"Zeile 3, Spalte 12: Diese Maskennummer gibt es schon.");
}

}  // namespace

}  // namespace kandora::simulators
