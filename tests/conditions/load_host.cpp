// Loads the library, covers its thread, and lets the library go; says after each what the process has.
//
// A line for each: STAGE threads N handles N windows N modules NAME:ADDRESS:SIZE...
#include <windows.h>
#include <tlhelp32.h>
#include <stdio.h>

#include "testing/cxx/usage.h"

namespace {

BOOL CALLBACK count_window(HWND window, LPARAM count) {
    DWORD process;
    GetWindowThreadProcessId(window, &process);
    *reinterpret_cast<unsigned*>(count) += process == GetCurrentProcessId();
    return TRUE;
}

unsigned windows() {
    unsigned count = 0;
    EnumWindows(count_window, reinterpret_cast<LPARAM>(&count));
    return count;
}

void print_modules() {
    HANDLE const snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, GetCurrentProcessId());
    MODULEENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Module32First(snapshot, &entry); more; more = Module32Next(snapshot, &entry))
        printf(" %s:%p:%lX", entry.szModule, static_cast<void*>(entry.modBaseAddr), entry.modBaseSize);
    CloseHandle(snapshot);
}

void show(const char* stage) {
    printf("%s threads %d handles %u windows %u modules", stage, process_threads(), process_handles(), windows());
    print_modules();
    puts("");
    fflush(stdout);
}

} // namespace

int main() {
    // What the system's own libraries bring along is not the library's doing.
    static const char* const kOfSystem[] = {"shell32.dll", "version.dll", "wininet.dll", "winspool.drv"};
    for (const char* name : kOfSystem)
        LoadLibraryA(name);
    show("warm-up"); // so that what the counting itself takes is there, too
    show("before");
    HMODULE const library = LoadLibraryA("Wendax.dll");
    if (!library)
        return 1;
    show("loaded");
    auto* const cover =
        reinterpret_cast<void*(__cdecl*)()>(reinterpret_cast<void*>(GetProcAddress(library, "InitCrushReport")));
    cover();
    show("covered");
    FreeLibrary(library);
    show("freed");
    return 0;
}
