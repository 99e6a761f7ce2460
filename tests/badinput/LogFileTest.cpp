// The log where names, folder and disk are not as they should be.

#include <gtest/gtest.h>

#include "support/MSimpleLog.h"
#include "tests/badinput/MachineInFolder.h"
#include "tests/badinput/Requests.h"
#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

/// A machine whose log is a real file.
class MachineWithFiles final : public MachineInFolder {
public:
    using MachineInFolder::MachineInFolder;

    void AppendToFile(const Text& path, const std::string& bytes) override {
        windows_.AppendToFile(path, bytes);
    }
};

class LogFile : public testing::Test {
protected:
    Conversation talk;
    FakePlatform machine{talk};
    TemporaryFolder folder;
    MachineWithFiles files{machine, folder};

    /// The name of the log that is written with these names in the environment.
    Text NameWith(const Text& user, const Text& computer) {
        machine.environment = {{L"USERNAME", user}, {L"COMPUTERNAME", computer}};
        MSimpleLog log(files);
        log.WriteLog(L"Zeile", {});
        EXPECT_EQ(BytesOf(log.FileName()), "15.11.2026 01.12.58 | Zeile[Kein Parameter]\r\n");
        EXPECT_TRUE(DeleteFileW(log.FileName().c_str()));
        return log.FileName().substr(folder.Path().wstring().size() + 1);
    }
};

TEST_F(LogFile, IsNamedByUserAndComputer) {
    EXPECT_EQ(NameWith(L"Müller Anna", L"PC-01"), L"20261115_011258_Kandora_Müller Anna_PC-01_.log");
    EXPECT_EQ(NameWith(L"anna@muster.ch", L""), L"20261115_011258_Kandora_anna@muster.ch__.log");
    EXPECT_EQ(NameWith(L"", L""), L"20261115_011258_Kandora___.log");
    EXPECT_EQ(NameWith(L"CON", L"NUL"), L"20261115_011258_Kandora_CON_NUL_.log");
}

TEST_F(LogFile, IsWrittenUnderNamesThatNoFileCanHave) {
    EXPECT_EQ(NameWith(L"MUSTER\\anna", L"a/b"), L"20261115_011258_Kandora_MUSTER_anna_a_b_.log");
    EXPECT_EQ(NameWith(L"<>:\"|?*\t\x001F", L"..\\..\\x"),
              L"20261115_011258_Kandora_" + Text(9, L'_') + L"_.._.._x_.log");
    EXPECT_EQ(NameWith(Text(300, L'u'), Text(300, L'c')),
              L"20261115_011258_Kandora_" + Text(64, L'u') + L"_" + Text(64, L'c') + L"_.log");
}

TEST_F(LogFile, ThatIsAFolderIsAnErrorEachTime) {
    MSimpleLog log(files);
    log.WriteLog(L"Zeile", {});
    ASSERT_TRUE(DeleteFileW(log.FileName().c_str()));
    ASSERT_TRUE(CreateDirectoryW(log.FileName().c_str(), nullptr));
    EXPECT_NE(NumberRaisedBy([&] { log.WriteLog(L"Zeile", {}); }), 0);
    ASSERT_TRUE(RemoveDirectoryW(log.FileName().c_str()));
    log.WriteLog(L"Zeile", {});
    EXPECT_EQ(BytesOf(log.FileName()), "15.11.2026 01.12.58 | Zeile[Kein Parameter]\r\n");
}

TEST_F(LogFile, ThatAnotherProgramHoldsIsAnErrorUntilItIsFree) {
    MSimpleLog log(files);
    log.WriteLog(L"Zeile", {});
    const HANDLE held =
        CreateFileW(log.FileName().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_EQ(NumberRaisedBy([&] { log.WriteLog(L"Zeile", {}); }), errors::permissionDenied);
    CloseHandle(held);
    log.WriteLog(L"Zeile", {});
}

/// Requests whose log cannot be written, with everything else in order.
class UnwritableLog : public StartedProviderTest {
protected:
    UnwritableLog() {
        SetIni("Debug", "Test", "True");
        State().settings.gbDebug = true;
    }
};

TEST_F(UnwritableLog, IsToldInOneBoxPerTracedRequest) {
    for (const std::int32_t number : {errors::diskFull, errors::permissionDenied, errors::pathFileAccess}) {
        machine.appendFailure = RuntimeError(number);
        for (const HostRequest& request : RequestsWithMetadata()) {
            request.send(Provider(), L"20261115011258", VoucherMetadata());
            Lines boxes = talk.Take();
            std::erase_if(boxes, [](const std::string& line) { return !line.starts_with("box "); });
            EXPECT_EQ(boxes, Lines{Box(number, Spelled(DescriptionOf(number)),
                                       std::string("Kandora.") + request.name)});
        }
    }
    machine.appendFailure.reset();
    Provider().SaveDocument(L"20261115011258", VoucherMetadata());
    EXPECT_EQ(Occurrences(talk.Take(), "archive.MoveToArchive(BSTR \"#800\") -> I4 1"), 1)
        << "once there is room";
}

TEST_F(UnwritableLog, DoesNotMatterWithoutTracing) {
    State().settings.gbDebug = false;
    machine.appendFailure = RuntimeError(errors::diskFull);
    Provider().SaveDocument(L"20261115011258", VoucherMetadata());
    EXPECT_EQ(Occurrences(talk.Take(), "archive.MoveToArchive(BSTR \"#800\") -> I4 1"), 1);
}

}  // namespace
}  // namespace kandora::test
