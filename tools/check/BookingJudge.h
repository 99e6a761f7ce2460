#pragma once

#include <vector>

#include "tools/check/DryRun.h"
#include "tools/check/EntryReader.h"
#include "tools/check/Reconciled.h"
#include "tools/check/TracedRequests.h"

namespace kandora::check {

/// A finding about an entry, still without its text.
EntryFinding AboutEntry(Discrepancy kind, const ArchivedEntry& entry);

/// Compares entries with their bookings: with what the component's own filing would write now.
class BookingJudge {
public:
    /// Both outlive the judge.
    BookingJudge(MGlobals& globals, const EntryReader& reader);
    /// From now on barcodes are compared, too, where these requests tell them.
    void Trust(const TracedRequests& requests) { requests_ = &requests; }

    /// What is wrong with an own entry, as far as its booking tells. Raises what reading the booking raises,
    /// unless there is none.
    std::vector<EntryFinding> Judge(const ArchivedEntry& entry);
    /// Raises likewise.
    bool HasBooking(const Identity& identity);
    /// The differences between the entry and what a change would write into it. Only after a booking was
    /// read, and for an entry of its kind.
    [[nodiscard]] std::vector<FieldDifference> Differences(const ArchivedEntry& entry,
                                                           const DocumentKind& kind) const;

private:
    /// The booking's kind; null when there is no such booking.
    const DocumentKind* Rehearse(const Identity& identity, const Text& barcode);

    MGlobals& globals_;
    const EntryReader& reader_;
    const TracedRequests* requests_ = nullptr;
    Rehearsal rehearsal_;
    Text barcode_;  ///< that the latest rehearsal was told
};

}  // namespace kandora::check
