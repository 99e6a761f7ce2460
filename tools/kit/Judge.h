#pragma once

#include <cstdint>
#include <map>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "tools/kit/Plan.h"

namespace kandora::kit {

enum class CaseEnd { Passed, Failed, LeftOut };

/// What a test program came to.
struct Outcome {
    std::map<std::string, CaseEnd> cases;
    std::vector<Text> complaints;  ///< why it has failed, beyond its failed cases; German
    Counts counts;

    [[nodiscard]] std::vector<std::string> Names(CaseEnd end) const;
    [[nodiscard]] bool HasPassed() const { return complaints.empty() && Names(CaseEnd::Failed).empty(); }
    /// All of what is wrong, in one line.
    [[nodiscard]] Text Told() const;
};

/// Judges test programs by what they said.
///
/// A program has passed only when its closing line says so, it ran exactly the cases that it lists, and these
/// are as many as it is known to have: how it ended proves nothing, a program that was cut off in the middle
/// may well end with code 0.
class Judge {
public:
    explicit Judge(const Plan& plan);

    /// `hasEndedWell`: with exit code 0 and in time.
    [[nodiscard]] Outcome Of(const PlannedTest& test, std::string_view output, bool hasEndedWell) const;
    /// The first line that tells of a fault; empty when there is none.
    [[nodiscard]] std::string FaultIn(std::string_view output) const;

private:
    struct Rule {
        std::string what;
        std::regex pattern;
    };

    std::regex fault_;
    std::vector<Rule> counts_;
};

/// How far a program is.
struct CourseOfRun {
    std::int64_t begun = 0;
    std::int64_t listed = 0;  ///< 0 until it has told
    std::string current;      ///< the case that began last
};

CourseOfRun CourseOf(std::string_view output);

/// The lines of an output, without their ends.
std::vector<std::string_view> LinesOf(std::string_view output);

}  // namespace kandora::kit
