// A DLL that does nothing.
#include <windows.h>

extern "C" void empty_companion() {}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
