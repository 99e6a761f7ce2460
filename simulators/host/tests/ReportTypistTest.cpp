#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <thread>

#include "simulators/host/BoxWatcher.h"
#include "simulators/host/ReportTypist.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

using ::testing::ElementsAre;

constexpr int firstTextBox = 101;
constexpr int shortNameLimit = 30;

/// A dialog with the report dialog's caption and text boxes, run by this thread as the component runs its
/// own.
class Dialog {
public:
    explicit Dialog(int textBoxes = 4) {
        struct alignas(DWORD) {
            DLGTEMPLATE header{};
            std::array<WORD, 3> noMenuClassTitle{};
        } empty;
        empty.header.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
        empty.header.cx = 200;
        empty.header.cy = 120;
        window_ = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &empty.header, nullptr, Handle,
                                             reinterpret_cast<LPARAM>(this));
        SetWindowTextW(window_, L"Auswertung Indizieren");
        const std::array<const wchar_t*, 4> proposals{L"", L"1.1.2026", L"31.12.2026", L""};
        for (int box = 0; box < textBoxes; ++box) {
            const DWORD style = box == 3 ? ES_MULTILINE | ES_WANTRETURN | ES_AUTOVSCROLL : ES_AUTOHSCROLL;
            AddChild(L"EDIT", proposals.at(static_cast<std::size_t>(box)), style, firstTextBox + box);
        }
        SendDlgItemMessageW(window_, firstTextBox, EM_SETLIMITTEXT, shortNameLimit, 0);
        AddChild(L"BUTTON", L"Abbrechen", BS_PUSHBUTTON, IDCANCEL);
        AddChild(L"BUTTON", L"Archivieren", BS_DEFPUSHBUTTON, IDOK);
    }
    ~Dialog() { DestroyWindow(window_); }
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    /// Shows the dialog until a button is pressed or it is closed; the answer is the button's number, else 0.
    int Run() {
        ShowWindow(window_, SW_SHOW);
        SetForegroundWindow(window_);
        SendMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(window_, firstTextBox)),
                     TRUE);
        MSG message{};
        while (isOpen_ && GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (message.message == WM_KEYDOWN) {
                keys_.push_back(static_cast<int>(message.wParam));
            }
            if (message.message == WM_CHAR) {
                Sleep(keyDelay_);
            }
            if (!IsDialogMessageW(window_, &message)) {
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
        }
        ShowWindow(window_, SW_HIDE);
        return pressed_;
    }

    std::vector<std::wstring> Texts() const {
        std::vector<std::wstring> texts;
        for (int box = firstTextBox; box < firstTextBox + 4; ++box) {
            std::array<wchar_t, 300> text{};
            GetDlgItemTextW(window_, box, text.data(), static_cast<int>(text.size()));
            texts.emplace_back(text.data());
        }
        return texts;
    }

    /// Makes the dialog slow: each character takes it this many milliseconds.
    void DelayKeys(DWORD milliseconds) { keyDelay_ = milliseconds; }

    /// The virtual keys that went down.
    const std::vector<int>& Keys() const { return keys_; }

private:
    void AddChild(const wchar_t* kind, const wchar_t* text, DWORD style, int id) {
        CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | style, 0, 0, 100, 30, window_,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                        nullptr);
    }

    static INT_PTR CALLBACK Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_INITDIALOG) {
            SetWindowLongPtrW(window, DWLP_USER, lParam);
            return FALSE;
        }
        auto* self = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
        if (self != nullptr && message == WM_COMMAND && HIWORD(wParam) == BN_CLICKED) {
            self->pressed_ = LOWORD(wParam);
            self->isOpen_ = false;
            return TRUE;
        }
        if (self != nullptr && message == WM_CLOSE) {
            self->isOpen_ = false;
            return TRUE;
        }
        return FALSE;
    }

    HWND window_ = nullptr;
    int pressed_ = 0;
    bool isOpen_ = true;
    DWORD keyDelay_ = 0;
    std::vector<int> keys_;
};

