// Faults within the library's freeing of a report, as on a heap that was damaged before; prints how often each block
// was given back, and what the host got to see.
#include <windows.h>
#include <stdio.h>

#include "include/wendax.h"
#include "testing/cxx/import_slot.h"
#include "testing/cxx/report_window.h"

namespace {

bool armed;
void* faulted_on;
int times;
decltype(HeapFree)* real_free;
volatile int zero = 0;

BOOL WINAPI free_with_fault(HANDLE heap, DWORD flags, void* block) {
    if (armed && !faulted_on)
        faulted_on = block;
    if (block && block == faulted_on && ++times == 1)
        *reinterpret_cast<volatile int*>(zero) = 1;
    return real_free(heap, flags, block);
}

DWORD WINAPI decline(void*) {
    HWND const dialog = wait_for_report_window();
    armed = true;
    press_button_of(dialog, 2);
    return 0;
}

} // namespace

int main() {
    InitCrushReport();
    real_free = replace_import(GetModuleHandleA("Wendax.dll"), "kernel32.dll", "HeapFree", free_with_fault);
    if (!real_free)
        return 2;
    CloseHandle(CreateThread(nullptr, 0, decline, nullptr, 0, nullptr));
    try {
        OpenCrushReport(nullptr);
        puts("no fault");
    } catch (char* marker) {
        puts(marker);
    }
    printf("given back %d times\n", times);
    return 0;
}
