#include "tests/model/Steps.h"

#include <algorithm>
#include <array>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace kandora::model_tests {

namespace {

constexpr std::array<std::string_view, eventCount> eventNames{
    "save",         "change", "delete",      "show",         "print",       "ask",
    "start",        "init",   "restart",     "archive-dies", "host-closes", "open-client",
    "edit-booking", "decide", "placeholder", "move-folder",  "purge"};
constexpr std::array<std::string_view, faultKinds> faultNames{
    "error", "code", "gone", "gone-after", "lost-answer", "no-memory", "refused", "wrong-type"};

template <std::size_t count>
std::size_t PlaceOf(const std::array<std::string_view, count>& names, std::string_view name) {
    const auto found = std::ranges::find(names, name);
    if (found == names.end()) {
        throw std::invalid_argument("unknown: " + std::string(name));
    }
    return static_cast<std::size_t>(found - names.begin());
}

/// The library's distributions differ from one library to the next; this one does not.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : source_(seed) {}

    int Below(int limit) { return static_cast<int>(source_() % static_cast<std::uint64_t>(limit)); }
    bool Percent(int percent) { return Below(100) < percent; }

private:
    std::mt19937_64 source_;
};

/// How often each event comes, in hundredths.
constexpr std::array<std::pair<Event, int>, eventCount> weights{{
    {Event::Save, 20},
    {Event::Change, 20},
    {Event::Delete, 10},
    {Event::Show, 6},
    {Event::Print, 4},
    {Event::Ask, 3},
    {Event::Start, 2},
    {Event::Init, 2},
    {Event::Restart, 4},
    {Event::ArchiveDies, 4},
    {Event::HostCloses, 2},
    {Event::OpenClient, 6},
    {Event::EditBooking, 9},
    {Event::Decide, 4},
    {Event::Placeholder, 1},
    {Event::MoveFolder, 1},
    {Event::Purge, 2},
}};

int Choices(Event event) {
    switch (event) {
    case Event::OpenClient:
    case Event::Restart:
    case Event::Init:
        return 2;
    case Event::Print:
        return 3;
    case Event::Ask:
        return 6;
    case Event::Decide:
    case Event::MoveFolder:
        return 4;
    case Event::EditBooking:
        return 48;
    case Event::Purge:
        return 5;
    case Event::Save:
    case Event::Change:
    case Event::Delete:
    case Event::Show:
        return 9;
    default:
        return 1;
    }
}

}  // namespace

bool IsRequest(Event event) {
    return event <= Event::Restart;
}

std::string Shown(const Steps& steps) {
    std::string text;
    for (const Step& step : steps) {
        text += text.empty() ? "" : "; ";
        text += std::string(eventNames.at(static_cast<std::size_t>(step.event))) + " " +
                std::to_string(step.which);
        if (step.fault) {
            text += " !" + std::string(faultNames.at(static_cast<std::size_t>(step.fault->kind))) + "@" +
                    std::to_string(step.fault->at) + (step.fault->lasting ? "+" : "");
        }
    }
    return text;
}

Steps Read(const std::string& text) {
    Steps steps;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ';');) {
        std::istringstream words(part);
        std::string name;
        std::string disturbance;
        Step step;
        if (!(words >> name)) {
            continue;
        }
        step.event = static_cast<Event>(PlaceOf(eventNames, name));
        if (!(words >> step.which) || step.which < 0) {
            throw std::invalid_argument("a number is missing: " + part);
        }
        if (words >> disturbance) {
            const std::size_t at = disturbance.find('@');
            if (disturbance[0] != '!' || at == std::string::npos) {
                throw std::invalid_argument("no fault: " + part);
            }
            Fault fault;
            fault.kind = static_cast<FaultKind>(PlaceOf(faultNames, disturbance.substr(1, at - 1)));
            fault.at = static_cast<std::uint32_t>(std::stoul(disturbance.substr(at + 1)));
            fault.lasting = disturbance.ends_with('+');
            step.fault = fault;
        }
        steps.push_back(step);
    }
    return steps;
}

Steps RandomSteps(std::uint64_t seed) {
    Dice dice(seed);
    Steps steps(static_cast<std::size_t>(10 + dice.Below(40)));
    // One booking is chosen often: only when much happens to it are the rarer states reached.
    const int favourite = dice.Below(8);
    for (Step& step : steps) {
        int left = dice.Below(100);
        for (const auto& [event, weight] : weights) {
            step.event = event;
            left -= weight;
            if (left < 0) {
                break;
            }
        }
        step.which = dice.Below(Choices(step.event));
        if (Choices(step.event) > 8 && dice.Percent(40)) {
            step.which += favourite - step.which % 8;
        }
        const bool isRisky = step.event == Event::Restart || step.event == Event::Init;
        if (IsRequest(step.event) && dice.Percent(isRisky ? 10 : 33)) {
            // Short requests make a few dozen calls, searches some hundreds.
            const int reach = std::array{30, 100, 400}.at(static_cast<std::size_t>(dice.Below(3)));
            step.fault = Fault{static_cast<FaultKind>(dice.Below(static_cast<int>(faultKinds))),
                               static_cast<std::uint32_t>(1 + dice.Below(reach)), dice.Percent(25)};
        }
    }
    return steps;
}

}  // namespace kandora::model_tests
