#include "tests/kit/PlayedProgram.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

#include <windows.h>

#include "interfaces/CodePages.h"
#include "tests/support/BuiltFile.h"

namespace kandora::kit_tests {

namespace {

/// Starts another process of this program, which hangs and inherits the output.
void StartOneThatHangs() {
    std::wstring line = L"\"" + test::OwnFile().wstring() + L"\" " + play + L" hang";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &process) != FALSE) {
        std::printf("%lu\n", process.dwProcessId);
        std::fflush(stdout);
    }
}

int Play(const std::string& name) {
    if (name == "silence") {
        return 0;
    }
    if (name == "fewer") {
        std::fputs(Said(1).c_str(), stdout);
        return 0;
    }
    if (name == "crash") {
        const std::string said = Said(2);
        std::fputs(said.substr(0, said.find("[       OK ]")).c_str(), stdout);
        std::fflush(stdout);
        RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    if (name == "parent") {
        StartOneThatHangs();
        return 0;
    }
    if (name == "variable") {
        std::fputs(Utf8FromText(_wgetenv(L"KANDORA_KIT_TEST")).c_str(), stdout);
        return 7;
    }
    std::puts("[==========] Running 2 tests from 1 test suite.\n[ RUN      ] A.Hangs");
    std::fflush(stdout);
    Sleep(INFINITE);
    return 0;
}

}  // namespace

std::optional<int> PlayedProgram(int count, wchar_t** arguments) {
    if (count == 3 && std::wstring_view(arguments[1]) == play) {
        return Play(Utf8FromText(arguments[2]));
    }
    std::string name;
    std::ifstream(test::OwnFile().concat(L".txt")) >> name;
    return name.empty() ? std::nullopt : std::optional(Play(name));
}

std::string Said(int cases) {
    const std::string count = std::to_string(cases);
    std::string said = "[==========] Running " + count + " tests from 1 test suite.\n";
    for (int at = 0; at < cases; ++at) {
        const std::string name = "A.Case" + std::to_string(at);
        said += "[ RUN      ] " + name + "\n[       OK ] " + name + " (7 ms)\n";
    }
    return said + "[==========] " + count + " tests from 1 test suite ran. (8 ms total)\n[  PASSED  ] " +
           count + " tests.\n";
}

}  // namespace kandora::kit_tests
