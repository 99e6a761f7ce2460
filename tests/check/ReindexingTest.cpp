// Entries that differ are written anew by the component's own change, and nothing else is.
#include "tests/check/ReconcileWorld.h"

#include "interfaces/CodePages.h"
#include "tools/check/Reindexing.h"

namespace kandora::check_tests {

namespace {

class Reindexing : public ReconcileWorld {
protected:
    check::Reindexed Mend() { return check::Reindex(globals, check::Differing(Compare()), {}); }

    using Ids = std::vector<std::int32_t>;
};

TEST_F(Reindexing, WhatDiffersIsWrittenAnew) {
    const test::Entries right = archive.entries;
    for (const auto& [kind, entry] : {std::pair(voucher, voucherEntry), std::pair(debtor, debtorEntry),
                                      std::pair(creditor, creditorEntry)}) {
        FieldOf(entry, kind, Amount) = L"1";
        archive.entries.at(entry).shortName = L"alt";
    }
    const check::Reindexed result = Mend();
    EXPECT_EQ(result.written, (Ids{voucherEntry, creditorEntry, debtorEntry}));
    EXPECT_TRUE(result.left.empty());
    EXPECT_EQ(result.failure, L"");
    EXPECT_EQ(archive.entries, right);
    Expect({});
}

TEST_F(Reindexing, OnlyWhatNumberAndIndexLeadToFirst) {
    const std::int32_t twin = Copy(debtorEntry);
    FieldOf(twin, debtor, Amount) = L"1";
    const test::Entries before = archive.entries;
    const check::Reindexed result = Mend();
    EXPECT_EQ(result.written, Ids());
    ASSERT_EQ(result.left.size(), 1U);
    EXPECT_EQ(result.left.front().first, twin);
    EXPECT_EQ(result.left.front().second,
              L"Nummer und Index führen zuerst zu Eintrag " + Decimal(debtorEntry));
    EXPECT_EQ(archive.entries, before);
}

TEST_F(Reindexing, WhatABookingWithoutOpenItemLeavesOutIsEmptied) {
    // The debtor's voucher comes first, whose partner must not get into the creditor's.
    FieldOf(creditorEntry, creditor, Amount) = L"1";
    FieldOf(debtorEntry, debtor, Amount) = L"1";
    BookingOf(L"18").openItem.clear();
    BookingOf(L"19").openItem.clear();
    Mend();
    for (std::int16_t offset = Amount; offset < 13; ++offset) {
        EXPECT_EQ(FieldOf(creditorEntry, creditor, static_cast<Field>(offset)), L"") << offset;
        EXPECT_EQ(FieldOf(debtorEntry, debtor, static_cast<Field>(offset)), L"") << offset;
    }
}

TEST_F(Reindexing, StopsAtTheFirstFailure) {
    FieldOf(voucherEntry, voucher, Amount) = L"1";
    FieldOf(debtorEntry, debtor, Amount) = L"1";
    const auto differing = check::Differing(Compare());
    conductor.Begin(true);
    check::Reindex(globals, {differing.front()}, {});
    conductor.End();
    std::size_t update = 0;
    for (std::size_t call = 0; call < conductor.Seen().size(); ++call) {
        const test::SeenCall& seen = conductor.Seen()[call];
        update = seen.operation == L"UpdateObject" ? call + 1 : update;
        for (const wchar_t* const forbidden :
             {L"DeleteObj", L"AddPostboxFile", L"MoveToArchive", L"Inischreiben"}) {
            EXPECT_NE(seen.operation, forbidden);
        }
    }
    ASSERT_NE(update, 0U);
    FieldOf(voucherEntry, voucher, Amount) = L"1";
    const test::Entries before = archive.entries;
    conductor.Plan(update, test::Ways().front(), test::Duration::Once);
    conductor.Begin();
    const check::Reindexed result = check::Reindex(globals, differing, {});
    conductor.End();
    EXPECT_EQ(result.written, Ids());
    EXPECT_EQ(result.failure, L"[1234] Von Müller gesperrt");
    EXPECT_EQ(archive.entries, before);
}

}  // namespace

}  // namespace kandora::check_tests
