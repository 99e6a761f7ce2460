#pragma once

#include <windows.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <system_error>
#include <utility>

#include "tests/support/Unique.h"

namespace kandora::test {

/// What is started, with this process's folder and environment.
struct Command {
    std::wstring line;
    /// Where its output goes; null: where that of this process goes. The handle is inheritable and the
    /// caller's, who keeps it open as long as the program may have to be started again.
    HANDLE output = nullptr;
    HANDLE errors = nullptr;  ///< the same for its messages
};

/// What the system does with programs and knows of them; a test of StartedProgram answers instead.
class Processes : Unique {
public:
    Processes() = default;
    virtual ~Processes() = default;

    /// 0, or the system's error; both handles are the caller's.
    virtual DWORD Start(const Command& command, PROCESS_INFORMATION& process) = 0;
    /// Whether the system has told its end.
    [[nodiscard]] virtual bool HasEnded(const PROCESS_INFORMATION& process) = 0;
    /// Whether it is in the list of processes, and has any memory.
    [[nodiscard]] virtual bool IsThere(const PROCESS_INFORMATION& process) = 0;
    [[nodiscard]] virtual DWORD ExitCode(const PROCESS_INFORMATION& process) = 0;
    /// Ends it by force unless it has ended.
    virtual void End(const PROCESS_INFORMATION& process) = 0;
    virtual void Close(const PROCESS_INFORMATION& process) = 0;
    [[nodiscard]] virtual ULONGLONG Milliseconds() = 0;
    /// Leaves the processor to others for a moment.
    virtual void Rest() = 0;

    static Processes& OfSystem();
};

/// A program that this process has started and ends, whatever happens.
///
/// Seen once on a busy machine under wine: a program that had been started never said a word, had no process
/// any more, and its handle was never signalled. wine's server learns of an end by the program's sockets and
/// pipes only: a program that is killed while somebody else holds copies of them stays in the list of
/// processes, without any memory, and nothing tells its end. Who held copies in that case is not known.
class StartedProgram : Unique {
public:
    /// True once the program has given a sign of life. Asked again and again while the program is waited for.
    using Sign = std::function<bool()>;

    static constexpr int mostStarts = 3;
    static constexpr DWORD exitCodeOfForce = 99;
    static constexpr DWORD patience = 60'000;  ///< milliseconds
    /// Milliseconds from one look at the list to the next. A program that two looks miss in a row is lost.
    static constexpr ULONGLONG betweenLooks = 1000;
    /// How many milliseconds one turn of waiting counts at most: when this process is stopped for a while,
    /// the program probably is, too.
    static constexpr ULONGLONG longestTurn = 100;

    /// Writes to `told` what happens to the program. Throws std::system_error when it cannot be started.
    explicit StartedProgram(Command command, Processes& processes = Processes::OfSystem(),
                            std::ostream& told = std::cout)
        : command_(std::move(command)), processes_(processes), told_(told) {
        Start();
    }
    ~StartedProgram() {
        End();
        processes_.Close(process_);
    }

    /// Waits for its sign of life; a program that is lost before it is started again. False when there is no
    /// sign: it has ended, was lost too often, or the time is over.
    [[nodiscard]] bool ShowsLife(const Sign& sign, DWORD milliseconds = patience) {
        bool isSeen = false;
        const auto look = [&] { return isSeen = sign(); };
        return Wait(look, milliseconds, [&] { return isSeen; }) && isSeen;
    }

    /// Waits for its end; a program that is lost before it has given a sign of life is started again. False
    /// when it does not end: it was lost, or the time is over.
    [[nodiscard]] bool Ends(const Sign& sign, DWORD milliseconds = patience) {
        return Wait(sign, milliseconds, [] { return false; });
    }
    [[nodiscard]] bool Ends(DWORD milliseconds = patience) {
        return Ends([] { return false; }, milliseconds);
    }

    [[nodiscard]] bool HasEnded() const { return processes_.HasEnded(process_); }
    /// STILL_ACTIVE while it runs.
    [[nodiscard]] DWORD ExitCode() const { return processes_.ExitCode(process_); }
    [[nodiscard]] DWORD Id() const { return process_.dwProcessId; }
    [[nodiscard]] DWORD MainThreadId() const { return process_.dwThreadId; }
    [[nodiscard]] HANDLE MainThread() const { return process_.hThread; }
    /// By force, unless it has ended.
    void End() { processes_.End(process_); }

private:
    /// wine now and then loses a new process before its first instruction and reports an internal error.
    void Start() {
        for (;;) {
            ++starts_;
            process_ = {};
            const DWORD error = processes_.Start(command_, process_);
            if (error == 0) {
                return;
            }
            if (error != ERROR_INTERNAL_ERROR || starts_ == mostStarts) {
                throw std::system_error(static_cast<int>(error), std::system_category(), Name());
            }
            Tell("did not get as far as its first instruction");
        }
    }

