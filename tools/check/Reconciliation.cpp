#include "tools/check/Reconciliation.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"
#include "tools/check/Age.h"
#include "tools/check/BookingJudge.h"
#include "tools/check/EntryIndex.h"
#include "tools/check/EntryReader.h"
#include "tools/check/Sentences.h"
#include "tools/check/Surroundings.h"
#include "tools/check/TracedRequests.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* pendingStatus = L"Pendent";

/// So many entries in a row that cannot be read mean that nothing can be read any more.
constexpr int mostFailuresInARow = 20;
/// An entry or a group of them that looks otherwise each time is given up.
constexpr int mostLooks = 4;

/// Ends a comparison early; the reason is German.
struct Stopped {
    Text reason;
};

class Reconciler {
public:
    Reconciler(MGlobals& globals, const ReconcileOptions& options)
        : globals_(globals), options_(options), archive_(globals.goArchiv()),
          reader_(*archive_, globals.state), judge_(globals, reader_) {}

    Reconciled Run() {
        try {
            Begin();
            SearchMasks();
            for (const MaskSearch& search : searches_) {
                ExamineMask(search);
            }
            if (hasVanished_) {
                ExamineWhatIsNew();  // perhaps it was never there, and something else was meant
            }
            JudgeDuplicates(true);
            if (requests_) {
                JudgeRequests(*requests_);
            }
            RequireSameClient();
            result_.isComplete = true;
        } catch (const Stopped& stopped) {
            result_.reason = stopped.reason;
            if (!areDuplicatesJudged_) {
                JudgeDuplicates(false);
            }
        }
        globals_.goErrHandler().Clear();
        return std::move(result_);
    }

private:
    // ---- What can go wrong ----

    Text ErrorText(const RuntimeError& error) {
        globals_.goErrHandler().Clear();
        const Text messages = options_.takeMessages();
        return TextOfError(error) + (messages.empty() ? L"" : L" (" + messages + L")");
    }

    /// Carries out a step without which there is no comparison, a second time if need be.
    template <class Step>
    auto Required(const wchar_t* what, Step step) {
        try {
            return step();
        } catch (...) {
            globals_.goErrHandler().Clear();
        }
        try {
            reader_.Reconnect();
            return step();
        } catch (...) {
            throw Stopped{Text(what) + L": " + ErrorText(CurrentError())};
        }
    }

    /// Carries out a step about one entry, a second time if need be. What fails both times becomes a finding,
    /// and the answer is false.
    template <class Step>
    bool Tried(const EntryFinding& about, Step step) {
        if (!Fails(step)) {
            return true;
        }
        Required(L"Archiv", [&] { reader_.Reconnect(); });
        const std::optional<Text> failure = Fails(step);
        if (!failure) {
            return true;
        }
        RequireSameClient();
        EntryFinding finding = about;
        finding.kind = Discrepancy::Unreadable;
        finding.text = L"Lässt sich nicht prüfen: " + *failure;
        Report(std::move(finding));
        if (++failuresInARow_ == mostFailuresInARow) {
            throw Stopped{L"zu viele Fehler nacheinander, zuletzt " + *failure};
        }
        return false;
    }

    /// The error that a step ends with.
    template <class Step>
    std::optional<Text> Fails(const Step& step) {
        try {
            step();
            failuresInARow_ = 0;
            return std::nullopt;
        } catch (const Stopped&) {
            throw;
        } catch (...) {
            return ErrorText(CurrentError());
        }
    }

    void StopWhenInterrupted() const {
        if (options_.isInterrupted()) {
            throw Stopped{L"unterbrochen"};
        }
    }

    void Report(EntryFinding finding) {
        options_.onFinding(finding);
        result_.findings.push_back(std::move(finding));
    }

    // ---- The steps ----

    void Begin() {
        Required(L"Archiv", [&] { reader_.Reconnect(); });
        result_.client = Required(L"Finanzbuchhaltung", [&] { return OpenClient(); });
        Required(L"Ordner des Mandanten", [&] { reader_.FindFolders(); });
        ReadLogs();
    }

    /// Before the searches: what was requested until now, they must find.
    void ReadLogs() {
        if (options_.logs.empty()) {
            return;
        }
        requests_.emplace(result_.client);
        requests_->ReadFolder(options_.logs, options_.isInterrupted);
        StopWhenInterrupted();
        for (const Text& complaint : requests_->Complaints()) {
            EntryFinding finding;
            finding.text = complaint + L".";
            Report(std::move(finding));
        }
    }

    Text OpenClient() { return globals_.goSesamSOK()->oSesamFibu().Get(L"letztermandant").ToText(); }

    /// The host answers for the client that its user has open. Once that is another one, nothing that was
    /// read since says anything.
    void RequireSameClient() {
        const Text client = Required(L"Finanzbuchhaltung", [&] { return OpenClient(); });
        if (client != result_.client) {
            throw Stopped{L"In der Finanzbuchhaltung ist jetzt ein anderer Mandant offen: " + client};
        }
    }

