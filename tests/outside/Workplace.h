#pragma once

#include "tests/component/ComponentSupport.h"
#include "tests/support/StartedProgram.h"
#include "tests/support/Unique.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

/// A workstation with everything that the component's outside callers meet: the registered component, an
/// archive and an accounting, each a program of its own, and somebody who answers the windows that come up.
namespace kandora::outside_tests {

using namespace component_tests;

/// A program that runs beside the test; what it prints is kept. Ended by force when it still runs at the end.
class RunningProgram : test::Unique {
public:
    RunningProgram(const fs::path& program, const std::vector<std::wstring>& arguments);
    ~RunningProgram() = default;

    /// Waits until it has printed the text; false when it does not.
    [[nodiscard]] bool Says(const std::string& text);
    /// Waits for its end; with `isAsked`, keeps asking its message loop to end. A program that is not gone
    /// after `patience` milliseconds is a failure and ended by force. True when its exit code is 0.
    [[nodiscard]] bool Ends(DWORD patience, bool isAsked);
    /// Suspends its main thread, so that it no longer answers.
    void Freeze() const { SuspendThread(program_.MainThread()); }
    void Kill() { program_.End(); }

private:
    /// A file that the program writes to.
    class Output : test::Unique {
    public:
        explicit Output(const fs::path& file);
        ~Output() { CloseHandle(handle_); }
        [[nodiscard]] HANDLE Handle() const { return handle_; }

    private:
        HANDLE handle_;
    };

    TemporaryFolder folder_;
    std::string name_;
    Output output_;
    test::StartedProgram program_;
};

/// Confirms what other programs ask: message boxes, the proposed archive path, the description of a report.
class User : test::Unique {
public:
    User();
    ~User();

    /// "[caption] text" of every window answered so far, in their order.
    [[nodiscard]] std::vector<std::wstring> Answered() const;

private:
    void Look(HWND window);

    std::atomic<bool> ended_ = false;
    mutable std::mutex lock_;
    std::vector<std::wstring> answered_;
    std::set<HWND> open_;
    std::set<HWND> seen_;
    std::thread thread_;
};

class Workplace : test::Unique {
public:
    Workplace();
    /// Leaves nothing to the next one: programs that do not end are ended by force, which is a failure.
    ~Workplace();

    [[nodiscard]] fs::path File(const wchar_t* name) const { return folder_.Path() / name; }
    /// What the archive was asked so far, one line a call.
    [[nodiscard]] std::vector<std::string> Trace() const;
    /// The number of lines in the trace that begin like this.
    [[nodiscard]] std::ptrdiff_t Traced(const std::string& beginning) const;
    /// The filed entries, each with its folder's levels under "ordner".
    [[nodiscard]] std::map<int, nlohmann::json> Entries() const;
    /// The client as the accounting keeps it.
    [[nodiscard]] nlohmann::json Client() const;

    [[nodiscard]] RunningProgram& ArchiveProgram() { return *archive_; }
    [[nodiscard]] RunningProgram& AccountingProgram() { return *accounting_; }
    /// For programs that are known not to end: nothing waits for them.
    void LosePatience() { patience_ = 0; }

private:
    void SetUp();
    void TidyUp();

    DWORD patience_ = test::StartedProgram::patience;
    TemporaryFolder folder_;
    std::unique_ptr<RunningProgram> archive_;
    std::unique_ptr<RunningProgram> accounting_;
};

/// The program's output in lines.
std::vector<std::string> LinesOf(const std::string& output);
/// One line each.
std::string Joined(const std::vector<std::string>& lines);

}  // namespace kandora::outside_tests
