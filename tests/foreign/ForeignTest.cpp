#include "interfaces/CodePages.h"
#include "tests/foreign/PlayCourse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/foreign/ForeignSurroundings.h"

// The component in a process that others have changed: it does there what it does anywhere.
namespace kandora::foreign_tests {
namespace {

using component_tests::Ended;
using test::BytesOf;
using test::TemporaryFolder;

/// Plays the course in a process of its own.
std::string Told(const char* surroundings) {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const TemporaryFolder folder;
    const fs::path file = folder.Path() / L"told.txt";
    const Ended ended =
        component_tests::RunProgram(self.data(), {playCourse, TextFromUtf8(surroundings), file.wstring()});
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
    return fs::exists(file) ? BytesOf(file) : "nothing";
}

const std::string& ToldWithoutDisturbance() {
    static const std::string told = Told(AllSurroundings().front().name);
    return told;
}

std::string Part(const std::string& told, const std::string& heading) {
    const auto begin = told.find("-- " + heading);
    return begin == std::string::npos ? "" : told.substr(begin, told.find("\n--", begin) - begin);
}

/// What a request answered and showed.
std::string RequestIn(const std::string& part, const std::string& name) {
    const auto begin = part.find("\n" + name + " ");
    if (begin == std::string::npos) {
        return "";
    }
    auto end = part.find('\n', begin + 1);
    while (part.compare(end, 5, "\n    ") == 0) {
        end = part.find('\n', end + 1);
    }
    return part.substr(begin, end - begin);
}

TEST(Course, HasAnErrorInEachRequest) {
    const std::string& told = ToldWithoutDisturbance();
    const std::string well = Part(told, "as it should be");
    const std::string disturbed = Part(told, "the other programs fail from call 1 on");
    // Deeper inside, in requests that make so many calls.
    for (const char* const name : {"SaveDocument", "DocumentChanged"}) {
        const std::string box = RequestIn(Part(told, "the other programs fail from call 12 on"), name);
        EXPECT_NE(box.find(" <- Kandora." + std::string(name)), std::string::npos) << box;
    }
    EXPECT_NE(Part(told, "filed").find("Müller & Söhne"), std::string::npos) << Part(told, "filed");
    const std::string unwritten = Part(told, "the log cannot be written");
    for (const std::string& name : RequestNames()) {
        EXPECT_NE(RequestIn(well, name).find(name + " 0 "), std::string::npos) << name;
        const std::string box = RequestIn(unwritten, name);
        EXPECT_NE(box.find(name + " 0 "), std::string::npos) << box;
        EXPECT_NE(box.find("[Kandora] [70"), std::string::npos) << box;
        EXPECT_NE(box.find(" Kandora." + name), std::string::npos) << box;
        const bool asksNobody =
            name == "FibuVersion" || name == "SavePendingDocument" || name == "SetDocumentStatus";
        EXPECT_EQ(RequestIn(disturbed, name).find("Kandora." + name) == std::string::npos, asksNobody)
            << RequestIn(disturbed, name);
    }
    EXPECT_NE(Part(told, "filed").find("/Straße/İSTANBUL ısı/Größe"), std::string::npos) << told;
    EXPECT_NE(told.find("Die Ini-Datei konnte nicht gelesen werden."), std::string::npos) << told;
}

class Foreign : public testing::TestWithParam<Surroundings> {};

TEST_P(Foreign, ChangeNothing) {
    EXPECT_EQ(Told(GetParam().name), ToldWithoutDisturbance());
}

TEST(LittleStack, IsToldInsteadOfExhausted) {
    std::string expected = "nested 0\n";
    for (const char* const kilobytes : {"60", "32", "24", "16"}) {
        expected += "-- " + std::string(kilobytes) + "\n";
        for (const std::string& name : RequestNames()) {
            expected +=
                name +
                " 0\n    [Kandora] [28] Nicht genügend Stapelspeicher | ON LINE 0 | CALLSTACK: Kandora." +
                name + "\n";
        }
        expected += "CheckLogin 800a001c\n";
    }
    EXPECT_EQ(Told(littleStack), expected + "-- afterwards\n00\n");
}

INSTANTIATE_TEST_SUITE_P(Surroundings, Foreign, testing::ValuesIn(AllSurroundings().subspan(1)),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace kandora::foreign_tests
