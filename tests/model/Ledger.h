#pragma once

#include <array>
#include <map>
#include <vector>

#include "automation/Text.h"

namespace kandora::model_tests {

/// A booking as the accounting holds it.
struct Booking {
    Text number;
    Text index;
    Text docId;
    Text barcode;
    Text text;
    Text date;
    Text amount;
    Text openItem;          ///< empty: none
    int origin = 0;         ///< 1 debtors, 2 creditors
    bool isStruck = false;  ///< the accounting no longer has it
};

struct OpenItem {
    Text date;
    Text amount;
    int account;
};

struct Address {
    Text company;
    Text postcode;
    Text place;
};

/// One client of the accounting.
struct Client {
    Text path;  ///< ends in the client's name
    std::vector<Booking> bookings;
};

/// The data of the accounting and its users: the component gets them through automation classes, the model
/// reads them directly.
struct Ledger {
    Ledger();

    std::vector<Client> clients;
    std::map<Text, OpenItem> openItems;
    std::map<int, int> addressOfAccount;
    std::map<int, Address> addresses;

    std::size_t open = 0;                 ///< the client in use
    Text typedFolder;                     ///< what the user types as archive folder; empty: what is proposed
    bool isPlaceholderThere = true;       ///< the placeholder document exists
    std::array<Text, 4> describedReport;  ///< title, description, from, to
    bool isReportConfirmed = true;

    [[nodiscard]] const Client& Current() const { return clients.at(open); }
    [[nodiscard]] const Booking* Find(const Text& number, const Text& index) const;
};

inline constexpr const wchar_t* placeholderFile = L"C:\\Kandora\\Platzhalter.pdf";
inline constexpr const wchar_t* printedFile = L"C:\\Druck\\Liste.pdf";

}  // namespace kandora::model_tests
