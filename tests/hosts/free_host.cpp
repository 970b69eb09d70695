// Faults within the library's freeing of a report, as on a heap that was damaged before; prints how often each block
// was given back, and what the host got to see.
#include <windows.h>
#include <stdio.h>
#include <string.h>

#include "include/wendax.h"

namespace {

bool armed;
void* faulted_on;
int times;
void(__cdecl* real_free)(void*);
volatile int zero = 0;

void __cdecl free_with_fault(void* block) {
    if (armed && !faulted_on)
        faulted_on = block;
    if (block && block == faulted_on && ++times == 1)
        *reinterpret_cast<volatile int*>(zero) = 1;
    real_free(block);
}

// Where the library keeps the address of the C runtime's free.
void** slot_of_free(HMODULE module) {
    auto* const base = reinterpret_cast<unsigned char*>(module);
    const auto* const headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    void* const wanted = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("msvcrt.dll"), "free"));
    for (auto* from = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports); from->Name; ++from)
        for (auto** slot = reinterpret_cast<void**>(base + from->FirstThunk); *slot; ++slot)
            if (*slot == wanted)
                return slot;
    return nullptr;
}

bool replace_free() {
    void** const slot = slot_of_free(GetModuleHandleA("Wendax.dll"));
    DWORD before;
    if (!slot || !VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &before))
        return false;
    real_free = reinterpret_cast<decltype(real_free)>(*slot);
    *slot = reinterpret_cast<void*>(free_with_fault);
    return true;
}

DWORD WINAPI decline(void*) {
    HWND dialog;
    while (!(dialog = FindWindowA(nullptr, "Software Error Report")) || !IsWindowVisible(dialog))
        Sleep(10);
    armed = true;
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(2, BN_CLICKED), 0);
    return 0;
}

} // namespace

int main() {
    InitCrushReport();
    if (!replace_free())
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
