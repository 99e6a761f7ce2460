// The real platform, not a fake.

#include "automation/WindowsPlatform.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/FakePlatform.h"
#include "tests/support/ModuleHook.h"
#include "tests/support/Raised.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::test {
namespace {

/// Diverts what this program, and with it the tested code, imports from the system.
class Diverted : public test::ModuleHook {
public:
    template <class Function>
    Diverted(const char* name, Function* replacement)
        : ModuleHook(GetModuleHandleW(nullptr), "kernel32.dll", name, reinterpret_cast<void*>(replacement)) {}
};

template <DWORD error>
BOOL WINAPI WriteNothing(HANDLE, const void*, DWORD, DWORD* written, OVERLAPPED*) {
    *written = 0;
    SetLastError(error);
    return FALSE;
}

BOOL WINAPI WriteAllButOne(HANDLE, const void*, DWORD size, DWORD* written, OVERLAPPED*) {
    *written = size - 1;
    return TRUE;
}

DWORD WINAPI TellNoFileName(HMODULE, wchar_t*, DWORD) {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
}

const Text& DeepFile() {
    static const Text file = L"C:\\" + Text(700, L'x') + L"\\Kandora.dll";
    return file;
}

/// Behaves as the system's function: cuts off what does not fit, and then returns the buffer's size.
DWORD WINAPI TellDeepFileName(HMODULE, wchar_t* buffer, DWORD size) {
    const Text shown = DeepFile().substr(0, size - 1);
    *std::copy(shown.begin(), shown.end(), buffer) = L'\0';
    return DeepFile().size() < size ? static_cast<DWORD>(shown.size()) : size;
}

class Machine : public testing::Test {
protected:
    TemporaryFolder folder;
    WindowsPlatform machine;
};

TEST_F(Machine, TellsFilesFromFolders) {
    const Text file = folder.Write(L"Zürich.pdf", "x");
    EXPECT_TRUE(machine.FileExists(file));
    EXPECT_FALSE(machine.FolderExists(file));
    EXPECT_FALSE(machine.FileExists(folder.Path()));
    EXPECT_TRUE(machine.FolderExists(folder.Path()));
    EXPECT_FALSE(machine.FileExists(folder / L"Fehlt.pdf"));
    EXPECT_FALSE(machine.FolderExists(folder / L"Fehlt"));
    EXPECT_FALSE(machine.FileExists(L""));
    EXPECT_FALSE(machine.FolderExists(L""));
}

TEST_F(Machine, AppendsToAFileAndCreatesItFirst) {
    const Text file = folder / L"Protokoll.log";
    machine.AppendToFile(file, "eins\r\n");
    machine.AppendToFile(file, "");
    machine.AppendToFile(file, "zwei\r\n");
    EXPECT_EQ(BytesOf(file), "eins\r\nzwei\r\n");
}

TEST_F(Machine, LetsOthersReadAFileThatItAppendsTo) {
    const Text file = folder.Write(L"Protokoll.log", "alt\r\n");
    const HANDLE reader = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_NO_THROW(machine.AppendToFile(file, "neu\r\n"));
    CloseHandle(reader);
    EXPECT_EQ(BytesOf(file), "alt\r\nneu\r\n");
}

TEST_F(Machine, TellsWhyAFileCannotBeAppendedTo) {
    EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(folder / L"Fehlt\\x.log", "x"); }), 76);
    const Text file = folder.Write(L"Gesperrt.log", "");
    const HANDLE owner =
        CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(owner, INVALID_HANDLE_VALUE);
    EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(file, "x"); }), 70);
    CloseHandle(owner);
    EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(folder.Path(), "x"); }), 70) << "a folder is no file";
}

