// Programs that tests start, and those that get lost.

#include "tests/support/StartedProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace kandora::test {
namespace {

/// Programs with a given fate; time passes while they are waited for.
class FakeProcesses : public Processes {
public:
    /// What the system learns of a program and when, in milliseconds since its start.
    struct Fate {
        DWORD error = 0;              ///< of its start
        ULONGLONG sign = never;       ///< its sign of life
        ULONGLONG end = never;        ///< its end, which is told
        ULONGLONG vanishes = never;   ///< from the list, and nothing is told
        ULONGLONG comesBack = never;  ///< to the list
    };
    static constexpr ULONGLONG never = ~0ULL;

    explicit FakeProcesses(std::vector<Fate> fates) : fates_(std::move(fates)) {}

    DWORD Start(const Command& command, PROCESS_INFORMATION& process) override {
        log += "start " + std::string(command.line.begin(), command.line.end()) + "; ";
        now_ = fates_.at(starts_);
        ++starts_;
        if (now_.error != 0) {
            return now_.error;
        }
        began_ = time_;
        isEnded_ = false;
        process.dwProcessId = static_cast<DWORD>(starts_);
        return 0;
    }
    bool HasEnded(const PROCESS_INFORMATION&) override { return isEnded_ || HasCome(now_.end); }
    bool IsThere(const PROCESS_INFORMATION&) override {
        ++looks;
        return !HasEnded({}) && (!HasCome(now_.vanishes) || HasCome(now_.comesBack));
    }
    DWORD ExitCode(const PROCESS_INFORMATION&) override { return HasEnded({}) ? 7 : STILL_ACTIVE; }
    void End(const PROCESS_INFORMATION& process) override {
        if (!HasEnded(process)) {
            log += "end " + std::to_string(process.dwProcessId) + "; ";
            isEnded_ = true;
        }
    }
    void Close(const PROCESS_INFORMATION& process) override {
        log += "close " + std::to_string(process.dwProcessId) + "; ";
    }
    ULONGLONG Milliseconds() override { return time_; }
    void Rest() override {
        time_ += 10 + stop;
        stop = 0;
    }

    [[nodiscard]] bool GaveSign() const { return HasCome(now_.sign); }

    std::string log;
    int looks = 0;
    ULONGLONG stop = 0;  ///< how long everything stands still during the next rest

private:
    [[nodiscard]] bool HasCome(ULONGLONG when) const { return when != never && time_ - began_ >= when; }

    std::vector<Fate> fates_;
    Fate now_;
    std::size_t starts_ = 0;
    ULONGLONG time_ = 5000;
    ULONGLONG began_ = 0;
    bool isEnded_ = false;
};

using Fate = FakeProcesses::Fate;

class StartedProgramTest : public testing::Test {
protected:
    void Start(std::vector<Fate> fates) {
        processes_ = std::make_unique<FakeProcesses>(std::move(fates));
        program_ = std::make_unique<StartedProgram>(Command{L"p.exe"}, *processes_, told_);
    }
    bool ShowsLife(DWORD milliseconds = StartedProgram::patience) {
        return program_->ShowsLife([this] { return processes_->GaveSign(); }, milliseconds);
    }
    bool Ends(DWORD milliseconds = StartedProgram::patience) {
        return program_->Ends([this] { return processes_->GaveSign(); }, milliseconds);
    }
    /// The log of the program's whole life, which it ends.
    std::string Log() {
        program_.reset();
        return processes_->log;
    }

