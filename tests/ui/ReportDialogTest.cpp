#include <gtest/gtest.h>

#include <new>

#include "automation/Errors.h"
#include "tests/ui/Desk.h"
#include "ui/frmArchivIndex.h"

using namespace kandora;
using namespace kandora::ui_tests;

namespace {

constexpr const wchar_t* formCaption = L"Auswertung Indizieren";
constexpr const wchar_t* boxCaption = L"Indizieren";

struct Answer {
    bool confirmed = false;
    Text name;
    Text description;
    Text from;
    Text to;
};

Answer Ask(Office& office) {
    const auto dialog = office.userInterface.NewReportDialog();
    Answer answer;
    answer.confirmed = dialog->GetIndex();
    answer.name = dialog->txtKurzbezeichnung();
    answer.description = dialog->txtBeschreibung();
    answer.from = dialog->txtVon();
    answer.to = dialog->txtBis();
    return answer;
}

/// The dialog as the user sees it.
struct Shown : ShownForm {
    HWND name = nullptr;
    HWND from = nullptr;
    HWND to = nullptr;
    HWND description = nullptr;
    HWND archive = ButtonOf(form, L"Archivieren");

    explicit Shown(const HostThread& host, bool withKeyboard = true)
        : ShownForm(host, formCaption, withKeyboard) {
        const auto boxes = ControlsOf(form, L"Edit");
        if (boxes.size() == 4) {
            name = boxes[0];
            from = boxes[1];
            to = boxes[2];
            description = boxes[3];
        }
    }
    [[nodiscard]] bool Complete() const { return name != nullptr && archive != nullptr && cancel != nullptr; }
};

class ReportDialogTest : public testing::Test {
protected:
    /// Waits until everything that was posted to the dialog has been processed.
    void Settle() const {
        const int before = office.platform.Waits();
        ASSERT_TRUE(Eventually([&] { return office.platform.Waits() >= before + 2; }));
    }

    /// Clicks "Archivieren" without a description and acknowledges the message.
    void ArchiveWithoutDescription(const HostThread& host, const Shown& shown) const {
        Click(shown.archive);
        const HWND box = host.MessageBoxWindow(boxCaption);
        ASSERT_NE(box, nullptr);
        Click(ButtonOf(box, L"OK"));
        ASSERT_TRUE(Eventually([&] { return !IsWindow(box); }));
        Settle();
    }

    /// Closes the dialog by its own means, which ends the question.
    static void Close(const HostThread& host, const Shown& shown) {
        PostMessageW(shown.form, WM_CLOSE, 0, 0);
        ASSERT_TRUE(host.Ends());
    }

    /// Types the description alone, clicks "Archivieren" and sees it confirmed.
    void ArchiveWith(const wchar_t* description);

