#include <gmock/gmock.h>

#include "simulators/archive/EntryTable.h"
#include "simulators/archive/tests/ArchiveFixture.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;

class EntryTableTest : public StoreFixture {
protected:
    std::int32_t FileEntry(std::int32_t mask, std::wstring_view shortName, const FieldValues& fields) {
        Entry entry = Voucher(folder_, shortName);
        entry.mask = mask;
        entry.fields = fields;
        return store_.File(entry, store_.AddToPostbox(document_, L"KAN")).id;
    }

    std::vector<std::wstring> Column(std::size_t column) const {
        std::vector<std::wstring> cells;
        for (std::size_t row = 0; row < table_.RowCount(); ++row) {
            cells.push_back(table_.Cell(row, column));
        }
        return cells;
    }

    ArchiveStore store_{StorePath()};
    std::int32_t folder_ = store_.CreateFolders(L"¶Belege").value();
    EntryTable table_{store_};
};

TEST_F(EntryTableTest, ShowsTheFieldsOfTheMasksThatOccur) {
    table_.Show(folder_);
    EXPECT_THAT(table_.Columns(), ElementsAre(L"Nummer", L"Kurzbezeichnung", L"Maske", L"Abgelegt"));
    FileEntry(3, L"Liste", {{std::int16_t{1}, L"Bilanz"}, {std::int16_t{3}, L"31.12.2026"}});
    EXPECT_TRUE(table_.Refresh());
    EXPECT_THAT(table_.Columns(), ElementsAre(L"Nummer", L"Kurzbezeichnung", L"Maske", L"Abgelegt",
                                              L"Listenbeschreibung", L"Datum von", L"Datum bis"));
    FileEntry(3, L"Liste", {});
    EXPECT_FALSE(table_.Refresh());
    EXPECT_EQ(table_.Cell(0, 2), L"Auswertungen");
    EXPECT_EQ(table_.Cell(0, 4), L"Bilanz");
    EXPECT_EQ(table_.Cell(0, 5), L"");
    EXPECT_EQ(table_.Cell(0, 6), L"31.12.2026");
    EXPECT_EQ(table_.Cell(7, 0), L"");
}

TEST_F(EntryTableTest, PutsFieldsOfTheSameNameIntoOneColumn) {
    FileEntry(2, L"Beleg", {{std::int16_t{1}, L"B1"}});
    FileEntry(4, L"Debitor", {{std::int16_t{1}, L"B2"}, {std::int16_t{13}, L"Zürich"}});
    table_.Show(folder_);
    EXPECT_EQ(table_.Columns().size(), 4U + 13U);
    EXPECT_THAT(Column(4), ElementsAre(L"B1", L"B2"));
    EXPECT_THAT(Column(16), ElementsAre(L"", L"Zürich"));
}

TEST_F(EntryTableTest, SortsByEveryColumnAndBothWays) {
    FileEntry(2, L"Beleg 10", {{std::int16_t{7}, L"9.50"}});
    FileEntry(2, L"beleg 9", {{std::int16_t{7}, L"100.00"}});
    FileEntry(2, L"Auszug", {{std::int16_t{7}, L"20.00"}});
    table_.Show(folder_);
    EXPECT_THAT(Column(1), ElementsAre(L"Beleg 10", L"beleg 9", L"Auszug"));
    table_.SortBy(EntryTable::ShortName, false);
    EXPECT_THAT(Column(1), ElementsAre(L"Auszug", L"beleg 9", L"Beleg 10"));
    table_.SortBy(EntryTable::FirstField + 6, true);
    EXPECT_THAT(Column(EntryTable::FirstField + 6), ElementsAre(L"100.00", L"20.00", L"9.50"));
    table_.SortBy(EntryTable::Number, false);
    EXPECT_THAT(Column(1), ElementsAre(L"Beleg 10", L"beleg 9", L"Auszug"));
    table_.SortBy(EntryTable::FirstField + 6, true);
    FileEntry(2, L"Neu", {{std::int16_t{7}, L"50.00"}});
    table_.Refresh();
    EXPECT_EQ(table_.Cell(1, 1), L"Neu") << "new entries take their place in the order";
    EXPECT_EQ(table_.RowOf(table_.IdAt(1)), 1U);
    table_.Show(folder_);
    EXPECT_EQ(table_.Cell(3, 1), L"Neu");
}

TEST_F(EntryTableTest, FindsAShortNameByItsBeginning) {
    FileEntry(2, L"Müller", {});
    FileEntry(2, L"Meier", {});
    FileEntry(2, L"Müllers", {});
    table_.Show(folder_);
    EXPECT_EQ(table_.FindShortName(L"mÜ", 0), 0U);
    EXPECT_EQ(table_.FindShortName(L"mü", 1), 2U);
    EXPECT_EQ(table_.FindShortName(L"me", 2), 1U);
    EXPECT_EQ(table_.FindShortName(L"x", 0), std::nullopt);
    table_.Show(4711);
    EXPECT_EQ(table_.RowCount(), 0U);
    EXPECT_EQ(table_.FindShortName(L"m", 0), std::nullopt);
}

TEST_F(EntryTableTest, DescribesEntriesAndFolders) {
    const std::int32_t id = FileEntry(2, L"Rechnung", {{std::int16_t{2}, L"1001"}});
    const Details entry = Describe(store_, id);
    ASSERT_EQ(entry.size(), 6U + 7U);
    EXPECT_EQ(entry[0], std::make_pair(std::wstring(L"Kurzbezeichnung"), std::wstring(L"Rechnung")));
    EXPECT_EQ(entry[2].second, L"Muster-Archiv › Belege");
    EXPECT_EQ(entry[5].second, std::to_wstring(id) + L".pdf");
    EXPECT_EQ(entry[7], std::make_pair(std::wstring(L"Belegnummer"), std::wstring(L"1001")));
    const Details folder = Describe(store_, folder_);
    EXPECT_EQ(folder.back(), std::make_pair(std::wstring(L"Einträge"), std::wstring(L"1")));
    EXPECT_EQ(Describe(store_, rootId).front().second, L"Muster-Archiv");
    EXPECT_TRUE(Describe(store_, 4711).empty());
}

TEST(ReadableTimeTest, WritesTheDateAsPeopleDo) {
    EXPECT_EQ(ReadableTime(L"2026-11-20T10:11:12"), L"20.11.2026 10:11");
    EXPECT_EQ(ReadableTime(L"gestern"), L"gestern");
    EXPECT_EQ(ReadableTime(L""), L"");
}

}  // namespace

}  // namespace kandora::simulators
