#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "automation/Text.h"
#include "automation/Variant.h"
#include "tests/support/FakeObject.h"

namespace kandora::test {

/// One booking of the host's client, with everything that hangs on it.
struct Booking {
    std::int32_t origin = 0;
    Text text;
    Text date;
    Text amount;
    Text openItem;
    Text invoiceDate;
    Text invoiceAmount;
    Text account;
    Text addressId;
    Text company;
    Text postcode;
    Text place;
};

/// The accounting host: objects of its class stand for a client that each of them opens for itself. An object
/// whose client is not open answers nothing but questions about the client.
class HostModel {
public:
    static constexpr std::int32_t clientClosed = 1005;  ///< error of an object without an open client

    explicit HostModel(Seam* seam) : seam_(seam) {}

    /// A new object of the host's class; its client is closed.
    Fake NewObject();

    Text client = L"C:\\Daten\\Muster";
    /// The client's options in group 600.
    std::map<std::int32_t, Text> options;
    /// By voucher number and index.
    std::map<std::pair<Text, Text>, Booking> bookings;

private:
    Fake NewBooking();
    Fake NewPart(const char* name, const wchar_t* key, Text Booking::* number,
                 std::initializer_list<std::pair<const wchar_t*, Text Booking::*>> values);

    Seam* seam_;
};

}  // namespace kandora::test