    void SearchMasks() {
        const std::vector<const DocumentKind*> kinds = MasksInOrder(globals_.state.settings);
        for (const DocumentKind* kind : kinds) {
            StopWhenInterrupted();
            searches_.push_back(Required(L"Suche im Archiv", [&] { return reader_.Search(*kind); }));
            searches_.back().order = searches_.size() - 1;
            const std::size_t count = searches_.back().hits.size();
            result_.masks.push_back(
                {globals_.state.settings.*kind->mask, kind->maskKey, static_cast<std::int32_t>(count)});
            progress_.total += static_cast<std::int64_t>(count);
        }
    }

    void ExamineMask(const MaskSearch& search) {
        progress_.kind = search.kind;
        progress_.mask = globals_.state.settings.*search.kind->mask;
        for (std::size_t hit = 0; hit < search.hits.size(); ++hit) {
            StopWhenInterrupted();
            progress_.findings = result_.findings.size();
            options_.onProgress(progress_);
            ExamineEntry(search, static_cast<std::int32_t>(hit), search.hits[hit]);
            ++progress_.done;
        }
    }

    void ExamineEntry(const MaskSearch& search, std::int32_t hit, std::int32_t id) {
        if (index_.Knows(id) || unreadable_.contains(id)) {
            return;  // an archive may find an entry twice
        }
        EntryFinding about;
        about.entry = id;
        about.hit = hit;
        std::optional<ArchivedEntry> entry;
        if (!Tried(about, [&] { entry = reader_.Read(search, hit, id); })) {
            unreadable_.insert(id);
            return;
        }
        if (entry && entry->isOwn) {
            about.hasIdentity = true;
            about.identity = entry->identity;
            JudgeOwn(search, about, entry);
        }
        if (!entry) {
            hasVanished_ = true;
            return;
        }
        ++(entry->isOwn ? result_.judged : result_.others);
        index_.Add({id, hit, search.order, entry->isOwn, entry->identity});
    }

    /// Reports what is wrong with an entry of the client, which may vanish or go elsewhere meanwhile.
    void JudgeOwn(const MaskSearch& search, const EntryFinding& about, std::optional<ArchivedEntry>& entry) {
        std::vector<EntryFinding> findings;
        Tried(about, [&] { findings = StableFindings(search, about, entry); });
        if (!entry || !entry->isOwn) {
            return;
        }
        if (!findings.empty()) {
            RequireSameClient();
        }
        AddWhatNeedsNoBooking(*entry, findings);
        std::ranges::for_each(findings, [&](EntryFinding& finding) { Report(std::move(finding)); });
    }

    /// What comparing the entry with its booking finds twice in a row. Somebody may be at work meanwhile, so
    /// that whatever looks wrong is looked at again, and an entry that has vanished is nothing.
    std::vector<EntryFinding> StableFindings(const MaskSearch& search, const EntryFinding& about,
                                             std::optional<ArchivedEntry>& entry) {
        std::optional<std::vector<EntryFinding>> before;
        for (int look = 0; entry && entry->isOwn; ++look) {
            std::vector<EntryFinding> findings = Judge(*entry);
            if (findings.empty() || findings == before) {
                return findings;
            }
            if (look == mostLooks) {
                throw RuntimeError(errors::internal, L"ändert sich fortwährend");
            }
            before = std::move(findings);
            entry = reader_.Read(search, about.hit, about.entry);
        }
        return {};
    }

    std::vector<EntryFinding> Judge(const ArchivedEntry& entry) {
        return judge_.Judge(entry, requests_ ? requests_->BarcodeOf(entry.identity) : Text());
    }

    void AddWhatNeedsNoBooking(const ArchivedEntry& entry, std::vector<EntryFinding>& findings) {
        const auto add = [&](Discrepancy kind, Text text) {
            findings.push_back(AboutEntry(kind, entry));
            findings.back().text = std::move(text);
        };
        if (entry.hit > archive::lastHitExamined) {
            add(Discrepancy::Unreachable, sentence::Unreachable(entry.hit));
        }
        if (const auto days = PendingSince(entry); days && *days > options_.days) {
            add(Discrepancy::Pending, sentence::Pending(*days));
        }
    }

    /// Days since the entry was made, told from its document id or its value date; none when it is not
    /// pending, or neither says.
    std::optional<std::int32_t> PendingSince(const ArchivedEntry& entry) {
        if (entry.status != pendingStatus) {
            return std::nullopt;
        }
        auto day = DayOfDocId(entry.identity.docId);
        if (!day) {
            day = DayOfDate(entry.valueDate);
        }
        const LocalTime now = globals_.Machine().Now();
        return day ? std::optional(DaysBetween(*day, {now.year, now.month, now.day})) : std::nullopt;
    }

    // ---- What shows only with all entries ----

    static EntryFinding AboutIndexed(Discrepancy kind, const IndexedIdentity& entry) {
        EntryFinding finding;
        finding.kind = kind;
        finding.entry = entry.id;
        finding.hit = entry.hit;
        finding.hasIdentity = true;
        finding.identity = entry.identity;
        return finding;
    }

