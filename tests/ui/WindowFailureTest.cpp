#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <utility>

#include "automation/Errors.h"
#include "tests/support/ModuleHook.h"
#include "tests/ui/Desk.h"
#include "ui/Form.h"

// The system refuses the forms something. The functions that this program imports are diverted.
namespace kandora::ui_tests {
namespace {

class Diverted : public test::ModuleHook {
public:
    template <class Function>
    Diverted(const char* library, const char* name, Function* replacement)
        : ModuleHook(GetModuleHandleW(nullptr), library, name, reinterpret_cast<void*>(replacement)) {}
};

/// The system's own function, which this program no longer reaches by its name once it is diverted.
template <class Function>
Function* Original(const wchar_t* library, const char* name, Function* /*kind*/) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(library), name)));
}

ATOM WINAPI RegisterNoClass(const WNDCLASSEXW*) {
    SetLastError(ERROR_OUTOFMEMORY);
    return 0;
}

template <DWORD error>
HWND WINAPI MakeNoDialog(HINSTANCE, const DLGTEMPLATE*, HWND, DLGPROC, LPARAM) {
    SetLastError(error);
    return nullptr;
}

int windowsLeft = 0;
auto* const makeWindow = Original(L"user32.dll", "CreateWindowExW", &CreateWindowExW);

HWND WINAPI MakeSomeWindows(DWORD extendedStyle, const wchar_t* windowClass, const wchar_t* text, DWORD style,
                            int left, int top, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE module, void* data) {
    if (windowsLeft-- == 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    return makeWindow(extendedStyle, windowClass, text, style, left, top, width, height, parent, menu, module,
                      data);
}

HDC WINAPI GiveNoScreen(HWND) {
    return nullptr;
}

/// Number of the error that the input box raises instead of asking.
std::int32_t NumberFromInputBox() {
    Office office;
    try {
        static_cast<void>(office.userInterface.InputBox(L"Frage", L"Titel", L"Vorschlag", 0, 0));
    } catch (const RuntimeError& error) {
        return error.Number();
    }
    return 0;
}

bool AnyForm() {
    return FindWindowW(L"KandoraForm", nullptr) != nullptr;
}

TEST(FailingForm, TellsWhyItHasNoWindow) {
    {
        const Diverted diverted("user32.dll", "RegisterClassExW", &RegisterNoClass);
        EXPECT_EQ(NumberFromInputBox(), 7);
    }
    {
        const Diverted diverted("user32.dll", "CreateDialogIndirectParamW",
                                &MakeNoDialog<ERROR_ACCESS_DENIED>);
        EXPECT_EQ(NumberFromInputBox(), 70);
    }
    {
        const Diverted diverted("user32.dll", "CreateDialogIndirectParamW", &MakeNoDialog<ERROR_SUCCESS>);
        EXPECT_EQ(NumberFromInputBox(), E_FAIL) << "a failure without a reason is one all the same";
    }
}

TEST(FailingForm, LeavesNothingWhenAControlIsMissing) {
    const Diverted diverted("user32.dll", "CreateWindowExW", &MakeSomeWindows);
    for (const int windows : {0, 1, 3}) {
        windowsLeft = windows;
        EXPECT_EQ(NumberFromInputBox(), 70) << windows;
        EXPECT_FALSE(AnyForm()) << windows;
    }
}

TEST(FailingForm, TakesTheUsualResolutionForAnUnknownOne) {
    const Diverted diverted("user32.dll", "GetDC", &GiveNoScreen);
    const ScreenResolution screen;
    EXPECT_EQ(screen.XPixels(ScreenResolution::twipsPerInch), 96);
    EXPECT_EQ(screen.YPixels(ScreenResolution::twipsPerInch), 96);
    EXPECT_EQ(screen.YTwips(96), ScreenResolution::twipsPerInch);
}

HWND foundWindow = nullptr;
bool nextAllocationFails = false;
auto* const allocate = Original(L"msvcrt.dll", "malloc", &std::malloc);

void* AllocateUnlessTold(std::size_t size) {
    return std::exchange(nextAllocationFails, false) ? nullptr : allocate(size);
}

BOOL WINAPI FindWindowWithoutMemory(DWORD, WNDENUMPROC found, LPARAM parameter) {
    nextAllocationFails = true;
    return found(foundWindow, parameter);
}

TEST(FailingForm, LeavesTheHostsWindowsAloneWithoutMemory) {
    const HostWindow host(L"Buchhaltung");
    foundWindow = host.Handle();
    ASSERT_TRUE(IsWindowVisible(foundWindow) && IsWindowEnabled(foundWindow));
    {
        const Diverted memory("msvcrt.dll", "malloc", &AllocateUnlessTold);
        const Diverted search("user32.dll", "EnumThreadWindows", &FindWindowWithoutMemory);
        EXPECT_THROW(const OtherWindowsDisabled disabled(nullptr), std::bad_alloc);
    }
    EXPECT_TRUE(IsWindowEnabled(foundWindow));
    {
        const OtherWindowsDisabled disabled(nullptr);
        EXPECT_FALSE(IsWindowEnabled(foundWindow));
    }
    EXPECT_TRUE(IsWindowEnabled(foundWindow));
}

}  // namespace
}  // namespace kandora::ui_tests
