#include <windows.h>

#include <gtest/gtest.h>

#include "tests/ui/Desk.h"

namespace {

/// On a display without a window manager, wine waits for one whenever a window is hidden, unless it is told
/// that there is none.
void TellWineThatThereIsNoWindowManager() {
    if (!kandora::ui_tests::RunsUnderWine()) {
        return;
    }
    const wchar_t no[] = L"N";
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Wine\\AppDefaults\\ui_tests.exe\\X11 Driver", L"Managed",
                    REG_SZ, no, sizeof(no));
}

}  // namespace

int main(int argc, char** argv) {
    TellWineThatThereIsNoWindowManager();
    // The screen as it is: a process that does not know its resolution is always told 96 dots per inch.
    SetProcessDPIAware();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
