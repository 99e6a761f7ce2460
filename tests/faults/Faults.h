#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "automation/Variant.h"
#include "tests/support/Seam.h"
#include "tests/support/Unique.h"

namespace kandora::test {

/// The ways in which a call can fail.
enum class Failing {
    Exception,   ///< with number and description
    BareCode,    ///< nothing but an HRESULT
    ServerGone,  ///< and the call was not carried out
    AnswerLost,  ///< the server died after it had carried out the call
    TurnedAway,  ///< busy
    ForeignException,
    NoMemory,
    OddAnswer,  ///< carried out, but another value is answered
};

/// Which of the four partners is called: archive, accounting host, machine, user.
enum class Partner { Archive, Host, Machine, User };
Partner PartnerOf(std::string_view side, TextView operation, const std::vector<Variant>& arguments);

/// One way to fail a call.
struct Way {
    std::string name;
    Failing failing;
    Variant answer;         ///< of an odd answer
    bool isObject = false;  ///< the odd answer is an object that knows nothing

    /// Number and text under which the user must be told of it (not for odd answers).
    [[nodiscard]] std::int32_t Number() const;
    [[nodiscard]] Text Description() const;
};

/// Failures first, then odd answers.
const std::vector<Way>& Ways();

/// How long a fault goes on.
enum class Duration {
    Once,
    FromThenOn,   ///< for whatever goes to the same partner; odd answers, for the same member
    AndEveryBox,  ///< once, and no box can be shown
};

/// A message box.
struct Box {
    Text prompt;
    std::int32_t style = 0;
    Text caption;
    bool shown = true;

    [[nodiscard]] bool IsErrorBox() const { return style == 4112; }
};

/// One call, as it was seen.
struct SeenCall {
    std::string side;
    Text operation;
    std::vector<Variant> arguments;
    bool answered = false;
    Variant answer;

    [[nodiscard]] bool Is(const char* aSide, const wchar_t* anOperation) const {
        return side == aSide && operation == anOperation;
    }
    [[nodiscard]] Text TextAt(std::size_t index) const { return arguments.at(index).ToText(); }
    [[nodiscard]] std::int32_t LongAt(std::size_t index) const { return arguments.at(index).ToLong(); }
};

/// Counts the calls that leave the component during a request, and fails the one it is told to.
class Conductor final : public Seam {
public:
    /// Counts from here on.
    void Begin(bool record = false);
    /// No more counting, no more faults.
    void End() noexcept { counting_ = false; }
    /// Fails the call with this number (from 1 on).
    void Plan(std::size_t call, const Way& way, Duration duration);
    /// Fails the call with this number (from 1 on) among those that an Aside counts.
    void PlanAside(std::size_t call, const Way& way);
    /// Runs the action, once, at the call with this number (from 1 on), before the call is carried out.
    void Meanwhile(std::size_t call, std::function<void()> action);

    [[nodiscard]] std::size_t Counted() const noexcept { return counted_; }
    [[nodiscard]] std::size_t Failed() const noexcept { return failed_; }
    [[nodiscard]] const std::vector<SeenCall>& Seen() const noexcept { return seen_; }

    /// For as long as it lives, calls are counted separately: a request that is answered at once in the
    /// middle of another one must not shift the numbers of that one's calls.
    class Aside : test::Unique {
    public:
        explicit Aside(Conductor& conductor) : conductor_(conductor) { conductor_.isAside_ = true; }
        ~Aside() { conductor_.isAside_ = false; }

    private:
        Conductor& conductor_;
    };

    /// In the order of their appearance.
    std::vector<Box> boxes;

    Variant Around(const OutsideCall& call, const std::function<Variant()>& carryOut) override;
    void Enter() noexcept override { ++outside_; }
    void Leave() noexcept override { --outside_; }
    /// True while the component waits for something outside.
    [[nodiscard]] bool IsOutside() const noexcept { return outside_ > 0; }

private:
    [[nodiscard]] bool Hits(const OutsideCall& call, std::size_t number);
    Variant Fail(const OutsideCall& call, const std::function<Variant()>& carryOut);

    bool counting_ = false;
    bool recording_ = false;
    std::size_t counted_ = 0;
    std::size_t failed_ = 0;
    std::size_t planned_ = 0;
    const Way* way_ = nullptr;
    Duration duration_ = Duration::Once;
    std::string failedSide_;
    Text failedOperation_;
    Partner failedPartner_ = Partner::Machine;
    std::size_t meanwhile_ = 0;
    std::function<void()> action_;
    int outside_ = 0;
    bool isAside_ = false;
    std::size_t countedAside_ = 0;
    std::size_t plannedAside_ = 0;
    std::vector<SeenCall> seen_;
};

}  // namespace kandora::test
