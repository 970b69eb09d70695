// Faults within the library's freeing, as on a heap that was damaged before.
//
// usage: free_host                of a report: prints how often each block was given back, and what the host got to see
//        free_host screenshot N   of the block N of a screenshot, from 0: prints "no fault", "costs the screenshot" or
//                                 "passes on", then takes another screenshot and prints "end"
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>

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

int blocks_before = -1; // that are given back before the one that faults; below 0 none does

BOOL WINAPI free_in_turn_with_fault(HANDLE heap, DWORD flags, void* block) {
    if (blocks_before-- == 0)
        *reinterpret_cast<volatile int*>(zero) = 1;
    return real_free(heap, flags, block);
}

int take_screenshots(int number) {
    real_free = replace_import(GetModuleHandleA("Wendax.dll"), "kernel32.dll", "HeapFree", free_in_turn_with_fault);
    if (!real_free)
        return 2;
    CCrashReport report(nullptr);
    blocks_before = number;
    try {
        report.AttachScreenCopy();
        puts(blocks_before < 0 ? "costs the screenshot" : "no fault");
    } catch (char*) {
        puts("passes on");
    }
    fflush(stdout);
    blocks_before = -1;
    report.AttachScreenCopy();
    puts("end");
    return 0;
}

DWORD WINAPI decline(void*) {
    HWND const dialog = wait_for_report_window();
    armed = true;
    press_button_of(dialog, 2);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    InitCrushReport();
    if (argc == 3)
        return take_screenshots(atoi(argv[2]));
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
