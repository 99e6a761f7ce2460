#include <gmock/gmock.h>

#include <array>

#include "simulators/host/BoxWatcher.h"

namespace kandora::simulators {

namespace {

constexpr int inputId = 101;
constexpr int confirmId = 102;
constexpr const wchar_t* windowClass = L"HostSimulatorTestWindow";

/// A window like the component's own: not of the dialog class, recognised by its caption.
class OwnWindow {
public:
    OwnWindow(const wchar_t* caption, DWORD editStyle, const wchar_t* editText, const wchar_t* buttonText) {
        WNDCLASSW description{};
        description.lpfnWndProc = Handle;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = windowClass;
        RegisterClassW(&description);
        window_ = CreateWindowExW(0, windowClass, caption, WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, nullptr,
                                  nullptr, description.hInstance, this);
        AddChild(L"STATIC", L"Bitte anpassen", 0, 0);
        AddChild(L"EDIT", editText, editStyle, inputId);
        AddChild(L"BUTTON", L"Abbrechen", BS_PUSHBUTTON, confirmId + 1);
        AddChild(L"BUTTON", buttonText, BS_DEFPUSHBUTTON, confirmId);
    }
    ~OwnWindow() {
        DestroyWindow(window_);
        UnregisterClassW(windowClass, GetModuleHandleW(nullptr));
    }
    OwnWindow(const OwnWindow&) = delete;
    OwnWindow& operator=(const OwnWindow&) = delete;

    /// Shows the window until one of its buttons is pressed; the answer is the button's number.
    int Run() {
        ShowWindow(window_, SW_SHOW);
        MSG message{};
        while (pressed_ == 0 && GetMessageW(&message, nullptr, 0, 0) > 0) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        ShowWindow(window_, SW_HIDE);
        return pressed_;
    }

    std::wstring EditText() const {
        std::array<wchar_t, 200> text{};
        GetDlgItemTextW(window_, inputId, text.data(), static_cast<int>(text.size()));
        return text.data();
    }

private:
    void AddChild(const wchar_t* kind, const wchar_t* text, DWORD style, int id) {
        CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 100, 30, window_,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                        nullptr);
    }

    static LRESULT CALLBACK Handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_NCCREATE) {
            SetWindowLongPtrW(
                window, GWLP_USERDATA,
                reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
        }
        auto* self = reinterpret_cast<OwnWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_COMMAND && self && LOWORD(wParam) >= confirmId) {
            self->pressed_ = LOWORD(wParam);
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }

    HWND window_ = nullptr;
    int pressed_ = 0;
};

TEST(BoxWatcher, ConfirmsMessageBoxesAndKeepsWhatTheySaid) {
    BoxWatcher watcher(GetCurrentThreadId());
    EXPECT_EQ(MessageBoxW(nullptr, L"Die Datei 'C:\\Ä.pdf' fehlt\nZeile 2", L"Kandora", MB_OK | MB_ICONERROR),
              IDOK);
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, L"Kandora");
    EXPECT_EQ(boxes[0].text, L"Die Datei 'C:\\Ä.pdf' fehlt\nZeile 2");
    EXPECT_TRUE(watcher.TakeAnswered().empty());
}

TEST(BoxWatcher, ConfirmsOneBoxAfterTheOther) {
    BoxWatcher watcher(GetCurrentThreadId());
    for (const wchar_t* text : {L"eins", L"zwei", L"drei"}) {
        MessageBoxW(nullptr, text, L"4096", MB_OK | MB_ICONEXCLAMATION);
    }
    std::vector<std::wstring> texts;
    for (const AnsweredBox& box : watcher.TakeAnswered()) {
        texts.push_back(box.text);
    }
    EXPECT_THAT(texts, ::testing::ElementsAre(L"eins", L"zwei", L"drei"));
}

TEST(BoxWatcher, ConfirmsTheInputBoxAndLeavesTheProposal) {
    BoxWatcher watcher(GetCurrentThreadId());
    OwnWindow input(L"Archivpfad erstellen", 0, L"/Sesam/Muster", L"&OK");
    EXPECT_EQ(input.Run(), confirmId);
    EXPECT_EQ(input.EditText(), L"/Sesam/Muster");
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, L"Archivpfad erstellen");
    EXPECT_EQ(boxes[0].text, L"Bitte anpassen");
}

TEST(BoxWatcher, LeavesOtherWindowsAlone) {
    BoxWatcher watcher(GetCurrentThreadId());
    const OwnWindow other(L"Übersicht", 0, L"", L"OK");
    OwnWindow input(L"Archivpfad erstellen", 0, L"", L"OK");
    EXPECT_EQ(input.Run(), confirmId);
    const auto boxes = watcher.TakeAnswered();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, L"Archivpfad erstellen");
}

}  // namespace

}  // namespace kandora::simulators
