// Covers its thread in the way that is named, faults, and says what came of it; built once for each C runtime.
//
// usage: cover_host init | cover | twice | chain | abort | uncaught | small BYTES
//   uncaught  the process is covered as well, and nobody catches the marker
//   small     faults nowhere: what is asked for on a thread whose stack has space for no more than that
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "wendax.h"

#include "testing/cxx/import_slot.h"

namespace {

int* volatile nowhere = nullptr;

void write_nowhere() {
    *nowhere = 1;
}

void (*volatile work)() = write_nowhere;

void __cdecl note_and_pass_on(unsigned int code, _EXCEPTION_POINTERS* pointers) {
    printf("code %08X\n", code);
    APISeTranslator(code, pointers);
}

// What docs/host-guide.md says of ends that are no exceptions.
void __cdecl raise_instead(int) {
    RaiseException(0xE0000001, 0, 0, nullptr);
}

// Stands for a system whose threads have little stack. Under Wine none is too small for 128 KB.
unsigned long most_stack;

int __stdcall reserve_up_to_most(unsigned long* bytes) {
    const unsigned long wanted = *bytes;
    *bytes = 0; // reserved before
    if (wanted)
        printf("asked for %lu\n", wanted);
    return wanted <= most_stack;
}

FARPROC WINAPI find_reserve_up_to_most(HMODULE, const char*) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(reserve_up_to_most));
}

int cover_with_little_stack(unsigned long most) {
    most_stack = most;
    if (!replace_import(GetModuleHandleA(nullptr), "kernel32.dll", "GetProcAddress", find_reserve_up_to_most))
        return 2;
    WendaxCoverThread();
    return 0;
}

void cover(const char* way) {
    if (strcmp(way, "init") == 0) {
        InitCrushReport();
    } else if (strcmp(way, "chain") == 0) {
        WendaxCoverThread(note_and_pass_on);
    } else if (strcmp(way, "abort") == 0) {
        WendaxCoverThread(note_and_pass_on);
        signal(SIGABRT, raise_instead);
        work = abort;
    } else {
        printf("before %s\n", WendaxCoverThread() ? "covered" : "bare");
        if (strcmp(way, "twice") == 0)
            printf("again %s\n", WendaxCoverThread() == &APISeTranslator ? "covered" : "bare");
    }
}

void __cdecl tell(_EXCEPTION_POINTERS* fault, void*) {
    printf("reported %08lX\n", fault->ExceptionRecord->ExceptionCode);
    fflush(stdout);
}

// As a runtime does that lets what the translator throws go on.
LONG CALLBACK translate(_EXCEPTION_POINTERS* fault) {
    if (fault->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION)
        APISeTranslator(EXCEPTION_ACCESS_VIOLATION, fault);
    return EXCEPTION_CONTINUE_SEARCH;
}

int let_the_marker_pass() {
    WendaxCover();
    WendaxCoverProcess(tell, nullptr);
    AddVectoredExceptionHandler(1, translate);
    try {
        work();
    } catch (int) {
        printf("caught a number\n");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (strcmp(argv[1], "uncaught") == 0)
        return let_the_marker_pass();
    if (strcmp(argv[1], "small") == 0 && argc > 2)
        return cover_with_little_stack(strtoul(argv[2], nullptr, 0));
    cover(argv[1]);
    unsigned long reserved = 0;
    SetThreadStackGuarantee(&reserved);
    printf("stack %s\n", reserved >= WENDAX_REPORT_STACK ? "reserved" : "not reserved");
    try {
        work();
    } catch (char* marker) {
        printf("caught %s\n", strcmp(marker, WENDAX_MARKER) == 0 ? "the marker" : marker);
    } catch (...) {
        printf("caught something\n");
    }
    fflush(stdout);
    return 0;
}
