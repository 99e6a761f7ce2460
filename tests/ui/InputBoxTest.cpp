#include <gtest/gtest.h>

#include "tests/ui/Desk.h"

using namespace kandora;
using namespace kandora::ui_tests;

namespace {

constexpr const wchar_t* title = L"Archivpfad erstellen";
constexpr const wchar_t* prompt =
    L"Bitte passen Sie allenfalls den Archivpfad des Mandanten an. Trennzeichen für Ordner ist '/'";
constexpr const wchar_t* proposal = L"/Sesam/2026/Muster & Söhne";

/// The form's only control of the class; null when there are others.
HWND OnlyControlOf(HWND form, const wchar_t* windowClass) {
    const auto controls = ControlsOf(form, windowClass);
    return controls.size() == 1 ? controls[0] : nullptr;
}

struct Shown : ShownForm {
    HWND box = OnlyControlOf(form, L"Edit");
    HWND question = OnlyControlOf(form, L"Static");
    HWND ok = ButtonOf(form, L"OK");

    explicit Shown(const HostThread& host, const wchar_t* caption = title) : ShownForm(host, caption) {}
    [[nodiscard]] bool Complete() const {
        return box != nullptr && ok != nullptr && cancel != nullptr && question != nullptr;
    }
};

class InputBoxTest : public testing::Test {
protected:
    void Ask(const Text& proposed = proposal) {
        answer = office.userInterface.InputBox(prompt, title, proposed, -2500, -1500);
    }

    /// Types the text over the proposal and clicks "OK".
    void ConfirmWith(const std::wstring& text);

    void ExpectEmptyText(const HostThread& host) const {
        ASSERT_TRUE(host.Ends());
        EXPECT_EQ(answer, L"");
    }

    Office office;
    Text answer = L"(none)";
};

#define OPEN_INPUT_BOX()                                                                                     \
    const HostThread host([this] { Ask(); });                                                                \
    const Shown shown(host);                                                                                 \
    ASSERT_TRUE(shown.Complete())

void InputBoxTest::ConfirmWith(const std::wstring& text) {
    OPEN_INPUT_BOX();
    Type(shown.box, text);
    Click(shown.ok);
    ASSERT_TRUE(host.Ends());
}

TEST_F(InputBoxTest, ShowsPromptAndSelectedProposal) {
    OPEN_INPUT_BOX();
    EXPECT_EQ(TextIn(shown.question), prompt);
    EXPECT_EQ(TextIn(shown.box), proposal);
    EXPECT_EQ(host.Focus(), shown.box);
    DWORD from = 0;
    DWORD to = 0;
    SendMessageW(shown.box, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
    EXPECT_EQ(from, 0U);
    EXPECT_EQ(to, TextIn(shown.box).size());
    EXPECT_EQ(GetWindow(shown.form, GW_OWNER), nullptr);
}

TEST_F(InputBoxTest, EnterTakesTheProposal) {
    OPEN_INPUT_BOX();
    Press(shown.box, VK_RETURN);
    ASSERT_TRUE(host.Ends());
    EXPECT_EQ(answer, proposal);
    EXPECT_TRUE(office.platform.AllWaitsWere10Milliseconds());
}

TEST_F(InputBoxTest, TypingReplacesTheProposal) {
    ConfirmWith(L"/Anders/Zürich");
    EXPECT_EQ(answer, L"/Anders/Zürich");
}

TEST_F(InputBoxTest, TakesLongTexts) {
    const std::wstring text(1000, L'x');
    ConfirmWith(text);
    EXPECT_EQ(answer, text);
}

TEST_F(InputBoxTest, AnEmptiedBoxAnswersTheEmptyText) {
    OPEN_INPUT_BOX();
    SetWindowTextW(shown.box, L"");
    Click(shown.ok);
    ExpectEmptyText(host);
}

TEST_F(InputBoxTest, EscAnswersTheEmptyText) {
    OPEN_INPUT_BOX();
    Press(shown.box, VK_ESCAPE);
    ExpectEmptyText(host);
}

TEST_F(InputBoxTest, AbbrechenAnswersTheEmptyText) {
    OPEN_INPUT_BOX();
    Click(shown.cancel);
    ExpectEmptyText(host);
}

TEST_F(InputBoxTest, EnterOnAbbrechenAnswersTheEmptyText) {
    OPEN_INPUT_BOX();
    Press(shown.box, VK_TAB);
    ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.ok; }));
    Press(shown.ok, VK_TAB);
    ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.cancel; }));
    Press(shown.cancel, VK_RETURN);
    ExpectEmptyText(host);
}

TEST_F(InputBoxTest, ClosingAnswersTheEmptyText) {
    OPEN_INPUT_BOX();
    PostMessageW(shown.form, WM_SYSCOMMAND, SC_CLOSE, 0);
    ExpectEmptyText(host);
}

TEST_F(InputBoxTest, StandsWhereItIsTold) {
    OPEN_INPUT_BOX();
    const HDC screen = GetDC(nullptr);
    const int dotsPerInchX = GetDeviceCaps(screen, LOGPIXELSX);
    const int dotsPerInchY = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    RECT frame{};
    ASSERT_TRUE(GetWindowRect(shown.form, &frame));
    EXPECT_EQ(frame.left, GetSystemMetrics(SM_CXSCREEN) / 2 - MulDiv(2500, dotsPerInchX, 1440));
    EXPECT_EQ(frame.top, GetSystemMetrics(SM_CYSCREEN) / 2 - MulDiv(1500, dotsPerInchY, 1440));
}

TEST_F(InputBoxTest, StaysOnTheScreen) {
    const HostThread host(
        [this] { answer = office.userInterface.InputBox(prompt, title, proposal, 900000, -900000); });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    RECT frame{};
    ASSERT_TRUE(GetWindowRect(shown.form, &frame));
    EXPECT_LE(frame.right, GetSystemMetrics(SM_CXSCREEN));
    EXPECT_GE(frame.top, 0);
}

TEST_F(InputBoxTest, TextsWithoutLengthAndWithNulCharactersAreShown) {
    const HostThread host([this] {
        answer = office.userInterface.InputBox(Text(L"A\0B", 3), Text(), Text(L"C\0D", 3), -2500, -1500);
    });
    const Shown shown(host, L"Kandora");
    ASSERT_TRUE(shown.Complete());
    EXPECT_EQ(TextIn(shown.question), L"A\\0B");
    EXPECT_EQ(TextIn(shown.box), L"C\\0D");
}

TEST_F(InputBoxTest, DisablesTheThreadsOtherWindowsAndGivesTheKeyboardBack) {
    Behind behind;
    const HostThread host([&] { behind.Show([&] { Ask(); }); });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    EXPECT_FALSE(IsWindowEnabled(behind.window));
    EXPECT_TRUE(Eventually([&] { return GetForegroundWindow() == shown.form; }));
    Press(shown.box, VK_RETURN);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(behind.isEnabledAgain);
    EXPECT_TRUE(behind.hasKeyboardAgain);
}

}  // namespace
