#include "support/MSimpleLog.h"

#include <gtest/gtest.h>

#include "tests/support/FakePlatform.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

class Log : public testing::Test {
protected:
    std::string& Written(const Text& file = L"C:\\Kandora\\20261115_011258_Kandora_user01_PC01_.log") {
        return machine.appended[file];
    }

    Conversation talk;
    FakePlatform machine{talk};
    MSimpleLog log{machine};
};

TEST_F(Log, MarksALineWithoutParameters) {
    log.WriteLog(L"DMSProvider_GetOpenDocInfo", {});
    EXPECT_EQ(Written(), "15.11.2026 01.12.58 | DMSProvider_GetOpenDocInfo[Kein Parameter]\r\n");
}

TEST_F(Log, PutsEachParameterInBrackets) {
    log.WriteLog(L"Text", {Variant(L"a"), Variant(L"b")});
    EXPECT_EQ(Written(), "15.11.2026 01.12.58 | Text  [a]  [b]\r\n");
}

TEST_F(Log, RendersParametersOfEveryKind) {
    log.WriteLog(L"Text", {Variant(), Variant::Null(), Variant(std::int32_t{17}), Variant(L""),
                           Variant::ArrayOf(std::vector<Text>{L"x", L"y"}),
                           Variant(static_cast<IDispatch*>(nullptr))});
    EXPECT_EQ(Written(),
              "15.11.2026 01.12.58 | Text  [(Empty)]  [(Null)]  [17]  []  [[x, y]]  [(Object=Nothing)]\r\n");
}

TEST_F(Log, FillsDateAndTimeWithZeros) {
    machine.now = {2027, 3, 4, 5, 6, 7};
    log.WriteLog(L"", {});
    EXPECT_EQ(Written(L"C:\\Kandora\\20270304_050607_Kandora_user01_PC01_.log"),
              "04.03.2027 05.06.07 | [Kein Parameter]\r\n");
}

TEST_F(Log, IsNamedByItsFirstLineAndKeepsItsName) {
    EXPECT_EQ(log.FileName(), L"");
    log.WriteLog(L"eins", {});
    machine.now = {2026, 11, 15, 1, 13, 0};
    log.WriteLog(L"zwei", {});
    EXPECT_EQ(log.FileName(), L"C:\\Kandora\\20261115_011258_Kandora_user01_PC01_.log");
    EXPECT_EQ(machine.appended.size(), 1U);
    EXPECT_EQ(Written(),
              "15.11.2026 01.12.58 | eins[Kein Parameter]\r\n15.11.2026 01.13.00 | zwei[Kein Parameter]\r\n");
}

TEST_F(Log, LiesBesideTheComponentWhateverThatIsCalled) {
    machine.componentFile = L"D:\\Programme\\Sesam.DMS\\Kandora.32.dll";
    machine.environment = {{L"USERNAME", L"Müller"}};
    log.WriteLog(L"", {});
    EXPECT_EQ(log.FileName(), L"D:\\Programme\\Sesam.DMS\\20261115_011258_Kandora.32_Müller__.log");
}

TEST_F(Log, IsOpenedForEachLine) {
    log.WriteLog(L"eins", {});
    log.WriteLog(L"zwei", {});
    ExpectConversation(talk, {R"(log "15.11.2026 01.12.58 | eins[Kein Parameter]\r\n")",
                              R"(log "15.11.2026 01.12.58 | zwei[Kein Parameter]\r\n")"});
}

TEST_F(Log, IsWrittenInTheCodePage) {
    log.WriteLog(L"verfügbar \u4E2D", {});
    EXPECT_EQ(Written(), AnsiFromText(L"15.11.2026 01.12.58 | verfügbar ?[Kein Parameter]\r\n"));
}

TEST_F(Log, RaisesThatItCannotBeWrittenAndTriesAgainNextTime) {
    machine.appendFailure = RuntimeError(70);
    EXPECT_EQ(NumberRaisedBy([&] { log.WriteLog(L"eins", {}); }), 70);
    machine.appendFailure.reset();
    machine.now.second = 59;
    log.WriteLog(L"zwei", {});
    EXPECT_EQ(Written(), "15.11.2026 01.12.59 | zwei[Kein Parameter]\r\n")
        << "under the name of the first line";
}

}  // namespace
}  // namespace kandora::test
