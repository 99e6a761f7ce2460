#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "provider/MGlobals.h"
#include "tests/faults/ArchiveModel.h"
#include "tests/faults/Faults.h"
#include "tests/faults/HostModel.h"
#include "tests/protocol/World.h"
#include "tests/support/VirtualPatience.h"
#include "tools/check/Reconciliation.h"

namespace kandora::check_tests {

/// One of the three kinds of documents, as the tests tell them apart.
struct Kind {
    const wchar_t* name;
    std::int32_t origin;
    std::int32_t mask;
    std::int16_t firstLine;  ///< of the index fields, which follow each other
    const wchar_t* folder;
};

inline constexpr Kind voucher{L"Beleg", 0, 2, 11, L"/Sesam/Muster/Buchungen"};
inline constexpr Kind debtor{L"Debi", 1, 4, 31, L"/Sesam/Muster/Debi"};
inline constexpr Kind creditor{L"Kredi", 2, 5, 51, L"/Sesam/Muster/Kredi"};

/// Offsets of index fields from a kind's first line.
enum Field : std::int16_t { Barcode, Number, Index, Status, DocId, ValueDate, Amount };

/// A finding, short: "abweichend 101 Betrag".
std::string Short(const check::EntryFinding& finding);
test::Lines Short(const std::vector<check::EntryFinding>& findings);

/// An archive and a host with a memory, with a voucher of each kind filed by the component.
class ReconcileWorld : public testing::Test {
protected:
    ReconcileWorld();
    ~ReconcileWorld() override { globals.ReleaseServices(); }

    /// Has the component file a voucher of its own booking; the entry's id.
    std::int32_t File(const Kind& kind, const Text& number, const Text& docId = L"20261114080000");
    /// The same booking's entry once more.
    std::int32_t Copy(std::int32_t entry);
    Text& FieldOf(std::int32_t entry, const Kind& kind, Field field) {
        return archive.entries.at(entry).fields[static_cast<std::int16_t>(kind.firstLine + field)];
    }
    test::Booking& BookingOf(const Text& number) { return host.bookings.at({number, L"1"}); }

    check::Reconciled Compare() { return check::Reconcile(globals, options); }
    /// Compares, and expects these findings and that nothing was written.
    void Expect(const test::Lines& findings);

    test::VirtualPatience patience;
    test::Conductor conductor;
    test::Conversation talk;
    test::FakePlatform machine{talk};
    test::FakeUserInterface screen{talk};
    test::ArchiveModel archive{&conductor};
    test::HostModel host{&conductor};
    MGlobals globals{machine, screen};
    check::ReconcileOptions options;
    std::int32_t voucherEntry = 0;
    std::int32_t debtorEntry = 0;
    std::int32_t creditorEntry = 0;
};

}  // namespace kandora::check_tests
