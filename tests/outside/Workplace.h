#pragma once

#include "../component/Support.h"

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

/// A program that runs beside the test; what it prints is kept.
class RunningProgram {
public:
    RunningProgram(const fs::path& program, const std::vector<std::wstring>& arguments);
    /// Ends it by force when it still runs.
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Waits until it has printed the text.
    [[nodiscard]] bool Says(const std::string& text) const;
    [[nodiscard]] bool HasEnded() const;
    /// Asks its message loop to end and waits for it.
    void Quit();

private:
    TemporaryFolder folder_;
    PROCESS_INFORMATION process_{};
};

/// Confirms what other programs ask: message boxes, the proposed archive path, the description of a report.
class User {
public:
    User();
    ~User();
    User(const User&) = delete;
    User& operator=(const User&) = delete;

    /// "[caption] text" of every window answered so far, in their order.
    [[nodiscard]] std::vector<std::wstring> Answered() const;

private:
    static BOOL CALLBACK LookAt(HWND window, LPARAM self);
    void Look(HWND window);

    std::atomic<bool> ended_ = false;
    mutable std::mutex lock_;
    std::vector<std::wstring> answered_;
    std::set<HWND> open_;
    std::set<HWND> seen_;
    std::thread thread_;
};

class Workplace {
public:
    Workplace();
    ~Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    [[nodiscard]] fs::path File(const wchar_t* name) const { return folder_.Path() / name; }
    /// What the archive was asked so far, one line a call.
    [[nodiscard]] std::vector<std::string> Trace() const;
    /// How often a line of the trace begins so.
    [[nodiscard]] std::ptrdiff_t Traced(const std::string& beginning) const;
    /// The filed entries, each with its folder's levels under "ordner".
    [[nodiscard]] std::map<int, nlohmann::json> Entries() const;
    /// The client as the accounting keeps it.
    [[nodiscard]] nlohmann::json Client() const;

private:
    TemporaryFolder folder_;
    std::unique_ptr<RunningProgram> archive_;
    std::unique_ptr<RunningProgram> accounting_;
};

/// The program's output in lines.
std::vector<std::string> LinesOf(const std::string& output);
/// One line each.
std::string Joined(const std::vector<std::string>& lines);

}  // namespace kandora::outside_tests
