/* This toolchain wants the function; a module has nothing to do in it. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    (void)instance, (void)reason, (void)reserved;
    return TRUE;
}
