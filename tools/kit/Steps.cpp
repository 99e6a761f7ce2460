#include "tools/kit/Steps.h"

#include <array>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/kit/Judge.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

std::vector<Variable> Kit::Environment() const {
    const Text temporary = (work / L"Temp").wstring();
    return {{L"TEMP", temporary}, {L"TMP", temporary}};
}

StepFailure::StepFailure(Text message)
    : std::runtime_error(Utf8FromText(message)), message_(std::move(message)) {}

namespace {

/// What a program has said last.
Text LastLineOf(std::string_view output) {
    const std::vector<std::string_view> lines = LinesOf(output);
    return lines.empty() ? Text() : Trimmed(TextFromUtf8(lines.back()));
}

}  // namespace

EndedProgram Steps::RunCall(const Text& what, Call call) {
    kit_.screen.Progress(part_ + L": " + what);
    call.output = kit_.work / (part_ + L".log");
    call.environment = kit_.Environment();
    const ULONGLONG begun = GetTickCount64();
    EndedProgram ended = RunToEnd(call, kit_.interruption, [&](std::string_view output) {
        kit_.screen.Progress(part_ + L": " + what + L", " +
                             ClockTime(static_cast<double>(GetTickCount64() - begun) / 1000) + L", " +
                             LastLineOf(output));
    });
    if (ended.way == EndedProgram::Way::Interrupted) {
        throw Interrupted();
    }
    log_ += Utf8FromText(L"-- " + what + L" (" + Seconds(ended.seconds) + L")\n") + ended.output;
    if (!ended.output.empty() && !ended.output.ends_with('\n')) {
        log_ += '\n';
    }
    output_ = ended.output;
    kit_.interruption.ThrowWhenRaised();
    if (ended.way != EndedProgram::Way::Normally) {
        throw StepFailure(what + L": " + ended.Told());
    }
    return ended;
}

std::string Steps::Run(const Text& what, const fs::path& program, const std::vector<Text>& arguments) {
    Call call;
    call.program = program;
    call.arguments = arguments;
    EndedProgram ended = RunCall(what, std::move(call));
    if (!ended.IsGood()) {
        throw StepFailure(what + L": " + ended.Told());
    }
    return std::move(ended.output);
}

DWORD Steps::RunForCode(const Text& what, Call call) {
    const EndedProgram ended = RunCall(what, std::move(call));
    if (ended.code != 0) {
        log_ += Utf8FromText(ended.Told() + L"\n");
    }
    return ended.code;
}

void Steps::Require(const Text& what, bool isTrue) {
    log_ += Utf8FromText(L"-- " + what + (isTrue ? L": ja\n" : L": nein\n"));
    if (!isTrue) {
        throw StepFailure(L"Es müsste gelten: " + what);
    }
}

fs::path SystemProgram(const wchar_t* name) {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return fs::path(folder.data()) / name;
}

}  // namespace kandora::kit
