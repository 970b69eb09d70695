// Faults on 16 threads, each at an address of its own; then the last of them makes the e-mail report.
//
// usage: threads_host in-turn|at-once ROUNDS
// Prints how many threads have caught the marker in all rounds.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "include/wendax.h"

namespace {

constexpr int kThreadCount = 16;

bool at_once;
int rounds;
volatile LONG started;  // in all rounds
volatile LONG caught;   // in all rounds
volatile LONG finished; // in all rounds

// Near null, where nothing is: thread I faults at 16 * (I + 1).
void fault_at(int thread) {
    *reinterpret_cast<volatile int*>(16 * (thread + 1)) = 1;
}
void (*volatile faulting)(int) = fault_at;

void wait_for(volatile LONG& counter, LONG value) {
    while (counter < value)
        SwitchToThread();
}

// One fault of one thread. All stay in their catch blocks until the last has faulted, as their records are good until
// then.
__attribute__((noinline)) void fail(int thread, int round) {
    const LONG before = round * kThreadCount;
    InterlockedIncrement(&started);
    wait_for(at_once ? started : caught, before + (at_once ? kThreadCount : thread));
    try {
        faulting(thread);
    } catch (char* marker) {
        if (strcmp(marker, WENDAX_MARKER) == 0)
            InterlockedIncrement(&caught);
        wait_for(caught, before + kThreadCount);
        if (round == rounds - 1 && thread == kThreadCount - 1)
            OpenCrushReport(marker);
        InterlockedIncrement(&finished);
        wait_for(finished, before + kThreadCount);
    }
}

DWORD WINAPI run(void* number) {
    InitCrushReport();
    for (int round = 0; round < rounds; ++round)
        fail(static_cast<int>(reinterpret_cast<intptr_t>(number)), round);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    at_once = strcmp(argv[1], "at-once") == 0;
    rounds = atoi(argv[2]);
    HANDLE threads[kThreadCount];
    for (int i = 0; i < kThreadCount; ++i)
        threads[i] = CreateThread(nullptr, 0, run, reinterpret_cast<void*>(static_cast<intptr_t>(i)), 0, nullptr);
    WaitForMultipleObjects(kThreadCount, threads, TRUE, INFINITE);
    printf("caught %ld\n", caught);
    return 0;
}