TEST(ReportTypist, FillsTheTextBoxesInTheirOrderAndClicks) {
    BoxWatcher watcher(GetCurrentThreadId());
    watcher.DescribeNextReport(
        {L"Saldobilanz Übersicht", L"1.4.2026", L"30.6.2026", L"Für «Müller & Söhne», 2 %"});
    Dialog dialog;
    EXPECT_EQ(dialog.Run(), IDOK);
    EXPECT_THAT(dialog.Texts(), ElementsAre(L"Saldobilanz Übersicht", L"1.4.2026", L"30.6.2026",
                                            L"Für «Müller & Söhne», 2 %"));
    EXPECT_THAT(dialog.Keys(), ElementsAre(VK_TAB, VK_TAB, VK_TAB));
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, L"Auswertung Indizieren");
    EXPECT_EQ(boxes[0].text,
              L"Kurzbezeichnung: Saldobilanz Übersicht\nDatum von: 1.4.2026\nDatum bis: 30.6.2026\n"
              L"Beschreibung: Für «Müller & Söhne», 2 %");
}

TEST(ReportTypist, LeavesWhatIsNotDescribedAndDescribesOneReportOnly) {
    BoxWatcher watcher(GetCurrentThreadId());
    watcher.DescribeNextReport({{}, {}, L"30.6.2026", L"Nur einmal"});
    {
        Dialog dialog;
        EXPECT_EQ(dialog.Run(), IDOK);
        EXPECT_THAT(dialog.Texts(), ElementsAre(L"", L"1.1.2026", L"30.6.2026", L"Nur einmal"));
    }
    Dialog next;
    EXPECT_EQ(next.Run(), IDOK);
    EXPECT_THAT(next.Texts(),
                ElementsAre(L"", L"1.1.2026", L"31.12.2026", L"Auswertung der Finanzbuchhaltung"));
    EXPECT_EQ(watcher.TakeAnswered().size(), 2U);
}

TEST(ReportTypist, ATextBoxTakesNoMoreThanItsLimit) {
    BoxWatcher watcher(GetCurrentThreadId());
    watcher.DescribeNextReport({std::wstring(shortNameLimit, L'a') + L"zuviel", {}, {}, L"x"});
    Dialog dialog;
    EXPECT_EQ(dialog.Run(), IDOK);
    EXPECT_EQ(dialog.Texts()[0], std::wstring(shortNameLimit, L'a'));
}

TEST(ReportTypist, TypesWhatTheDialogProposesAlreadyToTheEnd) {
    BoxWatcher watcher(GetCurrentThreadId());
    watcher.DescribeNextReport({L"x", L"1.1.2026", L"31.12.2026", L"y"});
    Dialog dialog;
    dialog.DelayKeys(20);
    EXPECT_EQ(dialog.Run(), IDOK);
    EXPECT_THAT(dialog.Texts(), ElementsAre(L"x", L"1.1.2026", L"31.12.2026", L"y"));
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].text,
              L"Kurzbezeichnung: x\nDatum von: 1.1.2026\nDatum bis: 31.12.2026\nBeschreibung: y");
}

TEST(ReportTypist, ADialogThatCannotBeFilledIsClosed) {
    BoxWatcher watcher(GetCurrentThreadId());
    Dialog dialog(0);
    EXPECT_EQ(dialog.Run(), 0);
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].text, L"Das Fenster hat kein Textfeld.");
}

TEST(ReportTypist, WaitsForThePictureOfTheFilledDialog) {
    const kandora::test::TemporaryFolder folder;
    const std::filesystem::path hook = folder / L"Bild";
    folder.Write(L"Bild.done", "left over from an earlier run");
    const BoxWatcher watcher(GetCurrentThreadId(), hook);
    Dialog dialog;
    std::vector<std::wstring> seen;
    bool isOpenYet = false;
    std::thread photographer([&] {
        while (!std::filesystem::exists(folder / L"Bild.ready")) {
            Sleep(1);
        }
        HWND window = FindWindowW(nullptr, L"Auswertung Indizieren");
        isOpenYet = IsWindowVisible(window) != FALSE;
        std::array<wchar_t, 100> text{};
        SendDlgItemMessageW(window, firstTextBox + 3, WM_GETTEXT, text.size(),
                            reinterpret_cast<LPARAM>(text.data()));
        seen.emplace_back(text.data());
        folder.Write(L"Bild.done", "");
    });
    EXPECT_EQ(dialog.Run(), IDOK);
    photographer.join();
    EXPECT_TRUE(isOpenYet);
    EXPECT_THAT(seen, ElementsAre(L"Auswertung der Finanzbuchhaltung"));
}

}  // namespace

}  // namespace kandora::simulators
