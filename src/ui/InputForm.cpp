#include "ui/InputForm.h"

#include <algorithm>
#include <array>

namespace kandora {

namespace {

namespace id {
constexpr int txtAntwort = 101;
constexpr int lblFrage = 102;
}  // namespace id

// In twips.
constexpr int clientWidth = 5400;
constexpr int margin = 150;
constexpr int buttonWidth = 1425;
constexpr int buttonHeight = 420;
constexpr int buttonLeft = clientWidth - margin - buttonWidth;
constexpr int promptWidth = buttonLeft - 2 * margin;
constexpr int textBoxHeight = 375;
/// The prompt is at least as high as the two buttons beside it.
constexpr int leastPromptHeight = 2 * buttonHeight + margin;

/// Height in twips of the prompt, broken into lines.
int PromptHeight(const Text& prompt, const ScreenResolution& screen) {
    const Font font = FormFont(screen, true);
    const HDC device = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(device, font.get());
    RECT area{0, 0, screen.XPixels(promptWidth), 0};
    const int pixels = DrawTextW(device, prompt.c_str(), -1, &area, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    SelectObject(device, before);
    ReleaseDC(nullptr, device);
    // An endless prompt must leave room for the text box on the screen.
    const int most = screen.YTwips(GetSystemMetrics(SM_CYSCREEN)) * 2 / 3;
    return std::clamp(screen.YTwips(pixels), leastPromptHeight, std::max(most, leastPromptHeight));
}

}  // namespace

Text InputForm::Ask(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
                    std::int32_t topTwips) {
    const ScreenResolution screen;
    const Text question = Displayable(prompt);
    const int promptHeight = PromptHeight(question, screen);
    const int textTop = margin + promptHeight + margin;
    const std::array controls{
        Control{id::txtAntwort, ControlKind::TextBox, L"", margin, textTop, clientWidth - 2 * margin,
                textBoxHeight, 0},
        Control{IDOK, ControlKind::DefaultButton, L"OK", buttonLeft, margin, buttonWidth, buttonHeight, 1},
        Control{IDCANCEL, ControlKind::Button, L"Abbrechen", buttonLeft, margin + buttonHeight + margin,
                buttonWidth, buttonHeight, 2},
        Control{id::lblFrage, ControlKind::Label, question.c_str(), margin, margin, promptWidth, promptHeight,
                3},
    };
    Load(title, clientWidth, textTop + textBoxHeight + margin, controls);
    SetText(id::txtAntwort, proposal);
    MoveTo(GetSystemMetrics(SM_CXSCREEN) / 2 + screen.XPixels(leftTwips),
           GetSystemMetrics(SM_CYSCREEN) / 2 + screen.YPixels(topTwips));
    Show();
    WaitForWindow();
    return answer_;
}

void InputForm::OnClick(int id) {
    if (id == IDOK) {
        answer_ = TextOf(id::txtAntwort);
        Hide();
    } else if (id == IDCANCEL) {
        Hide();
    }
}

}  // namespace kandora
