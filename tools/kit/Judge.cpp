#include "tools/kit/Judge.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "interfaces/CodePages.h"

namespace kandora::kit {

namespace {

/// The library's patterns need stack for each character; what counts stands at the beginning of a line.
constexpr std::size_t longestLine = 2000;

std::string Beginning(std::string_view line) {
    return std::string(line.substr(0, longestLine));
}

std::optional<std::int64_t> NumberAt(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

/// What stands between the beginning and the end of a line that has both.
std::optional<std::string_view> Between(std::string_view line, std::string_view before,
                                        std::string_view after) {
    if (line.size() < before.size() + after.size() || !line.starts_with(before) || !line.ends_with(after)) {
        return std::nullopt;
    }
    return line.substr(before.size(), line.size() - before.size() - after.size());
}

/// The number in "[==========] Running 3 tests from 2 test suites."
std::optional<std::int64_t> ListedIn(std::string_view line) {
    constexpr std::string_view beginning = "[==========] Running ";
    return line.starts_with(beginning) && line.find(" from ") != std::string_view::npos
               ? NumberAt(line.substr(beginning.size()))
               : std::nullopt;
}

/// The number in "[==========] 3 tests from 2 test suites ran. (7 ms total)"
std::optional<std::int64_t> RanIn(std::string_view line) {
    const auto inside = Between(line, "[==========] ", " ms total)");
    return inside && inside->find(" ran. (") != std::string_view::npos ? NumberAt(*inside) : std::nullopt;
}

/// The number in "[  PASSED  ] 3 tests."
std::optional<std::int64_t> PassedIn(std::string_view line) {
    const auto inside = Between(line, "[  PASSED  ] ", ".");
    return inside && (inside->ends_with(" tests") || inside->ends_with(" test")) ? NumberAt(*inside)
                                                                                 : std::nullopt;
}

/// The case in "[ RUN      ] Suite.Case". Another case may have written something without a line end before.
std::optional<std::string> BegunIn(std::string_view line) {
    constexpr std::string_view mark = "[ RUN      ] ";
    const std::size_t at = line.find(mark);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view name = line.substr(at + mark.size());
    return name.empty() || name.find(' ') != std::string_view::npos ? std::nullopt
                                                                    : std::optional(std::string(name));
}

struct EndedCase {
    std::string name;
    CaseEnd end;
};

/// The case in "[       OK ] Suite.Case (7 ms)", or "[  FAILED  ] Suite.Case, where GetParam() = 3 (7 ms)".
std::optional<EndedCase> EndedIn(std::string_view line) {
    struct Word {
        std::string_view mark;
        CaseEnd end;
    };
    constexpr std::array<Word, 3> words{{{"[       OK ] ", CaseEnd::Passed},
                                         {"[  FAILED  ] ", CaseEnd::Failed},
                                         {"[  SKIPPED ] ", CaseEnd::LeftOut}}};
    if (!line.ends_with(" ms)")) {
        return std::nullopt;
    }
    for (const Word& word : words) {
        if (const std::size_t at = line.find(word.mark); at != std::string_view::npos) {
            std::string_view rest = line.substr(at + word.mark.size());
            rest = rest.substr(0, rest.rfind(" ("));
            const std::size_t parameter = rest.find(", where ");
            return EndedCase{std::string(rest.substr(0, parameter)), word.end};
        }
    }
    return std::nullopt;
}

Text Number(std::int64_t number) {
    return Decimal(number);
}

/// What a program tells of its cases, line by line.
class Run {
public:
    void Read(std::string_view line) {
        if (const auto listed = ListedIn(line)) {
            if (listed_) {
                problems_.emplace_back(L"es begann zweimal");
            }
            listed_ = listed;
        } else if (auto begun = BegunIn(line)) {
            CheckNothingIsOpen();
            if (cases_.contains(*begun)) {
                problems_.push_back(TextFromUtf8(*begun) + L" lief zweimal");
            }
            current_ = std::move(*begun);
        } else if (auto ended = EndedIn(line)) {
            if (ended->name != current_) {
                problems_.push_back(TextFromUtf8(ended->name) + L" endete, ohne begonnen zu haben");
            }
            cases_[ended->name] = ended->end;
            current_.clear();
        } else if (const auto ran = RanIn(line)) {
            ran_ = ran;
        } else if (const auto passed = PassedIn(line); passed && ran_) {
            // The closing line is the one behind the end of the cases.
            closing_ = Closing{*ran_, *passed};
        }
    }

    /// What is wrong with it beyond cases that failed.
    std::vector<Text> Close() {
        CheckNothingIsOpen();
        const auto count = static_cast<std::int64_t>(cases_.size());
        const std::int64_t good = std::ranges::count(cases_, CaseEnd::Passed, &Cases::value_type::second);
        if (!listed_) {
            problems_.emplace_back(L"es zählt seine Fälle nicht auf");
        } else if (*listed_ == 0) {
            problems_.emplace_back(L"es hat keinen Fall");
        } else if (count != *listed_) {
            problems_.push_back(L"nur " + Number(count) + L" der " + Number(*listed_) +
                                L" aufgezählten Fälle liefen");
        }
        if (!closing_) {
            problems_.emplace_back(L"seine Schlusszeile fehlt");
        } else if (closing_->ran != count || closing_->passed != good) {
            problems_.push_back(L"seine Schlusszeilen zählen " + Number(closing_->ran) + L" Fälle und " +
                                Number(closing_->passed) + L" bestandene, erzählt hat es von " +
                                Number(count) + L" und " + Number(good));
        }
        return std::move(problems_);
    }

    using Cases = std::map<std::string, CaseEnd>;

    [[nodiscard]] bool IsInsideACase() const { return !current_.empty(); }
    [[nodiscard]] bool IsClosed() const { return closing_.has_value(); }
    [[nodiscard]] const std::string& Current() const { return current_; }
    [[nodiscard]] Cases& AllCases() { return cases_; }
    void Complain(Text problem) { problems_.push_back(std::move(problem)); }

private:
    struct Closing {
        std::int64_t ran;
        std::int64_t passed;
    };

    void CheckNothingIsOpen() {
        if (!current_.empty()) {
            problems_.push_back(TextFromUtf8(current_) + L" kam nicht zum Ende");
        }
    }

    Cases cases_;
    std::vector<Text> problems_;
    std::optional<std::int64_t> listed_;
    std::optional<std::int64_t> ran_;
    std::optional<Closing> closing_;
    std::string current_;
};

/// The run that an output tells of. A case may start a test program of its own, and everything holds for that
/// one, too.
Run RunOf(std::string_view output) {
    std::vector<Run> runs(1);
    const auto leave = [&] {
        Run inner = std::move(runs.back());
        runs.pop_back();
        Run& outer = runs.back();
        const Text where = L"in einem Programm, das " + TextFromUtf8(outer.Current()) + L" gestartet hat: ";
        for (const Text& problem : inner.Close()) {
            outer.Complain(where + problem);
        }
        for (const auto& [name, end] : inner.AllCases()) {
            if (end == CaseEnd::Failed) {
                outer.Complain(where + TextFromUtf8(name) + L" ist gescheitert");
            }
        }
    };
    for (const std::string_view line : LinesOf(output)) {
        const bool begins = ListedIn(line).has_value() || line.starts_with("Note: This is test shard ");
        if (begins && runs.back().IsInsideACase()) {
            runs.emplace_back();
        }
        runs.back().Read(line);
        if (runs.size() > 1 && runs.back().IsClosed()) {
            leave();
        }
    }
    while (runs.size() > 1) {
        leave();
    }
    return std::move(runs.front());
}

Counts Sums(const std::vector<std::pair<std::string, std::int64_t>>& numbers) {
    Counts sums;
    for (const auto& [what, number] : numbers) {
        sums[what] += number;
    }
    return sums;
}

Text TextOf(const Counts& counts) {
    std::vector<Text> parts;
    for (const auto& [what, number] : counts) {
        parts.push_back(Number(number) + L" " + TextFromUtf8(what));
    }
    return parts.empty() ? L"nichts" : Joined(parts, L", ");
}

Text ListOf(const std::vector<std::string>& names) {
    constexpr std::size_t most = 5;
    std::vector<Text> texts;
    for (std::size_t at = 0; at < std::min(names.size(), most); ++at) {
        texts.push_back(TextFromUtf8(names[at]));
    }
    return Joined(texts, L", ") +
           (names.size() > most
                ? L" und " + Number(static_cast<std::int64_t>(names.size() - most)) + L" weitere"
                : L"");
}

/// As many cases as the program is known to have. Those that a kit cannot run count as run.
void CompareWithPlan(const PlannedTest& test, Outcome& outcome) {
    const std::vector<std::string> leftOut = outcome.Names(CaseEnd::LeftOut);
    const std::int64_t excused = std::ranges::count_if(
        leftOut, [&](const std::string& name) { return std::ranges::count(test.excused, name); });
    const std::int64_t passed = static_cast<std::int64_t>(outcome.Names(CaseEnd::Passed).size()) + excused;
    if (passed != test.cases) {
        outcome.complaints.push_back(Number(passed) + L" Fälle bestanden, " + Number(test.cases) +
                                     L" müssten es sein" +
                                     (leftOut.empty() ? L"" : L" (ausgelassen: " + ListOf(leftOut) + L")"));
    }
    if (outcome.counts != test.counts) {
        outcome.complaints.push_back(L"gezählt wurde " + TextOf(outcome.counts) + L", sein müsste es " +
                                     TextOf(test.counts));
    }
}

}  // namespace

std::vector<std::string_view> LinesOf(std::string_view output) {
    std::vector<std::string_view> lines;
    while (!output.empty()) {
        const std::size_t end = std::min(output.find('\n'), output.size());
        std::string_view line = output.substr(0, end);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        lines.push_back(line);
        output.remove_prefix(std::min(end + 1, output.size()));
    }
    return lines;
}

std::vector<std::string> Outcome::Names(CaseEnd end) const {
    std::vector<std::string> names;
    for (const auto& [name, each] : cases) {
        if (each == end) {
            names.push_back(name);
        }
    }
    return names;
}

Text Outcome::Told() const {
    std::vector<Text> parts = complaints;
    if (const auto failed = Names(CaseEnd::Failed); !failed.empty()) {
        parts.push_back(L"gescheitert: " + ListOf(failed));
    }
    return Joined(parts, L"; ");
}

Judge::Judge(const Plan& plan) {
    try {
        fault_ = std::regex(plan.fault);
        for (const CountRule& rule : plan.counts) {
            counts_.push_back({rule.what, std::regex(rule.pattern)});
        }
    } catch (const std::regex_error& error) {
        throw KitFailure(L"Der Prüfplan hat ein unbrauchbares Muster: " + TextFromUtf8(error.what()));
    }
}

std::string Judge::FaultIn(std::string_view output) const {
    for (const std::string_view line : LinesOf(output)) {
        if (std::string text = Beginning(line); std::regex_search(text, fault_)) {
            return text;
        }
    }
    return {};
}

Outcome Judge::Of(const PlannedTest& test, std::string_view output, bool hasEndedWell) const {
    Outcome outcome;
    Run run = RunOf(output);
    outcome.complaints = run.Close();
    outcome.cases = std::move(run.AllCases());
    if (const std::string fault = FaultIn(output); !fault.empty()) {
        outcome.complaints.push_back(L"ein Absturz: " + Trimmed(TextFromUtf8(fault)));
    }
    std::vector<std::pair<std::string, std::int64_t>> numbers;
    for (const std::string_view line : LinesOf(output)) {
        const std::string text = Beginning(line);
        std::smatch found;
        for (const Rule& rule : counts_) {
            if (std::regex_search(text, found, rule.pattern)) {
                numbers.emplace_back(rule.what, NumberAt(found[1].str()).value_or(0));
            }
        }
    }
    outcome.counts = Sums(numbers);
    if (outcome.HasPassed()) {
        CompareWithPlan(test, outcome);
    }
    if (!hasEndedWell && outcome.HasPassed()) {
        outcome.complaints.emplace_back(L"es endete mit einem Fehler");
    }
    return outcome;
}

CourseOfRun CourseOf(std::string_view output) {
    CourseOfRun course;
    for (const std::string_view line : LinesOf(output)) {
        if (const auto listed = ListedIn(line); listed && course.listed == 0) {
            course.listed = *listed;
        } else if (auto begun = BegunIn(line)) {
            ++course.begun;
            course.current = std::move(*begun);
        }
    }
    return course;
}

}  // namespace kandora::kit