    Office office;
    Answer answer;
};

#define OPEN_DIALOG()                                                                                        \
    const HostThread host([this] { answer = Ask(office); });                                                 \
    const Shown shown(host);                                                                                 \
    ASSERT_TRUE(shown.Complete())

void ReportDialogTest::ArchiveWith(const wchar_t* description) {
    OPEN_DIALOG();
    Type(shown.description, description);
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(answer.confirmed);
}

TEST_F(ReportDialogTest, ProposesTheCurrentCalendarYear) {
    OPEN_DIALOG();
    EXPECT_EQ(TextIn(shown.from), L"1.1.2026");
    EXPECT_EQ(TextIn(shown.to), L"31.12.2026");
    EXPECT_EQ(TextIn(shown.name), L"");
    EXPECT_EQ(TextIn(shown.description), L"");
    Close(host, shown);
    EXPECT_FALSE(answer.confirmed);
    EXPECT_EQ(answer.from, L"1.1.2026");
    EXPECT_EQ(answer.to, L"31.12.2026");
    EXPECT_GT(office.platform.Waits(), 0);
    EXPECT_TRUE(office.platform.AllWaitsWere10Milliseconds());
}

TEST_F(ReportDialogTest, WritesTheYearInFourDigits) {
    office.platform.now.year = 987;
    OPEN_DIALOG();
    EXPECT_EQ(TextIn(shown.from), L"1.1.0987");
    EXPECT_EQ(TextIn(shown.to), L"31.12.0987");
}

TEST_F(ReportDialogTest, ArchivierenConfirmsWithTheTypedTexts) {
    OPEN_DIALOG();
    Type(shown.name, L"Saldoliste Zürich");
    Type(shown.description, L"Alle Konten, Grösse 12 €");
    SetWindowTextW(shown.from, L"gestern");
    SetWindowTextW(shown.to, L"");
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(answer.confirmed);
    EXPECT_EQ(answer.name, L"Saldoliste Zürich");
    EXPECT_EQ(answer.description, L"Alle Konten, Grösse 12 €");
    EXPECT_EQ(answer.from, L"gestern");
    EXPECT_EQ(answer.to, L"");
    EXPECT_FALSE(IsWindow(shown.form));
}

TEST_F(ReportDialogTest, OnlyTheDescriptionIsRequired) {
    ArchiveWith(L"x");
    EXPECT_EQ(answer.name, L"");
}

TEST_F(ReportDialogTest, BlanksAreADescription) {
    ArchiveWith(L"   ");
    EXPECT_EQ(answer.description, L"   ");
}

TEST_F(ReportDialogTest, AsksForTheMissingDescriptionAndStaysOpen) {
    OPEN_DIALOG();
    Click(shown.archive);
    const HWND box = host.MessageBoxWindow(boxCaption);
    ASSERT_NE(box, nullptr);
    const auto texts = ControlsOf(box, L"Static");
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(TextIn(texts[1]), L"Sie müssen midestens das Feld Beschreibung ausfüllen. ");
    EXPECT_EQ(SendMessageW(texts[0], STM_GETICON, 0, 0),
              reinterpret_cast<LRESULT>(LoadIconW(nullptr, MAKEINTRESOURCEW(32516))));
    EXPECT_EQ(ControlsOf(box, L"Button").size(), 1U);
    EXPECT_FALSE(IsWindowEnabled(shown.form));
    Press(ButtonOf(box, L"OK"), VK_RETURN);
    ASSERT_TRUE(Eventually([&] { return !IsWindow(box); }));
    Settle();
    EXPECT_TRUE(IsWindowVisible(shown.form));
    EXPECT_TRUE(IsWindowEnabled(shown.form));
    EXPECT_EQ(GetAncestor(host.Focus(), GA_ROOT), shown.form);
}

TEST_F(ReportDialogTest, ClosingAfterArchivierenWithoutDescriptionConfirms) {
    OPEN_DIALOG();
    ArchiveWithoutDescription(host, shown);
    Close(host, shown);
    EXPECT_TRUE(answer.confirmed);
    EXPECT_EQ(answer.description, L"");
}

TEST_F(ReportDialogTest, TheLastButtonDecides) {
    OPEN_DIALOG();
    ArchiveWithoutDescription(host, shown);
    Click(shown.cancel);
    Settle();
    EXPECT_TRUE(IsWindowVisible(shown.form));
    Close(host, shown);
    EXPECT_FALSE(answer.confirmed);
}

TEST_F(ReportDialogTest, ArchivierenAfterAbbrechenConfirms) {
    OPEN_DIALOG();
    Click(shown.cancel);
    Settle();
    ASSERT_TRUE(IsWindowVisible(shown.form));
    Type(shown.description, L"doch");
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(answer.confirmed);
}

TEST_F(ReportDialogTest, EscIsAbbrechenInEveryControlAndDoesNotClose) {
    OPEN_DIALOG();
    for (const HWND control :
         {shown.name, shown.from, shown.to, shown.description, shown.archive, shown.cancel}) {
        ArchiveWithoutDescription(host, shown);
        SCOPED_TRACE(testing::Message() << "control " << GetDlgCtrlID(control));
        PostMessageW(shown.form, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
        ASSERT_TRUE(Eventually([&] { return host.Focus() == control; }));
        Press(control, VK_ESCAPE);
        Settle();
        ASSERT_TRUE(IsWindowVisible(shown.form));
    }
    Close(host, shown);
    EXPECT_FALSE(answer.confirmed);
}

TEST_F(ReportDialogTest, EnterInASingleLineIsArchivieren) {
    for (HWND Shown::* box : {&Shown::name, &Shown::from, &Shown::to}) {
        OPEN_DIALOG();
        Type(shown.description, L"Text");
        PostMessageW(shown.form, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(shown.*box), TRUE);
        ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.*box; }));
        Press(shown.*box, VK_RETURN);
        ASSERT_TRUE(host.Ends());
        EXPECT_TRUE(answer.confirmed);
        answer.confirmed = false;
    }
}

