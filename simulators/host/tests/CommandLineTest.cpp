#include <gmock/gmock.h>

#include "interfaces/CodePages.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/host/CommandLine.h"
#include "simulators/host/tests/HostFixture.h"

namespace kandora::simulators {

namespace {

using Task = CommandLine::Task;

CommandLine Parse(const std::vector<std::wstring>& arguments) {
    std::wstring help;
    return ParseCommandLine(arguments, help).value();
}

std::wstring Complaint(const std::vector<std::wstring>& arguments) {
    return FailureOf([&] { Parse(arguments); });
}

TEST(CommandLineTest, KeepsNamesThatTheAnsiCodePageCannotSpell) {
    const CommandLine line =
        Parse({L"--client", L"C:\\Müller Жук\\a.json", L"--requests", L"b.txt", L"--report", L"r.json"});
    EXPECT_EQ(line.task, Task::Requests);
    EXPECT_EQ(line.client.wstring(), L"C:\\Müller Жук\\a.json");
    EXPECT_EQ(line.requests.wstring(), L"b.txt");
    EXPECT_EQ(line.report.wstring(), L"r.json");
    EXPECT_FALSE(line.answerBoxes);
}

TEST(CommandLineTest, AYearHasItsTable) {
    const CommandLine line = Parse({L"--year", L"--table", L"--store", L"D:\\Archiv", L"--client", L"a.json",
                                    L"--client-copy", L"b.json", L"--answer-boxes", L"--component", L"K.dll",
                                    L"--table-rows", L"0", L"--width", L"132"});
    EXPECT_EQ(line.task, Task::Year);
    EXPECT_TRUE(line.table);
    EXPECT_TRUE(line.answerBoxes);
    EXPECT_EQ(line.store.wstring(), L"D:\\Archiv");
    EXPECT_EQ(line.clientCopy.wstring(), L"b.json");
    EXPECT_EQ(line.component.wstring(), L"K.dll");
    EXPECT_EQ(line.tableRows, 0U);
    EXPECT_EQ(line.width, 132U);
}

TEST(CommandLineTest, WithoutATaskItIsTheMenu) {
    EXPECT_EQ(Parse({L"--client", L"a.json"}).task, Task::Menu);
}

TEST(CommandLineTest, StartedByComItServes) {
    const CommandLine line = Parse({L"--client", L"a.json", L"-Embedding"});
    EXPECT_EQ(line.task, Task::Serve);
    EXPECT_TRUE(line.embedding);
    EXPECT_EQ(line.client.wstring(), L"a.json");
    EXPECT_EQ(Parse({L"/embedding"}).task, Task::Serve);
}

TEST(CommandLineTest, RegistrationNeedsNoClient) {
    EXPECT_EQ(Parse({L"--register"}).task, Task::Register);
    EXPECT_EQ(Parse({L"--register"}).linger, 2U);
    EXPECT_EQ(Parse({L"--register", L"--linger", L"600"}).linger, 600U);
    EXPECT_THAT(Complaint({L"--register", L"--linger", L"lange"}),
                ::testing::HasSubstr(L"Der Wert von --linger ist eine Zahl."));
    EXPECT_EQ(Parse({L"--unregister"}).task, Task::Unregister);
}

TEST(CommandLineTest, HelpIsNoTask) {
    std::wstring help;
    EXPECT_FALSE(ParseCommandLine({L"--help"}, help));
    EXPECT_THAT(help, ::testing::HasSubstr(L"--answer-boxes"));
    EXPECT_THAT(help, ::testing::HasSubstr(L"Bestätigt"));
}

TEST(CommandLineTest, WhatMakesNoSenseIsRefused) {
    EXPECT_THAT(Complaint({L"--foo"}), ::testing::HasSubstr(L"Unbekannte Angabe «--foo»"));
    EXPECT_THAT(Complaint({L"--client"}), ::testing::HasSubstr(L"fehlt ihr Wert"));
    EXPECT_THAT(Complaint({L"--client", L"a", L"--table-rows", L"x"}), ::testing::HasSubstr(L"--table-rows"));
    EXPECT_THAT(Complaint({L"--year"}), ::testing::HasSubstr(L"fehlt die Mandantendatei"));
    EXPECT_THAT(Complaint({L"--client-copy", L"a", L"--register"}),
                ::testing::HasSubstr(L"braucht --client"));
    EXPECT_THAT(Complaint({L"--client", L"a", L"--year", L"--menu"}),
                ::testing::HasSubstr(L"Nur eine dieser Angaben"));
    EXPECT_THAT(Complaint({L"--client", L"a", L"--requests", L"b", L"--table"}),
                ::testing::HasSubstr(L"--table braucht bei --requests den Ablageordner"));
    EXPECT_THAT(Complaint({L"--client", L"a", L"--year", L"--picture-hook", L"b"}),
                ::testing::HasSubstr(L"nur zusammen mit --answer-boxes"));
}

TEST(CommandLineTest, TheOutputHasAWidth) {
    const auto widthOf = [](const wchar_t* given) {
        return Parse({L"--client", L"a", L"--width", given}).width;
    };
    EXPECT_EQ(Parse({L"--client", L"a"}).width, 100U);
    EXPECT_EQ(widthOf(L"80"), 80U);
    EXPECT_EQ(widthOf(L"1000"), 1000U);
    for (const wchar_t* wrong : {L"79", L"1001", L"0", L"breit", L"100.5", L"100 Zeichen", L""}) {
        EXPECT_EQ(FailureOf([&] { widthOf(wrong); }),
                  L"Der Wert von --width ist eine Zahl von 80 bis 1000. Hilfe gibt HostSimulator.exe --help.")
            << Utf8FromText(wrong);
    }
    std::wstring help;
    EXPECT_FALSE(ParseCommandLine({L"--help"}, help));
    EXPECT_THAT(help, ::testing::HasSubstr(L"--width ZAHL"));
    EXPECT_THAT(help, ::testing::HasSubstr(L"80 bis 1000"));
}

TEST(CommandLineTest, RequestsMayFollowAYear) {
    const CommandLine line =
        Parse({L"--client", L"a.json", L"--year", L"--requests", L"b.txt", L"--printer-file", L"D:\\Ä.pdf",
               L"--answer-boxes", L"--picture-hook", L"D:\\Bild"});
    EXPECT_EQ(line.task, Task::Year);
    EXPECT_EQ(line.requests.wstring(), L"b.txt");
    EXPECT_EQ(line.printerFile.wstring(), L"D:\\Ä.pdf");
    EXPECT_EQ(line.pictureHook.wstring(), L"D:\\Bild");
    EXPECT_TRUE(Parse({L"--client", L"a", L"--requests", L"b", L"--table", L"--store", L"c"}).table);
}

}  // namespace

}  // namespace kandora::simulators
