#include "tests/faultkit/companion_threads.h"

#include <string.h>

#include "testing/cxx/import_slot.h"

namespace {

constexpr unsigned kMostStarted = 80;
DWORD started[kMostStarted];
unsigned started_count;
unsigned free_one = kMostStarted; // place of the thread whose registers are never kept back
HANDLE at_it;
volatile LONG spins;

void wait_for_ever() {
    SetEvent(at_it);
    Sleep(INFINITE);
}

void spin() {
    SetEvent(at_it);
    for (;;)
        spins = spins + 1;
}

void use_heap() {
    SetEvent(at_it);
    for (;;) {
        void* const block = HeapAlloc(GetProcessHeap(), 0, 1000 + (spins & 0xFFF));
        spins = spins + 1;
        HeapFree(GetProcessHeap(), 0, block);
    }
}

void use_loader() {
    SetEvent(at_it);
    for (;;)
        FreeLibrary(LoadLibraryA("version.dll"));
}

void hold_heap() {
    HeapLock(GetProcessHeap());
    SetEvent(at_it);
    Sleep(2000);
    HeapUnlock(GetProcessHeap());
    Sleep(INFINITE);
}

void __attribute__((noinline)) go_deep(int depth) {
    if (depth)
        go_deep(depth - 1);
    else
        wait_for_ever();
    spins = spins + 1;
}

void wait_deep() {
    go_deep(3000);
}

// Two ways down whose frames lie at the same places of the stack; each function adds another number, or the linker
// takes them for one.
#define WAY(name, called, number)                                                                                      \
    void __attribute__((noinline)) name() {                                                                            \
        called();                                                                                                      \
        spins = spins + number;                                                                                        \
    }
#define BOTTOM(name, number)                                                                                           \
    void __attribute__((noinline)) name() {                                                                            \
        for (int i = 0; i < 100; ++i)                                                                                  \
            spins = spins + number;                                                                                    \
    }
BOTTOM(left_4, 1)
WAY(left_3, left_4, 2)
WAY(left_2, left_3, 3)
WAY(left_1, left_2, 4)
BOTTOM(right_4, 5)
WAY(right_3, right_4, 6)
WAY(right_2, right_3, 7)
WAY(right_1, right_2, 8)

void alternate() {
    SetEvent(at_it);
    for (;;) {
        left_1();
        right_1();
    }
}

const struct {
    const char* name;
    void (*run)();
} kKinds[] = {{"wait", wait_for_ever},     {"spin", spin},
              {"heap", use_heap},          {"loader", use_loader},
              {"hold-heap", hold_heap},    {"suspended", wait_for_ever},
              {"refusing", wait_for_ever}, {"deep", wait_deep},
              {"alternate", alternate},    {"free", spin}};

DWORD WINAPI companion_main(void* run) {
    reinterpret_cast<void (*)()>(run)();
    return 0;
}

BOOL WINAPI never_get(HANDLE thread, CONTEXT* context) {
    for (unsigned i = 0; i < started_count; ++i)
        if (GetThreadId(thread) == started[i] && i != free_one)
            Sleep(INFINITE);
    return GetThreadContext(thread, context);
}

} // namespace

void start_companion(const char* kind) {
    at_it = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    for (const auto& one : kKinds) {
        if (strcmp(one.name, kind) != 0)
            continue;
        const bool suspended = strcmp(kind, "suspended") == 0;
        if (strcmp(kind, "free") == 0)
            free_one = started_count;
        const HANDLE thread = CreateThread(nullptr, 0, companion_main, reinterpret_cast<void*>(one.run),
                                           suspended ? CREATE_SUSPENDED : 0, &started[started_count++]);
        if (!suspended)
            WaitForSingleObject(at_it, INFINITE);
        if (strcmp(kind, "refusing") == 0)
            while (SuspendThread(thread) != static_cast<DWORD>(-1)) {
            }
    }
}

void keep_registers_back(HMODULE library) {
    replace_import(library, "kernel32.dll", "GetThreadContext", never_get);
}