TEST_F(ReportDialogTest, EnterOnAButtonIsThatButton) {
    OPEN_DIALOG();
    Type(shown.description, L"Text");
    PostMessageW(shown.form, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(shown.cancel), TRUE);
    ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.cancel; }));
    Press(shown.cancel, VK_RETURN);
    Settle();
    EXPECT_TRUE(IsWindowVisible(shown.form));
    PostMessageW(shown.form, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(shown.archive), TRUE);
    ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.archive; }));
    Press(shown.archive, VK_RETURN);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(answer.confirmed);
}

TEST_F(ReportDialogTest, EnterInTheDescriptionIsANewLine) {
    OPEN_DIALOG();
    PostMessageW(shown.form, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(shown.description), TRUE);
    ASSERT_TRUE(Eventually([&] { return host.Focus() == shown.description; }));
    Type(shown.description, L"eins");
    ASSERT_TRUE(Eventually([&] { return TextIn(shown.description) == L"eins"; }));
    Press(shown.description, VK_RETURN);
    ASSERT_TRUE(Eventually([&] { return TextIn(shown.description) == L"eins\r\n"; }));
    Type(shown.description, L"zwei");
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_EQ(answer.description, L"eins\r\nzwei");
}

TEST_F(ReportDialogTest, TabGoesRoundInTabOrder) {
    OPEN_DIALOG();
    const std::vector<HWND> round = {shown.name,    shown.from,   shown.to,  shown.description,
                                     shown.archive, shown.cancel, shown.name};
    ASSERT_EQ(host.Focus(), round.front());
    for (std::size_t i = 1; i < round.size(); ++i) {
        Press(round[i - 1], VK_TAB);
        ASSERT_TRUE(Eventually([&] { return host.Focus() == round[i]; })) << "after " << i << " tabs";
    }
    EXPECT_EQ(TextIn(shown.description), L"");
    EXPECT_EQ(TextIn(shown.name), L"");
}

TEST_F(ReportDialogTest, TypingEndsAtTheLimits) {
    OPEN_DIALOG();
    Type(shown.name, std::wstring(31, L'n'));
    Type(shown.description, std::wstring(201, L'd'));
    SetWindowTextW(shown.to, L"");
    Type(shown.to, std::wstring(40, L'1'));
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_EQ(answer.name, Text(30, L'n'));
    EXPECT_EQ(answer.description, Text(200, L'd'));
    EXPECT_EQ(answer.to, Text(40, L'1'));
}

TEST_F(ReportDialogTest, AltF4CancelsAndTheTextsRemainReadable) {
    OPEN_DIALOG();
    Type(shown.name, L"Name");
    Type(shown.description, L"Text");
    ASSERT_TRUE(Eventually([&] { return TextIn(shown.description) == L"Text"; }));
    PostMessageW(shown.form, WM_SYSKEYDOWN, VK_F4, 0x20000001);
    ASSERT_TRUE(host.Ends());
    EXPECT_FALSE(answer.confirmed);
    EXPECT_EQ(answer.name, L"Name");
    EXPECT_EQ(answer.description, L"Text");
    EXPECT_EQ(answer.from, L"1.1.2026");
}

