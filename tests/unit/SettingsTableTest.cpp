#include "provider/SettingsTable.h"

#include <set>

#include <gtest/gtest.h>

#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

TEST(SettingsTable, HasFiftyKeysWithAPlaceEach) {
    Settings settings;
    std::vector<Setting> table = SwitchSettings(settings);
    EXPECT_EQ(table.size(), 2U);
    for (const Setting& row : ArchiveSettings(settings)) {
        table.push_back(row);
    }
    EXPECT_EQ(table.size(), 50U);
    std::set<Text> keys;
    std::set<void*> places;
    for (const Setting& row : table) {
        keys.insert(Text(row.section) + L"/" + row.key);
        std::visit([&](auto* place) { places.insert(place); }, row.target);
    }
    EXPECT_EQ(keys.size(), 50U);
    EXPECT_EQ(places.size(), 50U);
}

TEST(SettingsTable, SpellsTheStatusKeyWithASmallS) {
    Settings settings;
    int found = 0;
    for (const Setting& row : ArchiveSettings(settings)) {
        found += row.key == Text(L"Belegstatus") ? 1 : 0;
        EXPECT_NE(row.key, Text(L"BelegStatus"));
    }
    EXPECT_EQ(found, 3);
}

/// What a text becomes in a setting of each type, or the number of the error when it does not convert.
struct Conversion {
    const wchar_t* text;
    int asBoolean;
    int asLong;
    int asInteger;
};

constexpr int mismatch = 100013;
constexpr int overflow = 100006;

void PrintTo(const Conversion& row, std::ostream* stream) {
    *stream << Quoted(row.text);
}

class SettingText : public testing::TestWithParam<Conversion> {
protected:
    template <class Value>
    static int Stored() {
        Value value{};
        const std::int32_t number = NumberRaisedBy([&] { Store({L"", L"", &value}, GetParam().text); });
        return number == 0 ? static_cast<int>(value) : 100000 + number;
    }
};

INSTANTIATE_TEST_SUITE_P(Texts, SettingText,
                         testing::Values(Conversion{L"True", 1, mismatch, mismatch},
                                         Conversion{L"FALSE", 0, mismatch, mismatch},
                                         Conversion{L"tRUE", 1, mismatch, mismatch},  //
                                         Conversion{L"0", 0, 0, 0},                   //
                                         Conversion{L"1", 1, 1, 1},                   //
                                         Conversion{L"-1", 1, -1, -1},                //
                                         Conversion{L"17", 1, 17, 17},                //
                                         Conversion{L" 17 ", 1, 17, 17},              //
                                         Conversion{L"32767", 1, 32767, 32767},       //
                                         Conversion{L"32768", 1, 32768, overflow},    //
                                         Conversion{L"-32768", 1, -32768, -32768},    //
                                         Conversion{L"40000", 1, 40000, overflow},    //
                                         Conversion{L"2147483647", 1, 2147483647, overflow},
                                         Conversion{L"2147483648", 1, overflow, overflow},
                                         Conversion{L"", mismatch, mismatch, mismatch},
                                         Conversion{L" ", mismatch, mismatch, mismatch},
                                         Conversion{L"ja", mismatch, mismatch, mismatch},
                                         Conversion{L"12abc", mismatch, mismatch, mismatch},
                                         Conversion{L"1 2", mismatch, mismatch, mismatch}));

TEST_P(SettingText, IsConvertedByThePlacesType) {
    EXPECT_EQ(Stored<bool>(), GetParam().asBoolean);
    EXPECT_EQ(Stored<std::int32_t>(), GetParam().asLong);
    EXPECT_EQ(Stored<std::int16_t>(), GetParam().asInteger);
    Text text;
    Store({L"", L"", &text}, GetParam().text);
    EXPECT_EQ(text, GetParam().text);
}

TEST(SettingsTable, LeavesAPlaceAloneWhenTheTextDoesNotFit) {
    std::int16_t place = 7;
    EXPECT_EQ(NumberRaisedBy([&] { Store({L"", L"", &place}, L"40000"); }), 6);
    EXPECT_EQ(place, 7);
}

}  // namespace
}  // namespace kandora::test
