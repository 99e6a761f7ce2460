#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>

#include "interfaces/CodePages.h"
#include "simulators/common/Files.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/ClientFile.h"
#include "simulators/host/Driver.h"
#include "simulators/host/tests/HostFixture.h"

namespace kandora::simulators {

namespace {

class SampleClient : public ::testing::Test {
protected:
    template <class Predicate>
    std::size_t CountBookings(Predicate predicate) const {
        return static_cast<std::size_t>(std::ranges::count_if(client_.Bookings(), predicate));
    }

    static bool IsPartner(const Booking& booking) { return booking.ursprung == 1 || booking.ursprung == 2; }

    static Ledger LedgerOf(const Booking& booking) {
        return booking.ursprung == 1 ? Ledger::Debtors : Ledger::Creditors;
    }

    const Address* AddressOf(const Booking& booking) const {
        const OpenItem* item = client_.FindOpenItem(LedgerOf(booking), booking.opNr);
        const PersonalAccount* account = item ? client_.FindAccount(LedgerOf(booking), item->pkNr) : nullptr;
        return account ? client_.FindAddress(account->adressId) : nullptr;
    }

    template <class Predicate>
    bool HasPartner(Predicate predicate) const {
        return CountBookings([&](const Booking& booking) {
                   const Address* address = IsPartner(booking) ? AddressOf(booking) : nullptr;
                   return address && !booking.barcode.empty() && predicate(*address);
               }) > 0;
    }

