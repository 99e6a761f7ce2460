#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "tests/faults/Rules.h"
#include "tests/faults/Stage.h"

namespace kandora::test {

/// What is wrong; empty when all is well.
using Complaints = std::vector<std::string>;
/// One line each.
std::string Joined(const Complaints& complaints);

/// How many cases have run in this program, and what became of those in which something is left half-done by
/// design.
struct Tally {
    std::size_t cases = 0;
    std::map<std::string, std::size_t> halfDone;
};
Tally& Counts();

/// One variation of a request, failed at every call.
class Sweep {
public:
    explicit Sweep(const Variation& variation, Casting casting = TheComponent);

    /// The request without a fault, twice; to be made first.
    Complaints Rehearse();
    /// The calls of the request.
    [[nodiscard]] const std::vector<Site>& Sites() const noexcept { return sites_; }
    /// One fault at the call (from 1 on), and then the same request without.
    Complaints Run(std::size_t call, const Way& way, Duration duration);
    /// Every fault at every call; stops when there are too many complaints.
    Complaints RunAll();

    /// Only for the harness's own tests: faults are planned and never made.
    bool isInjecting = true;

private:
    const Variation& variation_;
    Casting casting_;
    std::vector<SeenCall> calls_;
    std::vector<Site> sites_;
    int aliveAfterwards_ = 0;
};

/// The checks that all sweeps share: the form of the boxes, which tell of these requests, and that nothing is
/// left of an error.
void CheckBoxes(const Stage& stage, const std::vector<std::string>& requests, Complaints& complaints);
void CheckNothingIsLeft(Stage& stage, Complaints& complaints);
/// Sends the request and returns its result. An exception that reaches the host is a complaint, which ends in
/// `when`.
[[nodiscard]] Variant Sent(Stage& stage, const Variation& variation, Complaints& complaints,
                           const char* when = "");
/// What the request answers when it succeeds.
Variant RightResult(const Variation& variation);
/// Same entries; those that came later may have other ids.
bool SameContent(const Entries& one, const Entries& other);
/// Complains unless the entries that belong to neither of the two vouchers are as they were.
void CheckBystanders(const Entries& before, const Entries& after, Complaints& complaints);

}  // namespace kandora::test