TEST_F(Machine, TellsThatTheDiskIsFull) {
    const Text file = folder / L"Protokoll.log";
    {
        const Diverted full("WriteFile", &WriteNothing<ERROR_DISK_FULL>);
        EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(file, "x"); }), 61);
    }
    {
        const Diverted nearlyFull("WriteFile", &WriteAllButOne);
        EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(file, "xyz"); }), 61);
    }
    {
        const Diverted broken("WriteFile", &WriteNothing<ERROR_CRC>);
        EXPECT_EQ(NumberRaisedBy([&] { machine.AppendToFile(file, "x"); }), 75);
    }
    EXPECT_TRUE(DeleteFileW(file.c_str())) << "the file is closed after a failure too";
}

TEST_F(Machine, ReadsTheEnvironment) {
    for (const std::size_t length : {0U, 1U, 62U, 63U, 64U, 65U, 1000U}) {
        const Text value(length, L'ä');
        SetEnvironmentVariableW(L"KANDORA_TEST", length == 0 ? nullptr : value.c_str());
        EXPECT_EQ(machine.Environment(L"KANDORA_TEST"), value) << length;
    }
    SetEnvironmentVariableW(L"KANDORA_TEST", nullptr);
}

TEST_F(Machine, KnowsTheLocalTime) {
    SYSTEMTIME before{};
    GetLocalTime(&before);
    const LocalTime now = machine.Now();
    SYSTEMTIME after{};
    GetLocalTime(&after);
    EXPECT_GE(now.year, before.wYear);
    EXPECT_LE(now.year, after.wYear);
    EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
    EXPECT_TRUE(now.hour >= 0 && now.hour < 24 && now.minute >= 0 && now.minute < 60 && now.second >= 0 &&
                now.second < 60);
}

DWORD slept = 0;

void WINAPI NoteSleep(DWORD milliseconds) {
    slept = milliseconds;
}

TEST_F(Machine, SleepsAsLongAsItIsTold) {
    const Diverted sleep("Sleep", &NoteSleep);
    machine.Sleep(10);
    EXPECT_EQ(slept, 10U);
}

TEST_F(Machine, KnowsItsOwnFile) {
    const Text file = machine.ComponentFile();
    EXPECT_TRUE(machine.FileExists(file));
    EXPECT_EQ(ComponentName(machine), L"unit_tests");
    EXPECT_TRUE(machine.FolderExists(ComponentFolder(machine)));
    EXPECT_EQ(ComponentFolder(machine) + L"\\unit_tests.exe", file);
}

TEST_F(Machine, KnowsAFileDeepDown) {
    const Diverted deep("GetModuleFileNameW", &TellDeepFileName);
    EXPECT_EQ(machine.ComponentFile(), DeepFile());
}

TEST_F(Machine, TellsWhyItsOwnFileIsUnknown) {
    const Diverted silent("GetModuleFileNameW", &TellNoFileName);
    EXPECT_EQ(NumberRaisedBy([&] { machine.ComponentFile(); }), 70);
}

TEST_F(Machine, CreatesObjects) {
    EXPECT_FALSE(machine.CreateObject(L"Scripting.Dictionary").IsNothing());
    EXPECT_EQ(NumberRaisedBy([&] { machine.CreateObject(L"Gibt.Es.Nicht"); }), 429);
}

TEST(ComponentFiles, AreSplitIntoFolderAndName) {
    struct Case {
        const wchar_t* file;
        const wchar_t* folder;
        const wchar_t* name;
    };
    Conversation talk;
    FakePlatform machine(talk);
    for (const Case& row : std::vector<Case>{{L"C:\\Kandora\\Kandora.dll", L"C:\\Kandora", L"Kandora"},
                                             {L"C:\\a.b\\Kandora", L"C:\\a.b", L"Kandora"},
                                             {L"C:\\x\\Kandora.32.dll", L"C:\\x", L"Kandora.32"},
                                             {L"C:/x/Kandora.dll", L"C:/x", L"Kandora"},
                                             {L"C:\\Kandora.dll", L"C:", L"Kandora"},
                                             {L"Kandora.dll", L"", L"Kandora"}}) {
        machine.componentFile = row.file;
        EXPECT_EQ(ComponentFolder(machine), row.folder);
        EXPECT_EQ(ComponentName(machine), row.name);
    }
}

}  // namespace
}  // namespace kandora::test
