#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "tools/kit/Interruption.h"
#include "tools/kit/Plan.h"

namespace kandora::kit {

namespace fs = std::filesystem;

/// A program that is to be run.
struct Call {
    fs::path program;
    std::vector<Text> arguments;
    std::vector<Variable> environment;  ///< what differs from this process's
    fs::path output;                    ///< the file for what it prints
    std::int64_t limit = 600;           ///< seconds
    DWORD grace = 10'000;               ///< milliseconds for what it has started and left behind
    Text line;                          ///< the command line, where the arguments do not tell it
    bool isWhole = false;               ///< what it does must not be broken off: the user's wish to end waits
};

/// How it went.
struct EndedProgram {
    enum class Way { Normally, NotStarted, OutOfTime, Interrupted };
    Way way = Way::NotStarted;
    DWORD code = 0;  ///< its exit code, or why it did not start
    double seconds = 0;
    std::string output;

    [[nodiscard]] bool IsGood() const noexcept { return way == Way::Normally && code == 0; }
    /// What was wrong with its end, in German; empty when nothing was.
    [[nodiscard]] Text Told() const;
};

/// Gets what the program has printed so far, now and then.
using Onlooker = std::function<void(std::string_view output)>;

/// Runs the program to its end, and everything that it has started with it. Nothing of it survives, whatever
/// ends this process.
EndedProgram RunToEnd(const Call& call, const Interruption& interruption, const Onlooker& onlooker = {});

/// Ends what is still running of the programs that lie in the folder or below: COM starts some that are
/// nobody's children. Waits `grace` milliseconds for them to end by themselves.
void EndProgramsOf(const fs::path& folder, DWORD grace);

/// An argument as the C library takes a command line apart again.
Text Quoted(const Text& argument);
/// The whole file; empty when it cannot be read.
std::string ContentOf(const fs::path& file);
void WriteContent(const fs::path& file, std::string_view content);
/// Replaces what is there. The library's function does not, whatever it is told. Throws KitFailure.
void CopyOver(const fs::path& from, const fs::path& to);

}  // namespace kandora::kit
