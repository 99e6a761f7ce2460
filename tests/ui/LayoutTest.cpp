#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>

#include "tests/support/StartedProgram.h"
#include "tests/ui/Desk.h"

using namespace kandora;
using namespace kandora::ui_tests;

namespace {

struct Screen {
    int x = 0;
    int y = 0;
    Screen() {
        const HDC device = GetDC(nullptr);
        x = GetDeviceCaps(device, LOGPIXELSX);
        y = GetDeviceCaps(device, LOGPIXELSY);
        ReleaseDC(nullptr, device);
    }
};

constexpr const wchar_t* resolutionVariable = L"UI_TESTS_RESOLUTION";

/// The resolution that this process was started to test, in dots per inch; nothing when it was not.
std::optional<int> ToldResolution() {
    std::array<wchar_t, 16> value{};
    if (GetEnvironmentVariableW(resolutionVariable, value.data(), static_cast<DWORD>(value.size())) == 0) {
        return std::nullopt;
    }
    return _wtoi(value.data());
}

RECT PlaceIn(HWND form, HWND control) {
    RECT place{};
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, form, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

LOGFONTW FontOf(HWND control) {
    LOGFONTW font{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof(font), &font);
    return font;
}

/// Size of a text in the control's font, broken into lines of the given width; in one line for width 0.
SIZE Measure(HWND control, const std::wstring& text, int width = 0) {
    const HDC device = GetDC(control);
    const HGDIOBJ before =
        SelectObject(device, reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT area{0, 0, width, 0};
    DrawTextW(device, text.c_str(), -1, &area,
              DT_CALCRECT | DT_NOPREFIX | static_cast<UINT>(width == 0 ? DT_SINGLELINE : DT_WORDBREAK));
    SelectObject(device, before);
    ReleaseDC(control, device);
    return {area.right, area.bottom};
}

/// The visible part of a control: of a label only its text.
RECT VisiblePart(HWND form, HWND control) {
    RECT place = PlaceIn(form, control);
    if (ClassOf(control) == L"Static") {
        const SIZE text = Measure(control, TextIn(control), place.right - place.left);
        place.right = place.left + text.cx;
        place.bottom = place.top + text.cy;
    }
    return place;
}

void ExpectNothingCutOffOrOverlapping(HWND form) {
    RECT client{};
    ASSERT_TRUE(GetClientRect(form, &client));
    const auto controls = ControlsOf(form);
    for (const HWND control : controls) {
        SCOPED_TRACE(testing::Message() << "control " << GetDlgCtrlID(control));
        const RECT place = PlaceIn(form, control);
        EXPECT_GE(place.left, 0);
        EXPECT_GE(place.top, 0);
        EXPECT_LE(place.right, client.right);
        EXPECT_LE(place.bottom, client.bottom);

        const std::wstring kind = ClassOf(control);
        RECT inside{};
        GetClientRect(control, &inside);
        if (kind == L"Edit") {
            SendMessageW(control, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&inside));
            EXPECT_LE(Measure(control, L"ÄÖg").cy, inside.bottom - inside.top);
        } else if (kind == L"Button") {
            const SIZE text = Measure(control, TextIn(control));
            EXPECT_LE(text.cx, inside.right - 8);
            EXPECT_LE(text.cy, inside.bottom - 8);
        } else {
            const SIZE text = Measure(control, TextIn(control), inside.right);
            EXPECT_LE(text.cx, inside.right);
            EXPECT_LE(text.cy, inside.bottom);
        }
        for (const HWND other : controls) {
            const RECT first = VisiblePart(form, control);
            const RECT second = VisiblePart(form, other);
            RECT common{};
            if (other != control) {
                EXPECT_FALSE(IntersectRect(&common, &first, &second))
                    << "with control " << GetDlgCtrlID(other);
            }
        }
    }
}

class LayoutTest : public testing::Test {
protected:
    Office office;
};

struct Row {
    const wchar_t* windowClass;
    const wchar_t* text;
    int left;
    int top;
    int width;
    int height;
    bool bold;
};

/// In tab order.
constexpr auto reportControls = std::to_array<Row>({
    {L"Edit", L"", 2175, 375, 5430, 375, false},
    {L"Edit", L"1.1.2026", 2175, 1050, 1335, 360, false},
    {L"Edit", L"31.12.2026", 6240, 1050, 1335, 375, false},
    {L"Edit", L"", 120, 1950, 7455, 1275, false},
    {L"Button", L"Archivieren", 3285, 3465, 1935, 495, true},
    {L"Button", L"Abbrechen", 5565, 3465, 1935, 495, true},
    {L"Static", L"Beschreibung der Auswertung:", 150, 1650, 4335, 375, true},
    {L"Static", L"Datum von:", 150, 1125, 1935, 375, true},
    {L"Static", L"Datum bis:", 4680, 1125, 1815, 375, true},
    {L"Static", L"Kurzbezeichnung:", 150, 375, 4335, 375, true},
});

TEST_F(LayoutTest, ReportDialog) {
    const HostThread host([this] { office.userInterface.NewReportDialog()->GetIndex(); });
    const HWND form = host.Window(L"KandoraForm", L"Auswertung Indizieren");
    ASSERT_NE(form, nullptr);
    const Screen screen;
    if (const auto expected = ToldResolution()) {
        EXPECT_EQ(screen.x, *expected);
        EXPECT_EQ(screen.y, *expected);
    }
    RECT client{};
    ASSERT_TRUE(GetClientRect(form, &client));
    EXPECT_EQ(client.right, MulDiv(7905, screen.x, 1440));
    EXPECT_EQ(client.bottom, MulDiv(4260, screen.y, 1440));

    const auto controls = ControlsOf(form);
    ASSERT_EQ(controls.size(), reportControls.size());
    for (std::size_t i = 0; i < controls.size(); ++i) {
        const Row& row = reportControls[i];
        SCOPED_TRACE(testing::Message() << "tab index " << i);
        EXPECT_EQ(ClassOf(controls[i]), row.windowClass);
        EXPECT_EQ(TextIn(controls[i]), row.text);
        const RECT place = PlaceIn(form, controls[i]);
        EXPECT_EQ(place.left, MulDiv(row.left, screen.x, 1440));
        EXPECT_EQ(place.top, MulDiv(row.top, screen.y, 1440));
        EXPECT_EQ(place.right, MulDiv(row.left + row.width, screen.x, 1440));
        EXPECT_EQ(place.bottom, MulDiv(row.top + row.height, screen.y, 1440));
        const LOGFONTW font = FontOf(controls[i]);
        EXPECT_STREQ(font.lfFaceName, L"MS Sans Serif");
        EXPECT_EQ(font.lfHeight, -MulDiv(975, screen.y, 7200));
        EXPECT_EQ(font.lfWeight, row.bold ? FW_BOLD : FW_NORMAL);
    }
    // The longest dates fit.
    for (const std::size_t date : {1U, 2U}) {
        RECT inside{};
        SendMessageW(controls[date], EM_GETRECT, 0, reinterpret_cast<LPARAM>(&inside));
        EXPECT_LE(Measure(controls[date], L"31.12.2026").cx, inside.right - inside.left);
    }
    ExpectNothingCutOffOrOverlapping(form);

    RECT frame{};
    GetWindowRect(form, &frame);
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    EXPECT_NEAR(frame.left - area.left, area.right - frame.right, 1);
    EXPECT_NEAR(frame.top - area.top, area.bottom - frame.bottom, 1);
}

class InputBoxLayoutTest : public LayoutTest, public testing::WithParamInterface<int> {};

TEST_P(InputBoxLayoutTest, PromptIsBrokenIntoLines) {
    std::wstring prompt =
        L"Bitte passen Sie allenfalls den Archivpfad des Mandanten an. Trennzeichen für Ordner ist '/'";
    for (int i = 1; i < GetParam(); ++i) {
        prompt += L" Noch ein Satz & noch mehr Wörter, die auf mehrere Zeilen gehen.";
    }
    const HostThread host(
        [&] { office.userInterface.InputBox(prompt, L"Titel", L"/Sesam/2026/Muster", -2500, -1500); });
    const HWND form = host.Window(L"KandoraForm", L"Titel");
    ASSERT_NE(form, nullptr);
    ExpectNothingCutOffOrOverlapping(form);
    const auto labels = ControlsOf(form, L"Static");
    ASSERT_EQ(labels.size(), 1U);
    const LONG lineHeight = Measure(labels[0], L"X").cy;
    RECT inside{};
    GetClientRect(labels[0], &inside);
    EXPECT_GE(Measure(labels[0], prompt, inside.right).cy, 2 * lineHeight);
    RECT frame{};
    GetWindowRect(form, &frame);
    EXPECT_LE(frame.bottom, GetSystemMetrics(SM_CYSCREEN));
}

INSTANTIATE_TEST_SUITE_P(Sentences, InputBoxLayoutTest, testing::Values(1, 3, 10));

/// Sets the screen's resolution for programs that start from now on; the old one comes back at the end.
class ScreenSetting {
public:
    explicit ScreenSetting(int dotsPerInch) {
        existed_ = RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_REG_DWORD, nullptr, &before_, &size_) ==
                   ERROR_SUCCESS;
        const auto value = static_cast<DWORD>(dotsPerInch);
        RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_DWORD, &value, sizeof(value));
    }
    ~ScreenSetting() {
        if (existed_) {
            RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_DWORD, &before_, sizeof(before_));
        } else {
            RegDeleteKeyValueW(HKEY_CURRENT_USER, key, name);
        }
    }
    ScreenSetting(const ScreenSetting&) = delete;
    ScreenSetting& operator=(const ScreenSetting&) = delete;

