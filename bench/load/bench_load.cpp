// bench_load [SYSTEM]: loads Wendax.dll once and prints the milliseconds and the bytes of private memory that it added.
// With an argument the system's libraries that it needs are loaded before, as in a host that uses them itself.
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

int main(int count, char**) {
    constexpr const char* libraries[] = {"user32",  "gdi32",        "advapi32", "shell32",
                                         "version", "winspool.drv", "wininet",  "gdiplus"};
    if (count > 1)
        for (const char* library : libraries)
            LoadLibraryA(library);
    private_bytes(); // binds psapi
    const double before = private_bytes();
    const double start = bench::now();
    const HMODULE module = LoadLibraryA("Wendax.dll");
    const double loaded = bench::now() - start;
    printf("%f\n%.0f\n", loaded, private_bytes() - before);
    return module ? 0 : 1;
}
