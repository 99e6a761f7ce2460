#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "tests/kit/PlayedProgram.h"
#include "tests/support/BuiltFile.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/kit/Program.h"

namespace kandora::kit_tests {

namespace {

using kit::Call;
using kit::EndedProgram;
using Way = EndedProgram::Way;

class CourseOfPrograms : public testing::Test {
protected:
    [[nodiscard]] Call CallOf(const wchar_t* name) const {
        Call call;
        call.program = test::OwnFile();
        call.arguments = {play, name};
        call.output = folder_ / L"Ausgabe.txt";
        call.limit = 60;
        return call;
    }
    /// Whether a process of this number runs.
    static bool Runs(DWORD id) {
        const check::Handle process(OpenProcess(SYNCHRONIZE, FALSE, id));
        return process && WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
    }

    test::TemporaryFolder folder_;
    kit::Interruption interruption_;
};

TEST_F(CourseOfPrograms, ComesToItsEnd) {
    Call call = CallOf(L"variable");
    call.environment = {{L"kandora_kit_test", L"Grüsse"}};
    const EndedProgram ended = RunToEnd(call, interruption_);
    EXPECT_EQ(ended.way, Way::Normally);
    EXPECT_EQ(ended.code, 7U);
    EXPECT_EQ(ended.output, "Grüsse");
    EXPECT_EQ(ended.Told(), L"es endete mit 7");
    EXPECT_FALSE(ended.IsGood());
    EXPECT_TRUE(RunToEnd(CallOf(L"silence"), interruption_).IsGood());
}

TEST_F(CourseOfPrograms, ThatAreNotThereDoNotStart) {
    Call call = CallOf(L"silence");
    call.program = folder_ / L"fehlt.exe";
    const EndedProgram ended = RunToEnd(call, interruption_);
    EXPECT_EQ(ended.way, Way::NotStarted);
    EXPECT_TRUE(ended.Told().starts_with(L"es liess sich nicht starten: ")) << Utf8FromText(ended.Told());
}

TEST_F(CourseOfPrograms, EndsWithTheirTime) {
    Call call = CallOf(L"hang");
    call.limit = 1;
    const EndedProgram ended = RunToEnd(call, interruption_);
    EXPECT_EQ(ended.way, Way::OutOfTime);
    EXPECT_NE(ended.output.find("A.Hangs"), std::string::npos);
    EXPECT_EQ(ended.Told(), L"es kam nach 1 s nicht zum Ende");
}

TEST_F(CourseOfPrograms, EndsWhenTheUserWantsIt) {
    bool hasLookedOn = false;
    const EndedProgram ended = RunToEnd(CallOf(L"hang"), interruption_, [&](std::string_view) {
        hasLookedOn = true;
        interruption_.Raise();
    });
    EXPECT_EQ(ended.way, Way::Interrupted);
    EXPECT_TRUE(hasLookedOn);
    EXPECT_EQ(RunToEnd(CallOf(L"silence"), interruption_).way, Way::Interrupted);
    Call whole = CallOf(L"silence");
    whole.isWhole = true;
    EXPECT_EQ(RunToEnd(whole, interruption_).way, Way::Normally);
    EXPECT_THROW(interruption_.ThrowWhenRaised(), kit::Interrupted);
}

TEST_F(CourseOfPrograms, LeavesNothingThatTheyHaveStarted) {
    Call call = CallOf(L"parent");
    call.grace = 100;
    const EndedProgram ended = RunToEnd(call, interruption_);
    EXPECT_TRUE(ended.IsGood());
    const DWORD child = std::stoul(ended.output);
    EXPECT_GT(child, 0U);
    EXPECT_FALSE(Runs(child));
}

TEST_F(CourseOfPrograms, EndsWhatComHasStartedOutOfAFolder) {
    const std::filesystem::path copy = folder_ / L"Ordner" / L"Programm.exe";
    std::filesystem::create_directories(copy.parent_path());
    std::filesystem::copy_file(test::OwnFile(), copy);
    std::wstring line = L"\"" + copy.wstring() + L"\" " + play + L" hang";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    ASSERT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                             &process),
              FALSE);
    kit::EndProgramsOf(folder_ / L"Ord", 0);
    EXPECT_TRUE(Runs(process.dwProcessId));
    kit::EndProgramsOf(folder_ / L"ORDNER", 0);
    EXPECT_FALSE(Runs(process.dwProcessId));
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

TEST(ArgumentsOfPrograms, AreQuotedSoThatTheyArriveAsTheyAre) {
    EXPECT_EQ(kit::Quoted(L"--yes"), L"--yes");
    EXPECT_EQ(kit::Quoted(L""), L"\"\"");
    EXPECT_EQ(kit::Quoted(L"C:\\Muster AG\\"), L"\"C:\\Muster AG\\\\\"");
    EXPECT_EQ(kit::Quoted(L"sagt \"ja\""), L"\"sagt \\\"ja\\\"\"");
}

}  // namespace

}  // namespace kandora::kit_tests
