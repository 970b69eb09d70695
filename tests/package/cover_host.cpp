// Covers its thread in the way that is named, faults, and says what came of it; built once for each C runtime.
//
// usage: cover_host init | cover | twice | chain
#include <stdio.h>
#include <string.h>

#include "wendax.h"

extern "C" __declspec(dllimport) int __stdcall SetThreadStackGuarantee(unsigned long* bytes);

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

void cover(const char* way) {
    if (strcmp(way, "init") == 0) {
        InitCrushReport();
    } else if (strcmp(way, "chain") == 0) {
        WendaxCoverThread(note_and_pass_on);
    } else {
        printf("before %s\n", WendaxCoverThread() ? "covered" : "bare");
        if (strcmp(way, "twice") == 0)
            printf("again %s\n", WendaxCoverThread() == &APISeTranslator ? "covered" : "bare");
    }
}

} // namespace

int main(int, char** argv) {
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
