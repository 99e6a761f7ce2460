#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/kit/Facts.h"
#include "tools/kit/Plan.h"

namespace kandora::kit {

enum class Verdict { Passed, Failed, LeftOut };

/// What one test or part came to.
struct Result {
    Text name;
    Verdict verdict = Verdict::LeftOut;
    Text told;  ///< what was wrong, why it was left out, or what is worth knowing
    std::int64_t cases = 0;
    Counts counts;
    double seconds = 0;
    std::string log;  ///< UTF-8, of what is to be read by the developers
};

/// A line for the reader.
Text LineOf(const Result& result);

/// How a run ended.
enum class Ending { Complete, Interrupted, NotGivenBack };

/// The report that is sent back: one text for people, with the same for programs at its end.
class KitReport {
public:
    KitReport(const Plan& plan, std::vector<Fact> facts);

    void Add(Result result) { results_.push_back(std::move(result)); }
    /// What the reader must know of the run itself.
    void Remark(Text remark) { remarks_.push_back(std::move(remark)); }
    void End(Ending ending) { ending_ = ending; }

    [[nodiscard]] std::size_t Count(Verdict verdict) const;
    /// 0 all passed, 1 failures, 2 not completed.
    [[nodiscard]] int ExitCode() const;
    /// The closing line.
    [[nodiscard]] Text Summary() const;
    /// The whole of it, in UTF-8 with Windows' line ends.
    [[nodiscard]] std::string Text8() const;

    /// What the part for programs begins with.
    static constexpr const char* jsonMark = "==== Für Programme (JSON) ====";

private:
    [[nodiscard]] std::string Json() const;

    Text title_;
    Text version_;
    Text architecture_;
    Text begun_;
    std::vector<Fact> facts_;
    std::vector<Result> results_;
    std::vector<Text> remarks_;
    Ending ending_ = Ending::Complete;
    unsigned long long start_;
};

}  // namespace kandora::kit
