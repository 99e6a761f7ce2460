// In the place of what the toolchain does when a DLL is loaded: nothing.
#include <windows.h>

extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE /*module*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