private:
    static constexpr const wchar_t* key = L"Control Panel\\Desktop";
    static constexpr const wchar_t* name = L"LogPixels";

    DWORD before_ = 0;
    DWORD size_ = sizeof(before_);
    bool existed_ = false;
};

/// Runs this program's layout tests in a process of their own; its exit code.
std::optional<DWORD> RunLayoutTests(int dotsPerInch) {
    std::wstring file(1024, L'\0');
    file.resize(GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size())));
    const std::wstring command = L"\"" + file + L"\" --gtest_filter=*LayoutTest*";
    constexpr DWORD limit = 600'000;  // milliseconds
    SetEnvironmentVariableW(resolutionVariable, std::to_wstring(dotsPerInch).c_str());
    std::optional<DWORD> result;
    {
        test::StartedProgram started({command});
        if (started.Ends(limit)) {
            result = started.ExitCode();
        }
    }
    SetEnvironmentVariableW(resolutionVariable, nullptr);
    return result;
}

class ResolutionTest : public testing::TestWithParam<int> {};

TEST_P(ResolutionTest, NothingIsCutOffOrOverlaps) {
    if (!RunsUnderWine()) {
        GTEST_SKIP() << "Windows itself changes the resolution only when the user logs on.";
    }
    const ScreenSetting setting(GetParam());
    EXPECT_EQ(RunLayoutTests(GetParam()), std::optional<DWORD>(0));
}

INSTANTIATE_TEST_SUITE_P(DotsPerInch, ResolutionTest, testing::Values(96, 120, 144, 192));

}  // namespace
