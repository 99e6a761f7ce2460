#include "tests/faults/Faults.h"

#include <new>
#include <stdexcept>

#include "automation/Errors.h"
#include "tests/support/FakeObject.h"

namespace kandora::test {

namespace {

constexpr HRESULT serverGone = static_cast<HRESULT>(0x800706BAU);
constexpr HRESULT callFailed = static_cast<HRESULT>(0x800706BEU);

constexpr WORD injectedNumber = 1234;
constexpr const wchar_t* injectedText = L"Von Müller gesperrt";

/// How often an odd answer is repeated at most; otherwise a list of hits might never end.
constexpr std::size_t oddAnswers = 50;

}  // namespace

std::int32_t Way::Number() const {
    switch (failing) {
    case Failing::Exception:
        return injectedNumber;
    case Failing::BareCode:
        return E_FAIL;
    case Failing::ServerGone:
    case Failing::AnswerLost:
        return errors::serverGone;
    case Failing::TurnedAway:
        return RPC_E_CALL_REJECTED;
    case Failing::ForeignException:
        return errors::internal;
    case Failing::NoMemory:
        return errors::outOfMemory;
    case Failing::OddAnswer:
        break;
    }
    return 0;
}

Text Way::Description() const {
    return failing == Failing::Exception ? Text(injectedText) : DescriptionOf(Number());
}

const std::vector<Way>& Ways() {
    static const std::vector<Way> ways{
        {"error with description", Failing::Exception, {}},
        {"bare HRESULT", Failing::BareCode, {}},
        {"server gone", Failing::ServerGone, {}},
        {"answer lost", Failing::AnswerLost, {}},
        {"turned away", Failing::TurnedAway, {}},
        {"C++ exception", Failing::ForeignException, {}},
        {"no memory", Failing::NoMemory, {}},
        {"0", Failing::OddAnswer, Variant(std::int32_t{0})},
        {"-1", Failing::OddAnswer, Variant(std::int32_t{-1})},
        {"2", Failing::OddAnswer, Variant(std::int32_t{2})},
        {"2147483647", Failing::OddAnswer, Variant(std::int32_t{2147483647})},
        {"text", Failing::OddAnswer, Variant(L"Unsinn")},
        {"null", Failing::OddAnswer, Variant::Null()},
        {"empty", Failing::OddAnswer, Variant()},
        {"no object", Failing::OddAnswer, Variant(static_cast<IDispatch*>(nullptr))},
        {"object", Failing::OddAnswer, {}, true},
        {"array", Failing::OddAnswer, Variant::ArrayOf(std::vector<Text>{L"a", L"b"})},
    };
    return ways;
}

Partner PartnerOf(std::string_view side, TextView operation, const std::vector<Variant>& arguments) {
    if (side == "user") {
        return Partner::User;
    }
    if (side == "archive") {
        return Partner::Archive;
    }
    if (side != "machine") {
        return Partner::Host;
    }
    if (operation != L"create") {
        return Partner::Machine;
    }
    return arguments.at(0).ToText() == L"ELO.professional" ? Partner::Archive : Partner::Host;
}

void Conductor::Begin(bool record) {
    counting_ = true;
    recording_ = record;
    counted_ = 0;
    countedAside_ = 0;
    failed_ = 0;
    seen_.clear();
    boxes.clear();
}

void Conductor::Plan(std::size_t call, const Way& way, Duration duration) {
    planned_ = call;
    way_ = &way;
    duration_ = duration;
}

void Conductor::PlanAside(std::size_t call, const Way& way) {
    plannedAside_ = call;
    way_ = &way;
}

void Conductor::Meanwhile(std::size_t call, std::function<void()> action) {
    meanwhile_ = call;
    action_ = std::move(action);
}

bool Conductor::Hits(const OutsideCall& call, std::size_t number) {
    if (number == planned_) {
        failedSide_ = call.side;
        failedOperation_ = call.operation;
        failedPartner_ = PartnerOf(call.side, call.operation, call.arguments);
        return true;
    }
    if (duration_ == Duration::Once || number < planned_) {
        return false;
    }
    if (duration_ == Duration::AndEveryBox) {
        return call.operation == L"box";
    }
    if (way_->failing == Failing::OddAnswer) {
        return failed_ < oddAnswers && call.side == failedSide_ && call.operation == failedOperation_ &&
               call.answered;
    }
    return PartnerOf(call.side, call.operation, call.arguments) == failedPartner_;
}

Variant Conductor::Fail(const OutsideCall& call, const std::function<Variant()>& carryOut) {
    ++failed_;
    if (way_->failing == Failing::OddAnswer) {
        static_cast<void>(carryOut());
        return way_->isObject ? Fake("stranger").AsVariant() : way_->answer;
    }
    if (way_->failing == Failing::ForeignException) {
        throw std::runtime_error("from outside");
    }
    if (way_->failing == Failing::NoMemory) {
        throw std::bad_alloc();
    }
    if (way_->failing == Failing::AnswerLost && failed_ == 1) {
        static_cast<void>(carryOut());
    }
    if (call.side == "machine" || call.side == "user") {
        throw RuntimeError(way_->Number(), way_->Description());
    }
    switch (way_->failing) {
    case Failing::Exception:
        throw Failure::Exception(injectedNumber, injectedText, L"draussen");
    case Failing::ServerGone:
        throw Failure::Code(serverGone);
    case Failing::AnswerLost:
        throw Failure::Code(callFailed);
    case Failing::TurnedAway:
        throw Failure::Code(RPC_E_CALL_REJECTED);
    default:
        throw Failure::Code(E_FAIL);
    }
}

Variant Conductor::Around(const OutsideCall& call, const std::function<Variant()>& carryOut) {
    if (!counting_) {
        return carryOut();
    }
    const bool isAside = isAside_;
    const std::size_t number = isAside ? ++countedAside_ : ++counted_;
    if (!isAside && number == meanwhile_) {  // calls that enter meanwhile are counted further on
        const int outside = std::exchange(outside_, 0);
        std::exchange(action_, nullptr)();
        outside_ = outside;
    }
    const bool fails = isAside ? number == plannedAside_ : planned_ != 0 && Hits(call, number);
    if (call.operation == L"box") {
        boxes.push_back({call.arguments.at(0).ToText(), call.arguments.at(1).ToLong(),
                         call.arguments.at(2).ToText(), !fails});
    }
    if (fails) {
        return Fail(call, carryOut);
    }
    if (!recording_) {
        return carryOut();
    }
    const std::size_t place = seen_.size();
    seen_.push_back({std::string(call.side), Text(call.operation), call.arguments, call.answered, {}});
    Variant answer = carryOut();
    seen_[place].answer = answer.IsObject() ? Variant() : answer;
    return answer;
}

}  // namespace kandora::test
