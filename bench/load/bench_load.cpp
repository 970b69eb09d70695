// bench_load DLL [SYSTEM]: loads the DLL once and prints the milliseconds and the bytes of private memory that it
// added. With a second argument the system's libraries that Wendax.dll needs are loaded before, as in a host that uses
// them itself.
#include <windows.h>
#include <psapi.h>
#include <stdio.h>

#include "bench/measure.h"

namespace {

double private_bytes() {
    PROCESS_MEMORY_COUNTERS memory = {};
    memory.cb = sizeof(memory);
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof(memory));
    return static_cast<double>(memory.PagefileUsage);
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2)
        return 2;
    constexpr const char* kLibraries[] = {"user32",  "gdi32",        "advapi32", "shell32",
                                          "version", "winspool.drv", "wininet",  "gdiplus"};
    if (count > 2)
        for (const char* library : kLibraries)
            LoadLibraryA(library);
    private_bytes(); // binds psapi
    const double before = private_bytes();
    const double start = bench::now();
    const HMODULE module = LoadLibraryA(arguments[1]);
    const double loaded = bench::now() - start;
    printf("%f\n%.0f\n", loaded, private_bytes() - before);
    return module ? 0 : 1;
}
