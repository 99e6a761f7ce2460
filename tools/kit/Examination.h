#pragma once

#include <optional>
#include <vector>

#include "tools/kit/Judge.h"
#include "tools/kit/KitCommandLine.h"
#include "tools/kit/KitReport.h"
#include "tools/kit/Parts.h"
#include "tools/kit/Pledges.h"
#include "tools/kit/Steps.h"

namespace kandora::kit {

/// One run of the kit: says what it will do, asks, and does it.
class Examination {
public:
    Examination(Kit& kit, const KitCommandLine& options, KitReport& report, Pledges& pledges);

    /// Everything that was chosen, one result after the other. Throws Interrupted and KitFailure.
    void Run();

private:
    /// Something to be done, or the reason why not.
    struct Piece {
        Text name;
        Needs needs = Needs::Nothing;
        std::int64_t seconds = 0;
        const PlannedTest* test = nullptr;  ///< none for a part
        Text obstacle;                      ///< empty when it can be done
    };

    [[nodiscard]] std::vector<Piece> Chosen() const;
    [[nodiscard]] bool IsChosen(const Text& name) const;
    [[nodiscard]] static bool WillTryPackage(const std::vector<Piece>& pieces);
    void FindObstacles(std::vector<Piece>& pieces) const;
    void Announce(const std::vector<Piece>& pieces) const;
    /// What goes beyond the kit's folder and the user's registry, and what the user says to it.
    void Ask(std::vector<Piece>& pieces);
    void KeepWhatIs(const std::vector<Piece>& pieces);
    void Do(const Piece& piece, std::int64_t number, std::int64_t count);
    [[nodiscard]] Result RunTest(const PlannedTest& test, const Text& place);
    [[nodiscard]] Result RunPart(const Text& name);
    void Tell(Result result);

    Kit& kit_;
    const KitCommandLine& options_;
    KitReport& report_;
    Pledges& pledges_;
    Judge judge_;
    std::optional<Text> foreign_;
};

/// What there is to examine, a line each.
std::vector<Text> ListOf(const Plan& plan);

}  // namespace kandora::kit
