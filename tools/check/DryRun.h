#pragma once

#include <utility>
#include <vector>

#include "archive/ELODMS.h"
#include "automation/LateBound.h"
#include "automation/Text.h"
#include "provider/MGlobals.h"
#include "tools/check/ForwardingPlatform.h"

namespace kandora::check {

/// What an archive was told while something was filed.
struct NotedEntry {
    std::int32_t mask = 0;
    Text title;
    std::vector<std::pair<std::int16_t, Text>> fields;  ///< line and value, in the order of writing
    Text document;
    Text target;  ///< "#" and the folder's id
};

/// An archive for rehearsals. What would change something is noted in `entry` and answered with success;
/// questions about folders go to `archive`, the real one, or have the answer that all is there when it is
/// nothing. `entry` outlives the object.
LateBound NewDryRunArchive(const LateBound& archive, NotedEntry& entry);

/// A field whose value the host tells only with its request.
inline bool ComesWithRequest(const IndexField& field) {
    return field.value == &DocumentRecord::Barcode || field.value == &DocumentRecord::SesamDocID;
}

/// The component's own filing against an archive that only notes what it is told. The host is asked as for
/// any filing.
class Rehearsal {
public:
    /// `globals` outlives the rehearsal; for `archive` see above.
    Rehearsal(MGlobals& globals, const LateBound& archive);

    /// Files the voucher and tells its booking's kind. Raises what filing raises.
    Text File(const Text& number, const Text& index, const Text& barcode, const Text& docId);
    /// Whether the latest filing was raised because the host has no such booking.
    [[nodiscard]] bool IsBookingMissing() const noexcept { return vouchers_.isMissing; }
    [[nodiscard]] const NotedEntry& Noted() const noexcept { return entry_; }

private:
    /// Hands out the rehearsal's archive; everything else is the machine's.
    class RehearsalPlatform final : public ForwardingPlatform {
    public:
        RehearsalPlatform(Platform& machine, LateBound archive)
            : ForwardingPlatform(machine), archive_(std::move(archive)) {}

        LateBound CreateObject(const Text& progId) override;

    private:
        LateBound archive_;
    };

    /// Asks the host as a filing does and remembers the booking's kind.
    class WatchedVouchers final : public VoucherData {
    public:
        explicit WatchedVouchers(VoucherData& vouchers) : vouchers_(vouchers) {}

        Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) override;
        void GetDebiDaten(const Text& strBelegNr, const Text& strIndex) override {
            vouchers_.GetDebiDaten(strBelegNr, strIndex);
        }
        void GetKrediDaten(const Text& strBelegNr, const Text& strIndex) override {
            vouchers_.GetKrediDaten(strBelegNr, strIndex);
        }
        void GetBelegDaten(const Text& strBelegNr, const Text& strIndex) override {
            vouchers_.GetBelegDaten(strBelegNr, strIndex);
        }

        Text kind;
        bool isMissing = false;

    private:
        VoucherData& vouchers_;
    };

    ArchiveContext Context(const ArchiveContext& real) {
        return {platform_, real.userInterface, real.errHandler, real.state, vouchers_, real.user};
    }

    MGlobals& globals_;
    NotedEntry entry_;
    RehearsalPlatform platform_;
    WatchedVouchers vouchers_;
    ELODMS archive_;
};

}  // namespace kandora::check