    /// True when it has ended or `isDone` says so.
    template <class Done>
    bool Wait(const Sign& sign, DWORD milliseconds, Done isDone) {
        ULONGLONG last = processes_.Milliseconds();
        ULONGLONG waited = 0;
        nextLook_ = last + betweenLooks;
        for (;;) {
            // What it said at the very end counts, too.
            const bool hasEnded = HasEnded();
            isAlive_ = sign() || isAlive_;
            if (hasEnded || isDone()) {
                return true;
            }
            if ((IsLost() && !Replace()) || waited >= milliseconds) {
                return false;
            }
            processes_.Rest();
            const ULONGLONG now = processes_.Milliseconds();
            waited += std::min(now - last, longestTurn);
            last = now;
        }
    }

    /// Looks at the list first: the program may end between the two questions.
    bool IsLost() {
        const ULONGLONG now = processes_.Milliseconds();
        if (now < nextLook_) {
            return false;
        }
        nextLook_ = now + betweenLooks;
        looksWithoutIt_ = processes_.IsThere(process_) || HasEnded() ? 0 : looksWithoutIt_ + 1;
        return looksWithoutIt_ == 2;
    }

    /// Starts it again. False for one that has done something, and after too many.
    bool Replace() {
        if (isAlive_ || starts_ == mostStarts) {
            told_ << Name() << " is gone, and nothing told its end." << std::endl;
            return false;
        }
        Tell("gave no sign of life and is gone, though nothing told its end");
        End();
        processes_.Close(process_);
        looksWithoutIt_ = 0;
        Start();
        return true;
    }

    void Tell(const char* what) {
        told_ << Name() << ' ' << what << "; started again (" << starts_ + 1 << " of " << mostStarts << ")."
              << std::endl;
    }

    [[nodiscard]] std::string Name() const {
        const std::u8string name = std::filesystem::path(command_.line).u8string();
        return {name.begin(), name.end()};
    }

    Command command_;
    Processes& processes_;
    std::ostream& told_;
    PROCESS_INFORMATION process_{};
    int starts_ = 0;
    bool isAlive_ = false;
    int looksWithoutIt_ = 0;
    ULONGLONG nextLook_ = 0;
};

/// The processes as they are.
class SystemProcesses : public Processes {
public:
    DWORD Start(const Command& command, PROCESS_INFORMATION& process) override {
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        const bool isHeard = command.output != nullptr;
        if (isHeard) {
            startup.dwFlags = STARTF_USESTDHANDLES;
            startup.hStdOutput = command.output;
            startup.hStdError = command.errors;
        }
        std::wstring line = command.line;  // the system writes into it
        return CreateProcessW(nullptr, line.data(), nullptr, nullptr, isHeard ? TRUE : FALSE, 0, nullptr,
                              nullptr, &startup, &process) != FALSE
                   ? 0
                   : GetLastError();
    }
    bool HasEnded(const PROCESS_INFORMATION& process) override {
        return WaitForSingleObject(process.hProcess, 0) == WAIT_OBJECT_0;
    }
    bool IsThere(const PROCESS_INFORMATION& process) override {
        PROCESS_MEMORY_COUNTERS memory{};
        return IsListed(process.dwProcessId) &&
               GetProcessMemoryInfo(process.hProcess, &memory, sizeof(memory)) != FALSE &&
               memory.WorkingSetSize > 0;
    }
    DWORD ExitCode(const PROCESS_INFORMATION& process) override {
        DWORD code = STILL_ACTIVE;
        GetExitCodeProcess(process.hProcess, &code);
        return code;
    }
    void End(const PROCESS_INFORMATION& process) override {
        if (!HasEnded(process)) {
            TerminateProcess(process.hProcess, StartedProgram::exitCodeOfForce);
            WaitForSingleObject(process.hProcess, StartedProgram::patience);
        }
    }
    void Close(const PROCESS_INFORMATION& process) override {
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    ULONGLONG Milliseconds() override { return GetTickCount64(); }
    void Rest() override { Sleep(10); }

private:
    /// A list that cannot be had says nothing against the program.
    static bool IsListed(DWORD id) {
        const HANDLE list = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
        if (list == INVALID_HANDLE_VALUE) {
            return true;
        }
        PROCESSENTRY32W entry{};
        entry.dwSize = sizeof(entry);
        bool isListed = false;
        for (BOOL more = Process32FirstW(list, &entry); more != FALSE && !isListed;
             more = Process32NextW(list, &entry)) {
            isListed = entry.th32ProcessID == id;
        }
        CloseHandle(list);
        return isListed;
    }
};

inline Processes& Processes::OfSystem() {
    static SystemProcesses processes;
    return processes;
}

}  // namespace kandora::test
