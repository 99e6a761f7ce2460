#pragma once

#include <string>
#include <vector>

#include "tools/kit/Interruption.h"
#include "tools/kit/Program.h"
#include "tools/kit/Screen.h"

namespace kandora::kit {

/// What all parts of a run work with.
struct Kit {
    fs::path folder;  ///< where this program lies
    fs::path work;    ///< the run's own files, which go at its end
    Plan plan;
    const Interruption& interruption;
    Screen& screen;
    bool isForMachine = false;  ///< what is registered is registered for the machine, else for the user

    [[nodiscard]] fs::path Bin(const wchar_t* name) const { return folder / L"bin" / name; }
    /// For every program that is started: its temporary files stay in the run's folder.
    [[nodiscard]] std::vector<Variable> Environment() const;
};

/// A step that did not go, in German.
class StepFailure : public std::runtime_error {
public:
    explicit StepFailure(Text message);

    [[nodiscard]] const Text& Message() const noexcept { return message_; }

private:
    Text message_;
};

/// The steps of a part of the run: programs one after the other, with a log of what they said.
class Steps {
public:
    Steps(const Kit& kit, Text part) : kit_(kit), part_(std::move(part)) {}

    /// Runs a program that must end well, and answers what it printed. Throws StepFailure and Interrupted.
    std::string Run(const Text& what, const fs::path& program, const std::vector<Text>& arguments);
    /// The same for one that may end with other codes; answers its code.
    DWORD RunForCode(const Text& what, Call call);
    /// The same for a check without a program.
    void Require(const Text& what, bool isTrue);

    [[nodiscard]] const std::string& Log() const noexcept { return log_; }
    /// What the last program printed.
    [[nodiscard]] const std::string& Output() const noexcept { return output_; }
    void Note(const std::string& text) { log_ += text; }

private:
    EndedProgram RunCall(const Text& what, Call call);

    const Kit& kit_;
    Text part_;
    std::string log_;
    std::string output_;
};

/// A program of Windows, of this program's bitness.
fs::path SystemProgram(const wchar_t* name);

}  // namespace kandora::kit
