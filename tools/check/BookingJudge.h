#pragma once

#include <vector>

#include "tools/check/DryRun.h"
#include "tools/check/EntryReader.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

/// A finding about an entry, still without its text.
EntryFinding AboutEntry(Discrepancy kind, const ArchivedEntry& entry);

/// Compares entries with their bookings: with what the component's own filing would write now.
class BookingJudge {
public:
    /// Both outlive the judge.
    BookingJudge(MGlobals& globals, const EntryReader& reader);

    /// What is wrong with an own entry, as far as its booking tells, and the barcode if one is known. Raises
    /// what reading the booking raises, unless there is none.
    std::vector<EntryFinding> Judge(const ArchivedEntry& entry, const Text& barcode);
    /// Raises likewise.
    bool HasBooking(const Identity& identity);

private:
    /// The booking's kind; null when there is no such booking.
    const DocumentKind* Rehearse(const Identity& identity, const Text& barcode);
    /// Between the entry and what has just been rehearsed.
    [[nodiscard]] std::vector<FieldDifference> Differences(const ArchivedEntry& entry,
                                                           const DocumentKind& kind, bool withBarcode) const;

    MGlobals& globals_;
    const EntryReader& reader_;
    Rehearsal rehearsal_;
};

}  // namespace kandora::check