TEST_F(ReportDialogTest, TheFramesCloseButtonCancels) {
    OPEN_DIALOG();
    EXPECT_NE(GetMenuState(GetSystemMenu(shown.form, FALSE), SC_CLOSE, MF_BYCOMMAND), static_cast<UINT>(-1));
    PostMessageW(shown.form, WM_SYSCOMMAND, SC_CLOSE, 0);
    ASSERT_TRUE(host.Ends());
    EXPECT_FALSE(answer.confirmed);
}

TEST_F(ReportDialogTest, EndsWhenSomebodyElseHidesIt) {
    OPEN_DIALOG();
    Type(shown.name, L"Name");
    ASSERT_TRUE(Eventually([&] { return TextIn(shown.name) == L"Name"; }));
    ShowWindow(shown.form, SW_HIDE);
    ASSERT_TRUE(host.Ends());
    EXPECT_FALSE(answer.confirmed);
    EXPECT_EQ(answer.name, L"Name");
}

TEST_F(ReportDialogTest, CanBeAskedAgain) {
    std::atomic<int> round = 0;
    std::atomic<bool> first = false;
    const HostThread host([&] {
        const auto dialog = office.userInterface.NewReportDialog();
        round = 1;
        first = dialog->GetIndex();
        round = 2;
        answer.confirmed = dialog->GetIndex();
        answer.description = dialog->txtBeschreibung();
    });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    Type(shown.description, L"Text");
    Click(shown.archive);
    ASSERT_TRUE(Eventually([&] { return round == 2; }));
    const Shown again(host);
    ASSERT_TRUE(again.Complete());
    Click(again.cancel);
    PostMessageW(again.form, WM_CLOSE, 0, 0);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(first);
    EXPECT_FALSE(answer.confirmed);
    EXPECT_EQ(answer.description, L"Text");
}

TEST_F(ReportDialogTest, AQuitMessageEndsItAndReachesTheThread) {
    std::atomic<WPARAM> code = 0;
    const HostThread host([&] {
        answer = Ask(office);
        MSG message{};
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        }
        code = message.wParam;
    });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    Type(shown.name, L"Name");
    ASSERT_TRUE(Eventually([&] { return TextIn(shown.name) == L"Name"; }));
    PostThreadMessageW(host.Id(), WM_QUIT, 7, 0);
    ASSERT_TRUE(host.Ends());
    EXPECT_FALSE(answer.confirmed);
    EXPECT_EQ(answer.name, L"Name");
    EXPECT_EQ(code, 7U);
}

