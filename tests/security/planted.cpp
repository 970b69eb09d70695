// A DLL that somebody has put where a search may find it, under the name of another: writes its path to the end of the
// file that PLANTED_LOG names.
#include <windows.h>
#include <stdio.h>

extern "C" void planted_function() {}

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    char log[MAX_PATH] = "", path[MAX_PATH] = "";
    if (reason != DLL_PROCESS_ATTACH || !GetEnvironmentVariableA("PLANTED_LOG", log, MAX_PATH))
        return TRUE;
    GetModuleFileNameA(instance, path, MAX_PATH);
    if (FILE* const file = fopen(log, "a")) {
        fprintf(file, "%s\n", path);
        fclose(file);
    }
    return TRUE;
}
