#include "tests/model/Ledger.h"

#include <algorithm>

namespace kandora::model_tests {

Ledger::Ledger() {
    clients = {{L"C:\\Daten\\Mandanten\\Muster AG", {}}, {L"C:\\Daten\\Mandanten\\Gärtnerei Süd", {}}};
    openItems = {{L"D-1", {L"02.01.2026", L"1200.50", 1100}},
                 {L"D-2", {L"03.02.2026", L"77", 1101}},
                 {L"K-1", {L"04.03.2026", L"0.05", 2000}},
                 {L"K-2", {L"05.04.2026", L"99999.95", 2001}}};
    addressOfAccount = {{1100, 41}, {1101, 42}, {2000, 43}, {2001, 41}};
    addresses = {{41, {L"Müller & Söhne", L"8000", L"Zürich"}},
                 {42, {L"Bäckerei Côté", L"1200", L"Genève"}},
                 {43, {L"Ölhandel", L"", L"Chur"}}};
    // Both clients use the same voucher numbers, and some of them several times.
    for (std::size_t client = 0; client < clients.size(); ++client) {
        const Text sign = client == 0 ? L"M" : L"G";
        int next = 0;
        const auto add = [&](const Text& number, const Text& index, int origin, const Text& openItem,
                             bool hasBarcode) {
            const Text id = sign + Decimal(++next);
            clients[client].bookings.push_back({number, index, L"DOC-" + id, hasBarcode ? L"BC" + id : Text(),
                                                L"Buchung " + id, L"0" + Decimal(next) + L".01.2026",
                                                Decimal(100 + next) + L".5", openItem, origin, false});
        };
        add(L"1001", L"1", 0, L"", true);
        add(L"1001", L"2", 1, L"D-1", true);
        add(L"1002", L"1", 2, L"K-1", true);
        add(L"1003", L"1", 1, L"", true);
        add(L"1004", L"1", 2, L"", true);
        add(L"1005", L"1", 0, L"", false);
        add(L"1006", L"1", 1, L"D-2", false);
        add(L"1007", L"1", 2, L"K-2", true);
    }
    describedReport = {L"Saldobilanz", L"Alle Konten", L"01.01.2026", L"31.12.2026"};
}

const Booking* Ledger::Find(const Text& number, const Text& index) const {
    const std::vector<Booking>& all = Current().bookings;
    const auto found = std::ranges::find_if(all, [&](const Booking& booking) {
        return booking.number == number && booking.index == index && !booking.isStruck;
    });
    return found == all.end() ? nullptr : &*found;
}

}  // namespace kandora::model_tests
