#include <gtest/gtest.h>

#include "automation/Errors.h"
#include "tests/ui/Desk.h"

using namespace kandora;
using namespace kandora::ui_tests;

namespace {

class MessageBoxTest : public testing::Test {
protected:
    static std::wstring PromptOf(HWND box) {
        const auto texts = ControlsOf(box, L"Static");
        return texts.empty() ? std::wstring() : TextIn(texts.back());
    }

    static bool ShowsIcon(HWND box, LPCWSTR icon) {
        const auto texts = ControlsOf(box, L"Static");
        return !texts.empty() && SendMessageW(texts.front(), STM_GETICON, 0, 0) ==
                                     reinterpret_cast<LRESULT>(LoadIconW(nullptr, icon));
    }

    static bool IsOnTop(HWND box) { return (GetWindowLongW(box, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0; }

    Office office;
};

/// The platform's own identifiers of the icons.
const LPCWSTR criticalIcon = MAKEINTRESOURCEW(32513);
const LPCWSTR exclamationIcon = MAKEINTRESOURCEW(32515);
const LPCWSTR informationIcon = MAKEINTRESOURCEW(32516);

TEST_F(MessageBoxTest, ShowsPromptIconAndCaption) {
    const HostThread host([this] {
        office.userInterface.ShowMessage(L"Zwei\nZeilen für Sie", boxstyle::exclamation, L"4096");
    });
    const HWND box = host.MessageBoxWindow(L"4096");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(PromptOf(box), L"Zwei\nZeilen für Sie");
    EXPECT_TRUE(ShowsIcon(box, exclamationIcon));
    EXPECT_FALSE(IsOnTop(box));
    EXPECT_EQ(GetWindow(box, GW_OWNER), nullptr);
    EXPECT_EQ(ControlsOf(box, L"Button").size(), 1U);
    Click(ButtonOf(box, L"OK"));
    EXPECT_TRUE(host.Ends());
}

TEST_F(MessageBoxTest, ABoxWithoutCaptionHasTheApplicationsTitle) {
    const HostThread host([this] {
        office.userInterface.ShowMessage(L"Das Dokument konnte nicht im Archiv gefunden werden",
                                         boxstyle::information, Text());
    });
    const HWND box = host.MessageBoxWindow(L"Kandora");
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(ShowsIcon(box, informationIcon));
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_TRUE(host.Ends());
}

TEST_F(MessageBoxTest, TheErrorBoxIsCriticalAndOnTop) {
    const HostThread host([this] {
        office.errors.Log(RuntimeError(5000, L"Kein Archivname"), L"MGlobals", L"IniLesen");
        office.errors.ShowError();
    });
    const HWND box = host.MessageBoxWindow(L"Kandora");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(PromptOf(box), L"[5000] Kein Archivname | ON LINE 0 | CALLSTACK: MGlobals.IniLesen");
    EXPECT_TRUE(ShowsIcon(box, criticalIcon));
    EXPECT_TRUE(IsOnTop(box));
    Press(ButtonOf(box, L"OK"), VK_RETURN);
    EXPECT_TRUE(host.Ends());
}

TEST_F(MessageBoxTest, NulCharactersDoNotCutTheText) {
    const HostThread host([this] {
        office.userInterface.ShowMessage(Text(L"vor\0nach", 8), boxstyle::okOnly, Text(L"T\0itel", 6));
    });
    const HWND box = host.MessageBoxWindow(L"T\\0itel");
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(PromptOf(box), L"vor\\0nach");
}

class MessageBoxModalityTest : public MessageBoxTest, public testing::WithParamInterface<int> {};

TEST_P(MessageBoxModalityTest, DisablesTheThreadsWindowsAndGivesTheKeyboardBack) {
    Behind behind;
    const HostThread host(
        [&] { behind.Show([&] { office.userInterface.ShowMessage(L"Text", GetParam(), L"Titel"); }); });
    const HWND box = host.MessageBoxWindow(L"Titel");
    ASSERT_NE(box, nullptr);
    EXPECT_FALSE(IsWindowEnabled(behind.window));
    EXPECT_TRUE(Eventually([&] { return GetForegroundWindow() == box; }));
    Press(ButtonOf(box, L"OK"), VK_RETURN);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(behind.isEnabledAgain);
    EXPECT_TRUE(behind.hasKeyboardAgain);
}

INSTANTIATE_TEST_SUITE_P(Styles, MessageBoxModalityTest,
                         testing::Values(boxstyle::okOnly, boxstyle::information,
                                         boxstyle::critical | boxstyle::systemModal));

}  // namespace
