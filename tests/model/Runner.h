#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tests/model/Model.h"
#include "tests/model/Programs.h"
#include "tests/model/Steps.h"

namespace kandora::model_tests {

/// What to run against what.
struct Subject {
    Defect defect = Defect::None;
    Mistake mistake = Mistake::None;
};

/// Sums over many sequences.
struct Totals {
    std::uint64_t sequences = 0;
    std::uint64_t steps = 0;
    std::uint64_t requests = 0;
    std::uint64_t calls = 0;           ///< out of the component
    std::uint64_t struckRequests = 0;  ///< disturbed ones
    std::uint64_t carriedOut = 0;      ///< disturbed ones that did what they were to do all the same
    /// Without a box, since their session was lost and opened anew on the way:
    std::uint64_t unnoticed = 0;  ///< not carried out
    std::uint64_t misdirected =
        0;  ///< taken for a document that the archive does not have, or for another one
    std::uint64_t entriesCompared = 0;
    std::array<std::uint64_t, faultKinds> strikes{};
};

/// Plays the steps with the component itself; what differed first, if anything did.
std::optional<std::string> Play(const Steps& steps, const Subject& subject, Totals& totals);

/// The shortest list that could be found that still fails.
Steps Shortened(Steps steps, const std::function<bool(const Steps&)>& fails);

}  // namespace kandora::model_tests
