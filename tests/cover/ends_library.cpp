// A library whose start fails.
#include <windows.h>

static int* volatile nowhere = nullptr;

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        *nowhere = 1; // ends: dll-main
    return TRUE;
}
