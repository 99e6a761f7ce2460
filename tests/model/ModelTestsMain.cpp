#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "interfaces/Apartment.h"
#include "tests/model/Runner.h"

// Random courses of events against a model of what the archive must hold.
//
//     model_tests [--sequences N] [--seed S]    the tests; from a fixed seed by default
//     model_tests --requests N [--seed S]       as many sequences as it takes; from a new seed by default
//     model_tests --replay "save 3; change 3 !gone@57"
namespace kandora::model_tests {
namespace {

struct Options {
    std::uint64_t sequences = 3000;
    std::uint64_t seed = 20'261'121;
};
Options options;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): the command line

void Print(const Totals& totals) {
    std::cout << totals.sequences << " sequences, " << totals.requests << " requests, " << totals.calls
              << " calls out of the component, " << totals.entriesCompared << " entries compared; "
              << totals.struckRequests << " requests disturbed, of which " << totals.carriedOut
              << " were carried out all the same; with a new session on the way and without a box "
              << totals.unnoticed << " were left undone and " << totals.misdirected
              << " did not find their document and filed or changed another one" << std::endl;
}

/// Plays one sequence; when it fails, what failed and the shortest list that still does.
std::string FailureOf(std::uint64_t seed, const Subject& subject, Totals& totals, Steps* shortest = nullptr) {
    const Steps steps = RandomSteps(seed);
    const std::optional<std::string> difference = Play(steps, subject, totals);
    if (!difference) {
        return {};
    }
    Totals unused;
    const Steps shorter =
        Shortened(steps, [&](const Steps& each) { return Play(each, subject, unused).has_value(); });
    if (shortest != nullptr) {
        *shortest = shorter;
    }
    return "seed " + std::to_string(seed) + ": " + *difference + "\nshortened to: --replay \"" +
           Shown(shorter) + "\": " + Play(shorter, subject, unused).value_or("fails no more");
}

TEST(Model, HoldsForRandomSequences) {
    std::cout << "seeds from " << options.seed << std::endl;
    Totals totals;
    int failures = 0;
    for (std::uint64_t at = 0; at < options.sequences && failures < 5; ++at) {
        if (const std::string failure = FailureOf(options.seed + at, {}, totals); !failure.empty()) {
            ADD_FAILURE() << failure;
            ++failures;
        }
    }
    Print(totals);
    EXPECT_GE(totals.requests, options.sequences);
    if (options.sequences >= 1000) {
        for (std::size_t kind = 0; kind < faultKinds; ++kind) {
            EXPECT_GT(totals.strikes.at(kind), 100U) << "fault " << kind;
        }
        EXPECT_GT(totals.carriedOut, 100U);
        EXPECT_GT(totals.entriesCompared, totals.requests);
    }
}

/// The runs are only worth something if they find what is wrong, and make it short.
void ExpectFound(const Subject& subject) {
    Totals totals;
    for (std::uint64_t at = 0; at < 500; ++at) {
        Steps shortest;
        const std::string failure = FailureOf(options.seed + at, subject, totals, &shortest);
        if (!failure.empty()) {
            EXPECT_LE(shortest.size(), 8U) << failure;
            EXPECT_TRUE(Play(shortest, subject, totals)) << "the shortened list fails no more";
            EXPECT_FALSE(Play(shortest, {}, totals)) << "it fails for another reason";
            return;
        }
    }
    ADD_FAILURE() << "nothing was found in " << totals.sequences << " sequences";
}

class WrongModel : public testing::TestWithParam<Mistake> {};

TEST_P(WrongModel, IsFound) {
    ExpectFound({Defect::None, GetParam()});
}
INSTANTIATE_TEST_SUITE_P(Mistakes, WrongModel,
                         testing::Values(Mistake::EditClearsBarcode, Mistake::RecordsAreFresh,
                                         Mistake::SearchIgnoresIndex, Mistake::DeleteNeedsNoBooking,
                                         Mistake::SaveNeedsNoBarcode, Mistake::SearchBeginsWithDebtors,
                                         Mistake::ClientsDoNotMeet));

class BrokenComponent : public testing::TestWithParam<Defect> {};

TEST_P(BrokenComponent, IsFound) {
    ExpectFound({GetParam(), Mistake::None});
}
INSTANTIATE_TEST_SUITE_P(Defects, BrokenComponent,
                         testing::Values(Defect::ForgetsField, Defect::NeverSaves, Defect::FilesTwice,
                                         Defect::DeletesAnother, Defect::SwapsKinds));

TEST(Sequence, IsTheSameForTheSameSeed) {
    EXPECT_EQ(RandomSteps(7), RandomSteps(7));
    EXPECT_NE(RandomSteps(7), RandomSteps(8));
}

TEST(Sequence, IsReadAsItIsShown) {
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        const Steps steps = RandomSteps(seed);
        EXPECT_EQ(Shown(Read(Shown(steps))), Shown(steps));
        EXPECT_EQ(Read(Shown(steps)), steps);
    }
    EXPECT_THROW(Read("dance 3"), std::invalid_argument);
    EXPECT_THROW(Read("save"), std::invalid_argument);
    EXPECT_THROW(Read("save 3 !often@1"), std::invalid_argument);
}