    /// With `look` the entries are looked at once more before they are reported.
    void JudgeDuplicates(bool look) {
        std::vector<Doubles> found = index_.Duplicates();
        for (int looks = 0; look && looks < mostLooks && LookAgain(found); ++looks) {
            found = index_.Duplicates();
        }
        areDuplicatesJudged_ = true;
        for (const Doubles& doubles : found) {
            const IndexedIdentity& first = *doubles.entries.front();
            EntryFinding finding = AboutIndexed(Discrepancy::Duplicate, first);
            finding.by = doubles.by;
            finding.text = sentence::Duplicate(doubles, index_);
            for (std::size_t place = 1; place < doubles.entries.size(); ++place) {
                finding.others.push_back(doubles.entries[place]->id);
            }
            Report(std::move(finding));
        }
    }

    /// Reads the entries of double ones again; true when one of them has changed meanwhile.
    bool LookAgain(const std::vector<Doubles>& found) {
        std::map<std::int32_t, IndexedIdentity> suspects;
        for (const Doubles& doubles : found) {
            for (const IndexedIdentity* entry : doubles.entries) {
                suspects.emplace(entry->id, *entry);
            }
        }
        bool hasChanged = false;
        for (const auto& [id, suspect] : suspects) {
            StopWhenInterrupted();
            Tried(AboutIndexed(Discrepancy::Unreadable, suspect), [&] {
                const auto entry = reader_.Read(searches_.at(suspect.order), suspect.hit, suspect.id);
                if (!entry || !entry->isOwn) {
                    index_.Remove(suspect.id);
                    hasChanged = true;
                } else if (entry->identity != suspect.identity) {
                    index_.Replace(suspect.id, entry->identity);
                    hasChanged = true;
                }
            });
        }
        return hasChanged;
    }

    void JudgeRequests(const TracedRequests& requests) {
        JudgeFiled(requests);
        for (const TracedRequest* request : requests.Deleted()) {
            for (const IndexedIdentity* entry : index_.OwnByDocId(request->identity.docId)) {
                StopWhenInterrupted();
                JudgeDeleted(*request, *entry);
            }
        }
    }

    void JudgeFiled(const TracedRequests& requests) {
        std::vector<const TracedRequest*> missing = WithoutEntry(requests.Filed());
        if (missing.empty()) {
            return;
        }
        ExamineWhatIsNew();
        for (const TracedRequest* request : WithoutEntry(std::move(missing))) {
            StopWhenInterrupted();
            EntryFinding finding;
            finding.kind = Discrepancy::NotFiled;
            finding.hasIdentity = true;
            finding.identity = request->identity;
            Tried(finding, [&] {
                // Logs tell of all clients: what this one has no booking for was not its own, or is gone.
                if (!judge_.HasBooking(request->identity)) {
                    return;
                }
                RequireSameClient();
                finding.text = sentence::NotFiled(*request);
                Report(finding);
            });
        }
    }

    std::vector<const TracedRequest*> WithoutEntry(std::vector<const TracedRequest*> requests) const {
        std::erase_if(requests,
                      [this](const TracedRequest* request) { return index_.HasEntryOf(request->identity); });
        return requests;
    }

    /// What the searches have not shown, because it was filed since.
    void ExamineWhatIsNew() {
        for (std::size_t order = 0; order < searches_.size(); ++order) {
            StopWhenInterrupted();
            MaskSearch search =
                Required(L"Suche im Archiv", [&] { return reader_.Search(*searches_[order].kind); });
            search.order = order;
            for (std::size_t hit = 0; hit < search.hits.size(); ++hit) {
                StopWhenInterrupted();
                ExamineEntry(search, static_cast<std::int32_t>(hit), search.hits[hit]);
            }
        }
    }

    void JudgeDeleted(const TracedRequest& request, const IndexedIdentity& entry) {
        if (entry.identity.number != request.identity.number ||
            entry.identity.index != request.identity.index) {
            return;  // another voucher of the same second
        }
        EntryFinding finding = AboutIndexed(Discrepancy::NotDeleted, entry);
        finding.text = sentence::NotDeleted(request);
        Tried(finding, [&] {
            const auto now = reader_.Read(searches_.at(entry.order), entry.hit, entry.id);
            if (now && now->identity == entry.identity) {
                Report(finding);
            }
        });
    }

    MGlobals& globals_;
    const ReconcileOptions& options_;
    std::shared_ptr<ELODMS> archive_;
    EntryReader reader_;
    BookingJudge judge_;
    std::optional<TracedRequests> requests_;
    EntryIndex index_;
    std::vector<MaskSearch> searches_;
    std::set<std::int32_t> unreadable_;
    bool hasVanished_ = false;  ///< an entry that a search has shown
    bool areDuplicatesJudged_ = false;
    ReconcileProgress progress_;
    Reconciled result_;
    int failuresInARow_ = 0;
};

}  // namespace

Reconciled Reconcile(MGlobals& globals, const ReconcileOptions& options) {
    return Reconciler(globals, options).Run();
}

}  // namespace kandora::check
