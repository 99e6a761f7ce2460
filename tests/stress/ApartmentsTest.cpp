#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "tests/stress/StressPlace.h"
#include "tests/support/Unique.h"

// One process with several apartments, each of which files a year of its own into the same archive.
namespace kandora::stress_tests {
namespace {

constexpr int apartments = 6;
constexpr int rounds = 25;

/// An accounting with a client of its own.
struct Office {
    explicit Office(int number) : accounting(faults, ledger) {
        const Text sign = Decimal(number) + L"-";
        for (model_tests::Client& client : ledger.clients) {
            for (model_tests::Booking& booking : client.bookings) {
                booking.docId = sign + booking.docId;
                booking.text = sign + booking.text;
                if (!booking.barcode.empty()) {
                    booking.barcode = sign + booking.barcode;
                }
            }
        }
    }

    model_tests::Faults faults;
    model_tests::Ledger ledger;
    model_tests::Accounting accounting;
};

/// Lets this process use all processors, for as long as it lives: tests are usually given one.
class OnAllProcessors : test::Unique {
public:
    OnAllProcessors() {
        DWORD_PTR all = 0;
        EXPECT_TRUE(GetProcessAffinityMask(GetCurrentProcess(), &own_, &all));
        EXPECT_TRUE(SetProcessAffinityMask(GetCurrentProcess(), all));
    }
    ~OnAllProcessors() { EXPECT_TRUE(SetProcessAffinityMask(GetCurrentProcess(), own_)); }

private:
    DWORD_PTR own_ = 0;
};

TEST(Apartments, FileAtTheSameTime) {
    const OnAllProcessors processors;
    Place place;
    const Component component(place.Library());
    std::vector<std::unique_ptr<Office>> offices;
    for (int number = 0; number < apartments; ++number) {
        offices.push_back(std::make_unique<Office>(number));
        offices.back()->accounting.options[0] = place.OptionsFor(L"/Sesam/Amt " + Decimal(number));
    }
    std::vector<std::thread> threads;
    for (const std::unique_ptr<Office>& office : offices) {
        threads.emplace_back([&place, &component, &office] {
            const Apartment apartment;
            const ImpatientUser user;
            Stay stay(place, component, &office->accounting);
            for (int round = 0; round < rounds; ++round) {
                for (const model_tests::Booking& booking : office->ledger.Current().bookings) {
                    stay.Send(0, booking);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ImpatientUser::Latest(), "");
    EXPECT_EQ(place.archive.sessions, 0U);

    std::map<Text, int> filed;
    for (const auto& [id, entry] : place.archive.entries) {
        const std::int16_t first = model_tests::FirstLine(entry.mask);
        const auto field = [&, &fields = entry.fields](int line) {
            const auto found = fields.find(static_cast<std::int16_t>(first + line));
            return found == fields.end() ? Text() : found->second;
        };
        const Text sign = entry.title.substr(0, entry.title.find(L'-') + 1);
        ++filed[field(4)];
        // Nothing in an entry comes from another office or another booking.
        EXPECT_TRUE(entry.folder.starts_with(L"/Sesam/Amt " + sign.substr(0, sign.size() - 1) + L"/"));
        const model_tests::Booking* const booking =
            offices.at(static_cast<std::size_t>(std::stoi(sign)))->ledger.Find(field(1), field(2));
        ASSERT_NE(booking, nullptr);
        EXPECT_EQ(entry.title, booking->text);
        EXPECT_EQ(field(0), booking->barcode);
        EXPECT_EQ(field(3), L"Pendent");
        EXPECT_EQ(field(4), booking->docId);
        EXPECT_EQ(field(5), booking->date);
    }
    std::size_t expected = 0;
    for (const std::unique_ptr<Office>& office : offices) {
        for (const model_tests::Booking& booking : office->ledger.Current().bookings) {
            EXPECT_EQ(filed[booking.docId], booking.barcode.empty() ? 0 : rounds);
            expected += booking.barcode.empty() ? 0U : static_cast<std::size_t>(rounds);
        }
    }
    EXPECT_EQ(place.archive.entries.size(), expected);
    std::cout << apartments << " apartments filed " << expected << " vouchers at the same time" << std::endl;
}

}  // namespace
}  // namespace kandora::stress_tests
