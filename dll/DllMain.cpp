// Entry point of GlobalRootService.dll only (the unit tests link the same code
// into their executables). Loading starts no thread and reads nothing.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD /*reason*/, LPVOID /*reserved*/) {
    return TRUE;
}