    std::ostringstream told_;
    std::unique_ptr<FakeProcesses> processes_;
    std::unique_ptr<StartedProgram> program_;
};

TEST_F(StartedProgramTest, IsEndedWhenNobodyNeedsItAnyMore) {
    Start({{.sign = 300}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_FALSE(program_->HasEnded());
    EXPECT_EQ(program_->Id(), 1U);
    EXPECT_EQ(program_->ExitCode(), static_cast<DWORD>(STILL_ACTIVE));
    EXPECT_EQ(Log(), "start p.exe; end 1; close 1; ");
    EXPECT_EQ(told_.str(), "");
}

TEST_F(StartedProgramTest, IsEndedByAnExceptionToo) {
    FakeProcesses processes({Fate()});
    EXPECT_THROW(
        {
            const StartedProgram program({L"p.exe"}, processes, told_);
            throw std::runtime_error("in the middle of the test");
        },
        std::runtime_error);
    EXPECT_EQ(processes.log, "start p.exe; end 1; close 1; ");
}

TEST_F(StartedProgramTest, IsNotEndedTwice) {
    Start({{.end = 300}});
    EXPECT_TRUE(Ends());
    EXPECT_EQ(program_->ExitCode(), 7U);
    EXPECT_EQ(Log(), "start p.exe; close 1; ");
}

TEST_F(StartedProgramTest, StartsAgainWhenLost) {
    Start({{.vanishes = 0}, {.vanishes = 4000}, {.sign = 20'000}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_EQ(program_->Id(), 3U);
    EXPECT_EQ(Log(),
              "start p.exe; end 1; close 1; start p.exe; end 2; close 2; start p.exe; end 3; close 3; ");
    EXPECT_EQ(told_.str(),
              "p.exe gave no sign of life and is gone, though nothing told its end; started again "
              "(2 of 3).\n"
              "p.exe gave no sign of life and is gone, though nothing told its end; started again "
              "(3 of 3).\n");
}

TEST_F(StartedProgramTest, StartsAgainWhenLostOnTheWayToItsEnd) {
    Start({{.vanishes = 0}, {.sign = 100, .end = 9000}});
    EXPECT_TRUE(Ends());
    EXPECT_EQ(program_->Id(), 2U);
    EXPECT_EQ(program_->ExitCode(), 7U);
}

TEST_F(StartedProgramTest, IsGivenUpAfterThreeStarts) {
    Start({{.vanishes = 0}, {.vanishes = 0}, {.vanishes = 0}});
    EXPECT_FALSE(ShowsLife());
    EXPECT_EQ(Log(),
              "start p.exe; end 1; close 1; start p.exe; end 2; close 2; start p.exe; end 3; close 3; ");
    EXPECT_TRUE(told_.str().ends_with("p.exe is gone, and nothing told its end.\n")) << told_.str();
}

TEST_F(StartedProgramTest, IsNotStartedAgainOnceItHasDoneSomething) {
    Start({{.sign = 500, .vanishes = 1500}});
    EXPECT_FALSE(Ends());
    EXPECT_EQ(Log(), "start p.exe; end 1; close 1; ");
    EXPECT_EQ(told_.str(), "p.exe is gone, and nothing told its end.\n");
}

TEST_F(StartedProgramTest, MayTakeItsTimeAsLongAsItIsThere) {
    Start({{.sign = 59'000}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_GT(processes_->looks, 10);
    EXPECT_EQ(program_->Id(), 1U);
}

TEST_F(StartedProgramTest, IsNotLostWhenTheListMissesItOnce) {
    Start({{.sign = 10'000, .vanishes = 900, .comesBack = 1100}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_EQ(program_->Id(), 1U);
}

TEST_F(StartedProgramTest, HasNotShownLifeWhenItEndsWithoutASign) {
    Start({{.end = 5000}});
    EXPECT_FALSE(ShowsLife());
    EXPECT_EQ(Log(), "start p.exe; close 1; ");
    EXPECT_EQ(told_.str(), "");
}

TEST_F(StartedProgramTest, IsHeardToItsLastWord) {
    Start({{.sign = 5000, .end = 5000}});
    EXPECT_TRUE(ShowsLife());
}

TEST_F(StartedProgramTest, IsWaitedForOnlySoLong) {
    Start({Fate()});
    EXPECT_FALSE(ShowsLife(3000));
    EXPECT_FALSE(Ends(3000));
    EXPECT_EQ(Log(), "start p.exe; end 1; close 1; ");
}

TEST_F(StartedProgramTest, IsWaitedForAlthoughTheMachineStoodStill) {
    Start({{.sign = 100'000}});
    processes_->stop = 99'000;
    EXPECT_TRUE(ShowsLife(3000));
}

TEST_F(StartedProgramTest, EachSignIsWaitedFor) {
    Start({{.sign = 300}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_FALSE(program_->ShowsLife([] { return false; }, 100)) << "the first one does not do for another";
}

TEST_F(StartedProgramTest, StartsAgainWhenTheSystemLosesIt) {
    Start({{.error = ERROR_INTERNAL_ERROR}, {.error = ERROR_INTERNAL_ERROR}, {.sign = 0}});
    EXPECT_TRUE(ShowsLife());
    EXPECT_EQ(told_.str(), "p.exe did not get as far as its first instruction; started again (2 of 3).\n"
                           "p.exe did not get as far as its first instruction; started again (3 of 3).\n");
}

TEST_F(StartedProgramTest, TellsWhyItCannotBeStarted) {
    for (const std::vector<Fate>& fates : {std::vector<Fate>{{.error = ERROR_FILE_NOT_FOUND}},
                                           {{.error = ERROR_INTERNAL_ERROR}, {.error = ERROR_FILE_NOT_FOUND}},
                                           {{.error = ERROR_INTERNAL_ERROR},
                                            {.error = ERROR_INTERNAL_ERROR},
                                            {.error = ERROR_INTERNAL_ERROR}}}) {
        try {
            Start(fates);
            ADD_FAILURE() << "it was started";
        } catch (const std::system_error& error) {
            EXPECT_EQ(static_cast<DWORD>(error.code().value()), fates.back().error);
        }
    }
}

/// Not a test: a program that is ended by force.
TEST(SystemProcessesVictim, DISABLED_WaitsForItsEnd) {
    Sleep(INFINITE);
}

TEST(SystemProcesses, KnowAProgramWhileItRuns) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    ASSERT_NE(CreatePipe(&readEnd, &writeEnd, &inherited, 0), FALSE);
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const Command victim{L"\"" + std::wstring(self.data()) +
                             L"\" --gtest_also_run_disabled_tests --gtest_filter=SystemProcessesVictim.*",
                         writeEnd, writeEnd};
    Processes& processes = Processes::OfSystem();
    PROCESS_INFORMATION process{};
    ASSERT_EQ(processes.Start(victim, process), 0U);
    char letter = 0;
    DWORD read = 0;
    ASSERT_NE(ReadFile(readEnd, &letter, 1, &read, nullptr), FALSE) << "it does not print into the pipe";
    EXPECT_FALSE(processes.HasEnded(process));
    EXPECT_TRUE(processes.IsThere(process));
    EXPECT_EQ(processes.ExitCode(process), static_cast<DWORD>(STILL_ACTIVE));
    processes.End(process);
    EXPECT_TRUE(processes.HasEnded(process));
    EXPECT_FALSE(processes.IsThere(process));
    EXPECT_EQ(processes.ExitCode(process), StartedProgram::exitCodeOfForce);
    processes.Close(process);
    CloseHandle(writeEnd);
    CloseHandle(readEnd);
}

TEST(SystemProcesses, SayWhyTheyCannotStart) {
    PROCESS_INFORMATION process{};
    EXPECT_EQ(Processes::OfSystem().Start({L"\"C:\\gibt es nicht.exe\""}, process),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
}  // namespace kandora::test
