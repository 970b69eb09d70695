// Where a DLL starts: the initializers run before DllMain's call for the attach, the exit functions after that for the
// detach, or at once if DllMain refuses the attach.
#include <windows.h>

#include "crt/startup.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

extern "C" BOOL WINAPI _DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        crt::make_security_cookie();
        crt::run_initializers();
        if (DllMain(instance, reason, reserved))
            return TRUE;
        crt::run_exit_functions();
        return FALSE;
    }
    const BOOL result = DllMain(instance, reason, reserved);
    if (reason == DLL_PROCESS_DETACH)
        crt::run_exit_functions();
    return result;
}