    ClientFile client_ = ClientFile::Load(SampleClientPath());
};

TEST_F(SampleClient, HoldsAYearOfAllKinds) {
    EXPECT_GE(client_.Bookings().size(), 320U);
    for (const int origin : {0, 1, 2, 3}) {
        EXPECT_GE(CountBookings([&](const Booking& booking) { return booking.ursprung == origin; }), 20U)
            << origin;
    }
    double first = 0;
    double last = 0;
    ASSERT_TRUE(ParseDate(L"2026-01-01", first));
    ASSERT_TRUE(ParseDate(L"2026-12-31", last));
    EXPECT_EQ(
        CountBookings([&](const Booking& booking) { return booking.datum < first || booking.datum > last; }),
        0U);
}

TEST_F(SampleClient, WasNeverSetUpForTheArchive) {
    EXPECT_EQ(client_.Option(optionGroup, 100), L"");
    EXPECT_EQ(client_.Mandant(), L"C:\\Daten\\Mandanten\\Muster AG");
}

TEST_F(SampleClient, HasBookingsOfEveryKindWithAndWithoutBarcode) {
    for (const int origin : {0, 1, 2, 3}) {
        for (const bool scanned : {false, true}) {
            EXPECT_GE(CountBookings([&](const Booking& booking) {
                          return booking.ursprung == origin && booking.barcode.empty() != scanned;
                      }),
                      2U)
                << origin << scanned;
        }
    }
}

TEST_F(SampleClient, HasPartnerBookingsWithAndWithoutOpenItem) {
    for (const int origin : {1, 2}) {
        for (const bool hasItem : {false, true}) {
            EXPECT_GE(CountBookings([&](const Booking& booking) {
                          return booking.ursprung == origin && !booking.barcode.empty() &&
                                 booking.opNr.empty() != hasItem;
                      }),
                      2U)
                << origin << hasItem;
        }
    }
}

TEST_F(SampleClient, HasTextsThatNeedCare) {
    const auto containing = [&](std::wstring_view part) {
        return CountBookings(
            [&](const Booking& booking) { return booking.text.find(part) != std::wstring::npos; });
    };
    EXPECT_GT(containing(L"ü"), 0U);
    EXPECT_GT(containing(L"'"), 0U);
    EXPECT_GT(containing(L"\""), 0U);
    EXPECT_GT(containing(L"&"), 0U);
    EXPECT_GT(CountBookings([](const Booking& booking) { return booking.text.size() > 255; }), 0U);
}

TEST_F(SampleClient, HasCreditNotesAndAmountsWithRappen) {
    for (const int origin : {1, 2}) {
        EXPECT_GT(CountBookings([&](const Booking& booking) {
                      const OpenItem* item = client_.FindOpenItem(LedgerOf(booking), booking.opNr);
                      return booking.ursprung == origin && booking.betrag < 0 && item &&
                             item->betragFaktura < 0;
                  }),
                  1U);
    }
    EXPECT_GT(CountBookings([](const Booking& booking) { return booking.betrag % 10000 != 0; }), 100U);
}

TEST_F(SampleClient, HasPartnersWithIncompleteAddresses) {
    EXPECT_TRUE(
        HasPartner([](const Address& address) { return address.ort.empty() && !address.plz.empty(); }));
    EXPECT_TRUE(
        HasPartner([](const Address& address) { return address.plz.empty() && !address.ort.empty(); }));
    EXPECT_TRUE(HasPartner([](const Address& address) { return address.firma.size() > 100; }));
    EXPECT_TRUE(
        HasPartner([](const Address& address) { return address.firma.find(L'\'') != std::wstring::npos; }));
}

TEST_F(SampleClient, HasEqualNumbersWithDifferentIndex) {
    std::map<std::wstring, std::size_t> indexes;
    for (const Booking& booking : client_.Bookings()) {
        ++indexes[booking.belegNr];
    }
    EXPECT_GT(std::ranges::count_if(indexes, [](const auto& entry) { return entry.second > 1; }), 10);
}

TEST_F(SampleClient, UsesTheSameItemNumberOnBothSides) {
    const auto isShared = [&](const Booking& booking) {
        return booking.ursprung == 1 && client_.FindOpenItem(Ledger::Debtors, booking.opNr) != nullptr &&
               client_.FindOpenItem(Ledger::Creditors, booking.opNr) != nullptr;
    };
    EXPECT_GT(CountBookings(isShared), 0U);
}

TEST_F(SampleClient, NumbersDocumentsWithFourteenDigitsAndOnlyOnce) {
    std::set<std::wstring> ids;
    for (const Booking& booking : client_.Bookings()) {
        EXPECT_EQ(booking.docId.size(), 14U);
        EXPECT_EQ(booking.docId.find_first_not_of(L"0123456789"), std::wstring::npos);
        EXPECT_TRUE(ids.insert(booking.docId).second) << Utf8FromText(booking.docId);
    }
    EXPECT_FALSE(ids.empty());
}

TEST_F(SampleClient, NumbersBarcodesOnlyOnce) {
    std::set<std::wstring> barcodes;
    for (const Booking& booking : client_.Bookings()) {
        EXPECT_TRUE(booking.barcode.empty() || barcodes.insert(booking.barcode).second);
    }
    EXPECT_FALSE(barcodes.empty());
}

TEST_F(SampleClient, LeadsNowhereOnlyWhereItSaysSo) {
    EXPECT_THAT(client_.UnresolvedReferences(), ::testing::IsEmpty());
}

TEST_F(SampleClient, HasOneGapOfEachKind) {
    const auto hasGap = [&](auto missing) {
        return CountBookings([&](const Booking& booking) {
                   return IsPartner(booking) && !booking.opNr.empty() && !booking.barcode.empty() &&
                          missing(booking);
               }) == 1;
    };
    EXPECT_TRUE(hasGap(
        [&](const Booking& booking) { return !client_.FindOpenItem(LedgerOf(booking), booking.opNr); }));
    EXPECT_TRUE(hasGap([&](const Booking& booking) {
        const OpenItem* item = client_.FindOpenItem(LedgerOf(booking), booking.opNr);
        return item && !client_.FindAccount(LedgerOf(booking), item->pkNr);
    }));
    EXPECT_TRUE(hasGap([&](const Booking& booking) {
        const OpenItem* item = client_.FindOpenItem(LedgerOf(booking), booking.opNr);
        const PersonalAccount* account = item ? client_.FindAccount(LedgerOf(booking), item->pkNr) : nullptr;
        return account && !client_.FindAddress(account->adressId);
    }));
}

TEST_F(SampleClient, IsWrittenBackAsItIsCommitted) {
    EXPECT_EQ(client_.Render(), ReadWholeFile(SampleClientPath()));
}

TEST_F(SampleClient, SuitsTheSampleRequests) {
    const std::filesystem::path path = SampleClientPath().parent_path() / L"Beispiel.txt";
    const auto requests = ParseRequests(TextFromUtf8(ReadWholeFile(path)), path.wstring());
    EXPECT_EQ(FailureOf([&] { CheckRequests(requests, path.wstring(), &client_); }), L"");
    EXPECT_GT(requests.size(), 15U);
}

}  // namespace

}  // namespace kandora::simulators
