#include "tools/kit/Program.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

#include <tlhelp32.h>

#include "tools/check/Handle.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

using check::Handle;

constexpr UINT codeOfForce = 99;
constexpr DWORD turn = 200;         // milliseconds from one look to the next
constexpr DWORD patience = 10'000;  // milliseconds, for a process that was ended by force

/// Names of the environment compare without case.
struct IgnoringCase {
    bool operator()(const Text& left, const Text& right) const {
        return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

/// This process's environment with the changes, as a new process takes it. A test framework is told nothing
/// by what happens to be set here.
Text EnvironmentWith(const std::vector<Variable>& changes) {
    std::map<Text, Text, IgnoringCase> variables;
    wchar_t* const own = GetEnvironmentStringsW();
    for (const wchar_t* at = own; *at != L'\0'; at += std::wcslen(at) + 1) {
        const Text entry = at;
        // The system's own entries begin with the sign.
        const std::size_t sign = entry.find(L'=', 1);
        if (sign != Text::npos && !entry.starts_with(L"GTEST_")) {
            variables[entry.substr(0, sign)] = entry.substr(sign + 1);
        }
    }
    FreeEnvironmentStringsW(own);
    for (const Variable& change : changes) {
        variables[change.name] = change.value;
    }
    Text block;
    for (const auto& [name, value] : variables) {
        block += name + L"=" + value + L'\0';
    }
    return block + L'\0';
}

/// What ends together: a program and all that it starts.
class Job {
public:
    Job() : job_(CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job_.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    }

    void Take(HANDLE process) const { AssignProcessToJobObject(job_.Get(), process); }
    void End() const { TerminateJobObject(job_.Get(), codeOfForce); }
    [[nodiscard]] bool IsEmpty() const {
        JOBOBJECT_BASIC_ACCOUNTING_INFORMATION counts{};
        return QueryInformationJobObject(job_.Get(), JobObjectBasicAccountingInformation, &counts,
                                         sizeof(counts), nullptr) == FALSE ||
               counts.ActiveProcesses == 0;
    }

private:
    Handle job_;
};

/// A started process. Ended by force, with all of its own, when this goes.
class Process {
public:
    Process(const Call& call, HANDLE output, HANDLE input) {
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = input;
        startup.hStdOutput = output;
        startup.hStdError = output;
        Text line = Quoted(call.program.wstring());
        for (const Text& argument : call.arguments) {
            line += L" " + Quoted(argument);
        }
        line += call.line.empty() ? L"" : L" " + call.line;
        Text environment = EnvironmentWith(call.environment);
        // Ctrl+C is for this program, which ends the others; they share its console, so that no window opens.
        const DWORD flags = CREATE_SUSPENDED | CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_PROCESS_GROUP |
                            (GetConsoleWindow() == nullptr ? CREATE_NO_WINDOW : 0);
        const Text folder = call.program.parent_path().wstring();
        if (CreateProcessW(call.program.c_str(), line.data(), nullptr, nullptr, TRUE, flags,
                           environment.data(), folder.c_str(), &startup, &process_) == FALSE) {
            error_ = GetLastError();
            return;
        }
        job_.Take(process_.hProcess);
        ResumeThread(process_.hThread);
    }
    ~Process() {
        if (error_ == 0) {
            End();
            CloseHandle(process_.hThread);
            CloseHandle(process_.hProcess);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] DWORD Error() const noexcept { return error_; }
    [[nodiscard]] HANDLE Get() const noexcept { return process_.hProcess; }
    [[nodiscard]] DWORD ExitCode() const noexcept {
        DWORD code = 0;
        GetExitCodeProcess(process_.hProcess, &code);
        return code;
    }
    /// False when something of it is still running after that many milliseconds.
    [[nodiscard]] bool IsAlone(DWORD milliseconds) const {
        for (const ULONGLONG end = GetTickCount64() + milliseconds; !job_.IsEmpty(); Sleep(20)) {
            if (GetTickCount64() >= end) {
                return false;
            }
        }
        return true;
    }
    void End() const {
        job_.End();
        TerminateProcess(process_.hProcess, codeOfForce);
        WaitForSingleObject(process_.hProcess, patience);
    }

private:
    Job job_;
    PROCESS_INFORMATION process_{};
    DWORD error_ = 0;
};

Handle InheritableFile(const fs::path& file, DWORD access, DWORD creation) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    return Handle(CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              &inherited, creation, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// Waits for the process's end, for the user's wish or for the end of the time.
EndedProgram::Way WaitFor(const Process& process, const Call& call, const Interruption& interruption,
                          const Onlooker& onlooker) {
    const ULONGLONG end = GetTickCount64() + 1000ULL * static_cast<ULONGLONG>(call.limit);
    const std::array<HANDLE, 2> events{process.Get(), interruption.Event()};
    for (;;) {
        const DWORD reason = WaitForMultipleObjects(call.isWhole ? 1 : 2, events.data(), FALSE, turn);
        if (reason == WAIT_OBJECT_0) {
            return EndedProgram::Way::Normally;
        }
        if (reason == WAIT_OBJECT_0 + 1) {
            return EndedProgram::Way::Interrupted;
        }
        if (GetTickCount64() >= end) {
            return EndedProgram::Way::OutOfTime;
        }
        if (onlooker) {
            onlooker(ContentOf(call.output));
        }
    }
}

/// The file of a process; empty when it may not be asked.
Text FileOf(DWORD id) {
    const Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    std::array<wchar_t, 2048> file{};
    auto length = static_cast<DWORD>(file.size());
    if (!process || QueryFullProcessImageNameW(process.Get(), 0, file.data(), &length) == FALSE) {
        return {};
    }
    return {file.data(), length};
}

bool IsBelow(const Text& file, const Text& folder) {
    const auto length = static_cast<int>(folder.size());
    return file.size() > folder.size() &&
           CompareStringOrdinal(file.c_str(), length, folder.c_str(), length, TRUE) == CSTR_EQUAL;
}

/// The processes of programs in the folder, which ends in a separator; this one is not among them.
std::vector<DWORD> ProgramsOf(const Text& folder) {
    std::vector<DWORD> found;
    const Handle list(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = list ? Process32FirstW(list.Get(), &entry) : FALSE; more != FALSE;
         more = Process32NextW(list.Get(), &entry)) {
        const DWORD id = entry.th32ProcessID;
        if (id != 0 && id != GetCurrentProcessId() && IsBelow(FileOf(id), folder)) {
            found.push_back(id);
        }
    }
    return found;
}

}  // namespace

Text EndedProgram::Told() const {
    switch (way) {
    case Way::NotStarted:
        return L"es liess sich nicht starten: " + SystemMessage(code);
    case Way::OutOfTime:
        return L"es kam nach " + Decimal(static_cast<std::int64_t>(seconds)) + L" s nicht zum Ende";
    case Way::Interrupted:
        return L"abgebrochen";
    default:
        return code == 0 ? Text() : L"es endete mit " + ExitCodeText(code);
    }
}

EndedProgram RunToEnd(const Call& call, const Interruption& interruption, const Onlooker& onlooker) {
    EndedProgram ended;
    if (!call.isWhole && interruption.IsRaised()) {
        ended.way = EndedProgram::Way::Interrupted;
        return ended;
    }
    const ULONGLONG begun = GetTickCount64();
    {
        const Handle output = InheritableFile(call.output, GENERIC_WRITE, CREATE_ALWAYS);
        const Handle input = InheritableFile(L"NUL", GENERIC_READ, OPEN_EXISTING);
        const Process process(call, output.Get(), input.Get());
        if (process.Error() != 0) {
            ended.code = process.Error();
            return ended;
        }
        ended.way = WaitFor(process, call, interruption, onlooker);
        ended.code = process.ExitCode();
        ended.seconds = static_cast<double>(GetTickCount64() - begun) / 1000;
        if (ended.way == EndedProgram::Way::Normally && !process.IsAlone(call.grace)) {
            process.End();
        }
    }
    ended.output = ContentOf(call.output);
    return ended;
}

void EndProgramsOf(const fs::path& folder, DWORD grace) {
    const Text top = folder.wstring() + L"\\";
    std::vector<DWORD> left = ProgramsOf(top);
    for (const ULONGLONG end = GetTickCount64() + grace; !left.empty() && GetTickCount64() < end;
         left = ProgramsOf(top)) {
        Sleep(100);
    }
    for (const DWORD id : left) {
        const Handle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
        TerminateProcess(process.Get(), codeOfForce);
        WaitForSingleObject(process.Get(), patience);
    }
}

Text Quoted(const Text& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\"") == Text::npos) {
        return argument;
    }
    Text quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'\\') {
            ++backslashes;
            continue;
        }
        quoted.append(unit == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += unit;
    }
    return quoted.append(backslashes * 2, L'\\') + L"\"";
}

std::string ContentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void CopyOver(const fs::path& from, const fs::path& to) {
    if (CopyFileW(from.c_str(), to.c_str(), FALSE) == FALSE) {
        throw KitFailure(L"Lässt sich nicht kopieren: " + from.wstring() + L": " +
                         SystemMessage(GetLastError()));
    }
}

void WriteContent(const fs::path& file, std::string_view content) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (!stream) {
        fs::create_directories(file.parent_path());
        stream.open(file, std::ios::binary | std::ios::trunc);
    }
    stream << content;
    stream.close();
    if (!stream) {
        throw KitFailure(L"Diese Datei lässt sich nicht schreiben: " + file.wstring());
    }
}

}  // namespace kandora::kit
