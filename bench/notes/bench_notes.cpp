// bench_notes [ROUNDS]: notes of faultkit.dll, beside lines that a host would format into a locked ring of its own, and
// beside what it would say to a debugger. A run is a thousand notes, so its milliseconds are the microseconds of one.
#include <windows.h>
#include <stdio.h>
#include <stdlib.h>

#include "bench/measure.h"
#include "companions/faultkit/faultkit.h"

namespace {

constexpr unsigned kNotes = 1000;
const char kText[] = "opening C:\\Documents and Settings\\user\\My Documents\\a picture.bmp";

bool done = true;

void add_notes() {
    for (unsigned i = 0; i < kNotes; ++i)
        done = AddFaultNote(kText) && done;
}

CRITICAL_SECTION lock;
char ring[64][240];
unsigned written;

void print_into_ring() {
    for (unsigned i = 0; i < kNotes; ++i) {
        SYSTEMTIME now;
        GetSystemTime(&now);
        EnterCriticalSection(&lock);
        char(&line)[240] = ring[written++ % 64];
        snprintf(line, sizeof line, "%02u:%02u:%02u.%03u %08lX: %s", now.wHour, now.wMinute, now.wSecond,
                 now.wMilliseconds, GetCurrentThreadId(), kText);
        LeaveCriticalSection(&lock);
    }
}

void tell_debugger() {
    for (unsigned i = 0; i < kNotes; ++i)
        OutputDebugStringA(kText);
}

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = bench::rounds_of(argc, argv);
    InitializeCriticalSection(&lock);
    constexpr bench::Contestant kContestants[] = {
        {"ours", add_notes}, {"printf into a locked ring", print_into_ring}, {"OutputDebugString", tell_debugger}};
    bench::compare("notes", kNotes, kContestants, 3, rounds, 1);
    if (!done)
        fprintf(stderr, "a note was refused\n");
    return done ? 0 : 1;
}
