// Every call that a comparison makes fails in every way: it says so, goes on or ends, and invents nothing. So
// do those that writing anew makes: an entry is as before or right, or the failure is told.
#include <algorithm>
#include <iostream>

#include "interfaces/CodePages.h"
#include "tests/check/ReconcileWorld.h"
#include "tools/check/Reindexing.h"

namespace kandora::check_tests {

namespace {

/// Lets each call of a run fail in each way, once or from then on, and judges what the run comes to.
template <class Run, class Judge>
void SweepThrough(test::Conductor& conductor, test::Duration duration, Run run, Judge judge) {
    conductor.Begin();
    run();
    const std::size_t calls = conductor.Counted();
    ASSERT_GT(calls, 100U);
    int cases = 0;
    for (const test::Way& way : test::Ways()) {
        if (duration != test::Duration::Once && way.failing == test::Failing::OddAnswer) {
            continue;  // who is told the same wrong thing again and again has to believe it
        }
        for (std::size_t call = 1; call <= calls; ++call) {
            SCOPED_TRACE("call " + std::to_string(call) + ": " + way.name);
            conductor.Plan(call, way, duration);
            conductor.Begin();
            decltype(run()) result;
            ASSERT_NO_THROW(result = run());
            conductor.Plan(0, way, test::Duration::Once);
            judge(result, way);
            if (testing::Test::HasFailure()) {
                return;
            }
            ++cases;
        }
    }
    std::cout << "runs with a fault: " << cases << "\n";
}

class ReconcileFaults : public ReconcileWorld {
protected:
    ReconcileFaults() {
        // One of each kind of finding that needs only the archive and the host.
        BookingOf(L"17").amount = L"7";
        host.bookings.erase({L"19", L"1"});
        FieldOf(debtorEntry, debtor, DocId) = L"20260101000000";
        Copy(voucherEntry);
        truth_ = Short(Compare().findings);
    }

    /// A new component, as kandora-check is a new process each time.
    check::Reconciled CompareAnew() {
        MGlobals anew(machine, screen);
        anew.state = globals.state;
        const check::Reconciled result = check::Reconcile(anew, options);
        conductor.End();
        return result;
    }

    void Judge(const check::Reconciled& result, const test::Way& way) {
        test::Lines found;
        bool isTold = !result.isComplete;
        for (const check::EntryFinding& finding : result.findings) {
            if (finding.kind == check::Discrepancy::Unreadable) {
                isTold = true;
                EXPECT_FALSE(finding.text.empty());
            } else {
                EXPECT_EQ(std::ranges::count(found, Short(finding)), 0) << "twice: " << Short(finding);
                found.push_back(Short(finding));
                // A group may lack what could not be read.
                const bool isTrue = std::ranges::any_of(
                    truth_, [&](const std::string& line) { return line.starts_with(found.back()); });
                EXPECT_TRUE(isTrue) << "invented: " << found.back();
            }
        }
        if (way.failing != test::Failing::OddAnswer && !isTold) {
            EXPECT_EQ(found, truth_) << "missed, and not a word";
        }
        EXPECT_EQ(result.isComplete, result.reason.empty());
        EXPECT_EQ(archive.entries, before_);
    }

    void Sweep(test::Duration duration) {
        before_ = archive.entries;
        SweepThrough(
            conductor, duration, [this] { return CompareAnew(); },
            [this](const check::Reconciled& result, const test::Way& way) { Judge(result, way); });
    }

    test::Lines truth_;
    test::Entries before_;
};

TEST_F(ReconcileFaults, Once) {
    EXPECT_EQ(truth_.size(), 5U) << testing::PrintToString(truth_);
    Sweep(test::Duration::Once);
}

TEST_F(ReconcileFaults, FromThenOn) {
    Sweep(test::Duration::FromThenOn);
}

class ReindexFaults : public ReconcileWorld {
protected:
    ReindexFaults() {
        Copy(creditorEntry);  // which number and index do not lead to
        right_ = archive.entries;
        for (const auto& [kind, entry] : {std::pair(voucher, voucherEntry), std::pair(debtor, debtorEntry),
                                          std::pair(creditor, creditorEntry)}) {
            FieldOf(entry, kind, Amount) = L"1";
            archive.entries.at(entry).shortName = L"alt";
        }
        differing_ = check::Differing(Compare());
        spoilt_ = archive.entries;
    }

    check::Reindexed MendAnew() {
        archive.entries = spoilt_;
        MGlobals anew(machine, screen);
        anew.state = globals.state;
        const check::Reindexed result = check::Reindex(anew, differing_, {});
        conductor.End();
        return result;
    }

    void Judge(const check::Reindexed& result) {
        ASSERT_EQ(archive.entries.size(), right_.size());
        for (const auto& [id, entry] : archive.entries) {
            const bool isDone = entry == right_.at(id);
            EXPECT_TRUE(isDone || entry == spoilt_.at(id) || !result.failure.empty())
                << id << " is neither as before nor right, and not a word";
            EXPECT_TRUE(isDone || right_.at(id) != spoilt_.at(id)) << id << " was not to be touched";
        }
        for (const std::int32_t id : result.written) {
            EXPECT_EQ(archive.entries.at(id), right_.at(id));
        }
        EXPECT_TRUE(!result.failure.empty() ||
                    result.written.size() + result.left.size() == differing_.size());
    }

    void Sweep(test::Duration duration) {
        EXPECT_EQ(MendAnew().written.size(), 3U);
        SweepThrough(
            conductor, duration, [this] { return MendAnew(); },
            [this](const check::Reindexed& result, const test::Way&) { Judge(result); });
    }

    std::vector<check::EntryFinding> differing_;
    test::Entries right_;
    test::Entries spoilt_;
};

TEST_F(ReindexFaults, Once) {
    EXPECT_EQ(differing_.size(), 3U);
    Sweep(test::Duration::Once);
}

TEST_F(ReindexFaults, FromThenOn) {
    Sweep(test::Duration::FromThenOn);
}

}  // namespace

}  // namespace kandora::check_tests