TEST(Sequence, IsShortenedToWhatMatters) {
    const auto fails = [](const Steps& steps) {
        const auto save = std::ranges::find(steps, Step{Event::Save, 3, {}});
        return save != steps.end() && std::find(save, steps.end(), Step{Event::Change, 3, {}}) != steps.end();
    };
    Steps steps = RandomSteps(1);
    steps.insert(steps.begin() + 2, Step{Event::Save, 3, {}});
    steps.push_back({Event::Change, 3, {}});
    EXPECT_EQ(Shown(Shortened(steps, fails)), "save 3; change 3");
}

int Replay(const char* text) {
    Totals totals;
    const std::optional<std::string> difference = Play(Read(text), {}, totals);
    std::cout << difference.value_or("as the model says") << std::endl;
    return difference ? 1 : 0;
}

int RunRequests(std::uint64_t requests) {
    std::cout << "seeds from " << options.seed << std::endl;
    Totals totals;
    int failures = 0;
    for (std::uint64_t seed = options.seed; totals.requests < requests && failures < 5; ++seed) {
        if (const std::string failure = FailureOf(seed, {}, totals); !failure.empty()) {
            std::cout << failure << std::endl;
            ++failures;
        }
    }
    Print(totals);
    std::cout << failures << " failures" << std::endl;
    return failures == 0 ? 0 : 1;
}

int Main(int argc, char** argv) {
    std::uint64_t requests = 0;
    bool hasSeed = false;
    for (int at = 1; at + 1 < argc; ++at) {
        if (std::strcmp(argv[at], "--sequences") == 0) {
            options.sequences = std::strtoull(argv[at + 1], nullptr, 10);
        } else if (std::strcmp(argv[at], "--seed") == 0) {
            options.seed = std::strtoull(argv[at + 1], nullptr, 10);
            hasSeed = true;
        } else if (std::strcmp(argv[at], "--requests") == 0) {
            requests = std::strtoull(argv[at + 1], nullptr, 10);
        } else if (std::strcmp(argv[at], "--replay") == 0) {
            return Replay(argv[at + 1]);
        }
    }
    if (requests > 0) {
        if (!hasSeed) {
            options.seed =
                static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
        }
        return RunRequests(requests);
    }
    return RUN_ALL_TESTS();
}

}  // namespace
}  // namespace kandora::model_tests

// NOLINTNEXTLINE(bugprone-exception-escape): a program that gets no COM ends
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const kandora::Apartment apartment;
    return kandora::model_tests::Main(argc, argv);
}
