#include "simulators/archive/RehearsedObject.h"

#include <windows.h>

#include <algorithm>
#include <variant>

#include "simulators/common/CallFailure.h"
#include "simulators/common/Files.h"

namespace kandora::simulators {

namespace {

/// In milliseconds, between two looks whether a file is there.
constexpr DWORD untilPause = 5;

}  // namespace

Value RehearsedObject::Perform(const Call& call, const std::function<Value()>& proceed) {
    if (program_.trace == nullptr) {
        return Scripted(call, proceed);
    }
    const std::wstring line = CallTrace::DescribeCall(call);
    try {
        Value answer = Scripted(call, proceed);
        program_.trace->Write(line + CallTrace::DescribeAnswer(call, answer));
        return answer;
    } catch (...) {
        program_.trace->Write(line + CallTrace::DescribeFailure(DescribeCurrentException(ClassName())));
        throw;
    }
}

void RehearsedObject::OnUnknownName(std::wstring_view name) {
    if (program_.trace != nullptr) {
        program_.trace->Write(std::wstring(name) + L" -> Fehler 0x80020006");
    }
}

Value RehearsedObject::Scripted(const Call& call, const std::function<Value()>& proceed) {
    if (program_.script == nullptr) {
        return Answer(call, proceed);
    }
    const CallScript::Decision decision = program_.script->Decide(call);
    if (decision.delay.count() > 0) {
        // A busy archive answers nobody and does not paint its window either.
        Sleep(static_cast<DWORD>(decision.delay.count()));
    }
    while (!std::ranges::all_of(decision.until, &IsFile)) {
        Sleep(untilPause);
    }
    if (const auto* given = std::get_if<CallScript::Answer>(&decision.action)) {
        return given->value;
    }
    if (const auto* error = std::get_if<AutomationError>(&decision.action)) {
        throw *error;  // NOLINT(bugprone-exception-copy-constructor-throws): its texts are short
    }
    if (const auto* error = std::get_if<HresultError>(&decision.action)) {
        throw *error;
    }
    if (const auto* death = std::get_if<CallScript::Death>(&decision.action)) {
        if (*death == CallScript::Death::After) {
            const Value lost = Answer(call, proceed);
        }
        if (program_.trace != nullptr) {
            program_.trace->Write(CallTrace::DescribeCall(call) + L" -> Programmende");
        }
        program_.view.Die();
    }
    return Answer(call, proceed);
}

}  // namespace kandora::simulators