TEST_F(ReportDialogTest, TakesTheForegroundFromWhateverHasIt) {
    std::atomic<HWND> stranger = nullptr;
    const HostThread otherProgram([&] {
        const HostWindow window(L"Fremd");
        stranger = window.Handle();
        ServeWindows();
    });
    ASSERT_TRUE(Eventually([&] { return stranger != nullptr && GetForegroundWindow() == stranger; }));
    OPEN_DIALOG();
    EXPECT_TRUE(Eventually([&] { return GetForegroundWindow() == shown.form; }));
    EXPECT_EQ(GetWindow(shown.form, GW_OWNER), nullptr);
    EXPECT_EQ(GetWindowLongW(shown.form, GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
    EXPECT_TRUE(IsWindowEnabled(stranger));
    PostThreadMessageW(otherProgram.Id(), WM_QUIT, 0, 0);
    EXPECT_TRUE(otherProgram.Ends());
}

/// The parameter is the way in which the dialog ends.
class ReportDialogModalityTest : public ReportDialogTest, public testing::WithParamInterface<int> {};

TEST_P(ReportDialogModalityTest, DisablesTheThreadsOtherWindowsAndGivesTheKeyboardBack) {
    std::atomic<HWND> front = nullptr;
    std::atomic<HWND> back = nullptr;
    std::atomic<HWND> locked = nullptr;
    bool frontEnabled = false;
    bool backEnabled = false;
    bool lockedEnabled = true;
    bool keyboardBack = false;
    bool activeBack = false;
    const HostThread host([&] {
        const HostWindow lockedWindow(L"Gesperrt");
        EnableWindow(lockedWindow.Handle(), FALSE);
        const HostWindow backWindow(L"Hinten");
        const HostWindow frontWindow(L"Vorne");
        locked = lockedWindow.Handle();
        back = backWindow.Handle();
        front = frontWindow.Handle();
        answer = Ask(office);
        frontEnabled = IsWindowEnabled(frontWindow.Handle()) != FALSE;
        backEnabled = IsWindowEnabled(backWindow.Handle()) != FALSE;
        lockedEnabled = IsWindowEnabled(lockedWindow.Handle()) != FALSE;
        activeBack = GetActiveWindow() == frontWindow.Handle();
        keyboardBack = GetFocus() == frontWindow.Field();
    });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    EXPECT_FALSE(IsWindowEnabled(front));
    EXPECT_FALSE(IsWindowEnabled(back));
    EXPECT_FALSE(IsWindowEnabled(locked));
    EXPECT_TRUE(IsWindowVisible(front));
    switch (GetParam()) {
    case 0:
        PostMessageW(shown.form, WM_CLOSE, 0, 0);
        break;
    case 1:
        Type(shown.description, L"Text");
        Click(shown.archive);
        break;
    case 2:
        ShowWindow(shown.form, SW_HIDE);
        break;
    default:
        PostThreadMessageW(host.Id(), WM_QUIT, 0, 0);
        break;
    }
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(frontEnabled);
    EXPECT_TRUE(backEnabled);
    EXPECT_FALSE(lockedEnabled);
    EXPECT_TRUE(activeBack);
    EXPECT_TRUE(keyboardBack);
}

INSTANTIATE_TEST_SUITE_P(EveryEnd, ReportDialogModalityTest, testing::Range(0, 4));

TEST_F(ReportDialogTest, HostWindowsKeepPainting) {
    std::atomic<HostWindow*> shownWindow = nullptr;
    const HostThread host([&] {
        HostWindow window(L"Fibu");
        shownWindow = &window;
        answer = Ask(office);
    });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    const int before = shownWindow.load()->Paintings();
    InvalidateRect(shownWindow.load()->Handle(), nullptr, TRUE);
    EXPECT_TRUE(Eventually([&] { return shownWindow.load()->Paintings() > before; }));
}

TEST_F(ReportDialogTest, ASecondRequestOpensASecondDialogAboveTheFirst) {
    std::atomic<HWND> hostWindow = nullptr;
    Answer inner;
    const HostThread host([&] {
        HostWindow window(L"Fibu");
        window.onRequest = [&] { inner = Ask(office); };
        hostWindow = window.Handle();
        answer = Ask(office);
    });
    const Shown first(host);
    ASSERT_TRUE(first.Complete());
    PostMessageW(hostWindow, WM_APP, 0, 0);
    ASSERT_TRUE(Eventually([&] { return !IsWindowEnabled(first.form); }));
    const Shown second(host);
    ASSERT_TRUE(second.Complete());
    ASSERT_NE(first.form, second.form);
    Type(second.description, L"zweiter");
    Click(second.archive);
    ASSERT_TRUE(Eventually([&] { return IsWindowEnabled(first.form) != FALSE; }));
    EXPECT_FALSE(IsWindowEnabled(hostWindow));
    Type(first.description, L"erster");
    Click(first.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_TRUE(inner.confirmed);
    EXPECT_EQ(inner.description, L"zweiter");
    EXPECT_TRUE(answer.confirmed);
    EXPECT_EQ(answer.description, L"erster");
}

/// Both are open at once and work in turns (see Pause).
TEST_F(ReportDialogTest, TwoThreadsShowTheirDialogsAtOnce) {
    Office otherOffice;
    otherOffice.platform.now.year = 2031;
    Answer other;
    const HostThread host([this] { answer = Ask(office); });
    const HostThread otherHost([&] { other = Ask(otherOffice); });
    // Only one of the two can have the keyboard.
    const Shown shown(host, false);
    const Shown otherShown(otherHost, false);
    ASSERT_TRUE(shown.Complete());
    ASSERT_TRUE(otherShown.Complete());
    EXPECT_TRUE(IsWindowEnabled(shown.form));
    EXPECT_TRUE(IsWindowEnabled(otherShown.form));
    Type(shown.description, L"hier");
    Type(otherShown.description, L"dort");
    Click(otherShown.archive);
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    ASSERT_TRUE(otherHost.Ends());
    EXPECT_EQ(answer.description, L"hier");
    EXPECT_EQ(answer.to, L"31.12.2026");
    EXPECT_EQ(other.description, L"dort");
    EXPECT_EQ(other.to, L"31.12.2031");
}

/// A message box that fails.
class FailingBoxes final : public MessageBoxes {
public:
    explicit FailingBoxes(std::function<void()> failure) : failure_(std::move(failure)) {}
    void ShowMessage(const Text&, int, const Text&) override { failure_(); }

private:
    std::function<void()> failure_;
};

struct Failure {
    std::int32_t number = 0;
    Text description;
    Text source;
    bool windowEnabled = false;
    bool keyboardBack = false;
};

Failure AskWithFailingBox(Office& office, const std::function<void()>& failure, std::atomic<bool>& ready) {
    FailingBoxes boxes(failure);
    const HostWindow window(L"Fibu");
    frmArchivIndex dialog(office.platform, boxes, [&]() -> CErrHandler& { return office.errors; });
    Failure caught;
    ready = true;
    try {
        dialog.GetIndex();
    } catch (const RuntimeError& error) {
        caught.number = error.Number();
        caught.description = error.Description();
        caught.source = error.Source();
    }
    caught.windowEnabled = IsWindowEnabled(window.Handle()) != FALSE;
    caught.keyboardBack = GetFocus() == window.Field();
    return caught;
}

TEST_F(ReportDialogTest, AnErrorOfAButtonEndsItUnderTheNameInitControls) {
    Failure caught;
    std::atomic<bool> ready = false;
    const HostThread host(
        [&] { caught = AskWithFailingBox(office, [] { throw RuntimeError(5010, L"Kaputt"); }, ready); });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_EQ(caught.number, 5010);
    EXPECT_EQ(caught.description, L"Kaputt");
    EXPECT_EQ(caught.source, L"frmArchivIndex.InitControls");
    EXPECT_EQ(office.errors.lOriginalNumber(), 5010);
    EXPECT_TRUE(caught.windowEnabled);
    EXPECT_TRUE(caught.keyboardBack);
    EXPECT_FALSE(IsWindow(shown.form));
}

TEST_F(ReportDialogTest, AnErrorBeforeItOpensIsRaisedWithoutAWindow) {
    office.platform.clockFails = true;
    const auto dialog = office.userInterface.NewReportDialog();
    try {
        dialog->GetIndex();
        FAIL() << "no error was raised";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), errors::internal);
        EXPECT_EQ(error.Source(), L"frmArchivIndex.InitControls");
    }
    EXPECT_EQ(office.platform.Waits(), 0);
}

TEST_F(ReportDialogTest, AnyExceptionBecomesARunTimeError) {
    Failure caught;
    std::atomic<bool> ready = false;
    const HostThread host([&] { caught = AskWithFailingBox(office, [] { throw std::bad_alloc(); }, ready); });
    const Shown shown(host);
    ASSERT_TRUE(shown.Complete());
    Click(shown.archive);
    ASSERT_TRUE(host.Ends());
    EXPECT_EQ(caught.number, errors::outOfMemory);
    EXPECT_EQ(caught.source, L"frmArchivIndex.InitControls");
}

}  // namespace
