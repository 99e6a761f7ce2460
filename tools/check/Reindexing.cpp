#include "tools/check/Reindexing.h"

#include <algorithm>

#include "archive/ArchiveSession.h"
#include "automation/Errors.h"
#include "tools/check/BookingJudge.h"
#include "tools/check/ForwardingPlatform.h"
#include "tools/check/StandIns.h"
#include "tools/check/Surroundings.h"

namespace kandora::check {

namespace {

/// Hands out archives that are guarded.
class GuardedPlatform final : public ForwardingPlatform {
public:
    GuardedPlatform(Platform& machine, WriteGuard& guard) : ForwardingPlatform(machine), guard_(guard) {}

    LateBound CreateObject(const Text& progId) override {
        const LateBound object = ForwardingPlatform::CreateObject(progId);
        return progId == archiveClass ? NewGuardedArchive(object, guard_) : object;
    }

private:
    WriteGuard& guard_;
};

class Reindexer {
public:
    explicit Reindexer(MGlobals& globals)
        : globals_(globals), platform_(globals.Machine(), guard_), archive_(globals.goArchiv()),
          reader_(*archive_, globals.state), judge_(globals, reader_),
          writer_(Context(globals.ArchiveSide())) {}

    Reindexed Run(const std::vector<EntryFinding>& entries, const ReindexWatch& watch) {
        Reindexed result;
        try {
            reader_.Reconnect();
            reader_.FindFolders();
            for (const EntryFinding& entry : entries) {
                if (watch.isInterrupted()) {
                    result.failure = L"unterbrochen";
                    break;
                }
                const Text reason = Mend(entry);
                if (reason.empty()) {
                    result.written.push_back(entry.entry);
                } else {
                    result.left.emplace_back(entry.entry, reason);
                }
                watch.onEntry(entry.entry, reason);
            }
        } catch (...) {
            result.failure = TextOfError(CurrentError());
        }
        guard_ = {};
        globals_.goErrHandler().Clear();
        return result;
    }

private:
    ArchiveContext Context(const ArchiveContext& real) {
        return {platform_, real.userInterface, real.errHandler, real.state, real.vouchers, real.user};
    }

    /// Why the entry was left as it was; empty when it has been written. Raises when that failed.
    Text Mend(const EntryFinding& finding) {
        const Text barcode = BarcodeFor(finding);
        const auto before = Read(finding);
        if (!before || before->identity != finding.identity) {
            return L"inzwischen ein anderer Eintrag";
        }
        if (DifferencesOf(*before, barcode).empty()) {
            return L"stimmt inzwischen";
        }
        if (const Text reason = Write(finding, barcode); !reason.empty()) {
            return reason;
        }
        const auto after = Read(finding);
        if (!after) {
            throw RuntimeError(errors::internal, L"Eintrag " + Decimal(finding.entry) +
                                                     L" ist nach dem Schreiben nicht mehr da");
        }
        if (const auto fields = DifferencesOf(*after, barcode); !fields.empty()) {
            const FieldDifference& field = fields.front();
            throw RuntimeError(errors::internal, L"Eintrag " + Decimal(finding.entry) +
                                                     L" weicht nach dem Schreiben ab: " + field.key + L" «" +
                                                     field.archive + L"» statt «" + field.accounting + L"»");
        }
        return {};
    }

    /// Why a change does not reach the entry; empty when it was written.
    Text Write(const EntryFinding& finding, const Text& barcode) {
        guard_ = {finding.entry, false, 0};
        // A change does not clear the records first: nothing of the last entry may reach this one.
        globals_.state.records = {};
        try {
            writer_.ChangeDocument(barcode, finding.identity.number, finding.identity.index,
                                   finding.identity.docId);
        } catch (...) {
            globals_.goErrHandler().Clear();
            if (guard_.refused == 0) {
                throw;
            }
            return L"Nummer und Index führen zuerst zu Eintrag " + Decimal(guard_.refused);
        }
        return guard_.isLoaded ? Text() : L"Nummer und Index führen zu keinem Eintrag";
    }

    std::optional<ArchivedEntry> Read(const EntryFinding& finding) {
        for (const DocumentKind* kind : MasksInOrder(globals_.state.settings)) {
            if (globals_.state.settings.*kind->mask == finding.mask) {
                return reader_.Read({kind, 0, {}}, finding.hit, finding.entry);
            }
        }
        return std::nullopt;
    }

    std::vector<FieldDifference> DifferencesOf(const ArchivedEntry& entry, const Text& barcode) {
        for (const EntryFinding& finding : judge_.Judge(entry, barcode)) {
            if (finding.kind == Discrepancy::Differing) {
                return finding.fields;
            }
        }
        return {};
    }

    /// The barcode that a log has told; a change without one leaves the entry's own.
    static Text BarcodeFor(const EntryFinding& finding) {
        for (const FieldDifference& field : finding.fields) {
            if (field.key == L"Barcode") {
                return field.accounting;
            }
        }
        return {};
    }

    MGlobals& globals_;
    WriteGuard guard_;
    GuardedPlatform platform_;
    std::shared_ptr<ELODMS> archive_;
    EntryReader reader_;
    BookingJudge judge_;
    ELODMS writer_;
};

}  // namespace

std::vector<EntryFinding> Differing(const Reconciled& reconciled) {
    std::vector<EntryFinding> found;
    std::ranges::copy_if(reconciled.findings, std::back_inserter(found),
                         [](const EntryFinding& finding) { return finding.kind == Discrepancy::Differing; });
    return found;
}

Reindexed Reindex(MGlobals& globals, const std::vector<EntryFinding>& entries, const ReindexWatch& watch) {
    return Reindexer(globals).Run(entries, watch);
}

}  // namespace kandora::check
