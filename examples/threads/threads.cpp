// A host with several threads, two of which fail at the same time. Each covers itself, and they take turns at making
// their reports. Build it with /EHa.
#include <windows.h>
#include <stdio.h>

#include "wendax.h"

namespace {

CRITICAL_SECTION one_report;

// The library keeps one fault at a time, so a second thread that fails must wait from here on, before the library hears
// of its fault, until the first has made its report.
void __cdecl translate_alone(unsigned int code, EXCEPTION_POINTERS* pointers) {
    EnterCriticalSection(&one_report);
    APISeTranslator(code, pointers);
}

// Volatile, so that the compiler doesn't foresee the faults.
int* volatile nowhere = nullptr;
volatile int zero = 0;
volatile int result;

void count() {
    for (int i = 0; i < 1000; ++i)
        result = i;
}

void write_nowhere() {
    *nowhere = 1;
}

void divide_by_zero() {
    result = 7 / zero;
}

struct Worker {
    const char* name;
    void (*volatile work)();
};

DWORD WINAPI thread_main(void* parameter) {
    const Worker* const worker = static_cast<Worker*>(parameter);
    WendaxCoverThread(translate_alone);
    try {
        worker->work();
        printf("%s: done\n", worker->name);
    } catch (char* marker) {
        printf("%s: failed\n", worker->name);
        OpenCrushReport(marker);
        LeaveCriticalSection(&one_report);
    }
    return 0;
}

Worker workers[] = {{"reader", count}, {"writer", write_nowhere}, {"divider", divide_by_zero}};
const int kWorkerCount = sizeof(workers) / sizeof(workers[0]);

} // namespace

int main() {
    InitializeCriticalSection(&one_report);
    HANDLE threads[kWorkerCount];
    for (int i = 0; i < kWorkerCount; ++i)
        threads[i] = CreateThread(nullptr, 0, thread_main, &workers[i], 0, nullptr);
    WaitForMultipleObjects(kWorkerCount, threads, TRUE, INFINITE);
    for (int i = 0; i < kWorkerCount; ++i)
        CloseHandle(threads[i]);
    DeleteCriticalSection(&one_report);
    return 0;
}
