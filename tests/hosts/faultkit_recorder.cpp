// A stand-in for faultkit.dll that answers with what it was called with.
#include <windows.h>
#include <stdio.h>

namespace {

char text[256];
int lines_given;

const char* line(const char* which, unsigned options, EXCEPTION_POINTERS* pointers) {
    sprintf(text, "%s line %d options %u code %08lX", which, lines_given, options,
            pointers->ExceptionRecord->ExceptionCode);
    return text;
}

} // namespace

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS* pointers) {
    sprintf(text, "reason code %08lX address %p", pointers->ExceptionRecord->ExceptionCode,
            pointers->ExceptionRecord->ExceptionAddress);
    return text;
}

extern "C" const char* __cdecl GetFirstStackTraceString(unsigned options, EXCEPTION_POINTERS* pointers) {
    lines_given = 0;
    return line("first", options, pointers);
}

// Two further lines, then the end.
extern "C" const char* __cdecl GetNextStackTraceString(unsigned options, EXCEPTION_POINTERS* pointers) {
    return ++lines_given > 2 ? nullptr : line("next", options, pointers);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    // A box of the system's own, had this file been damaged.
    if (reason == DLL_PROCESS_ATTACH && !(GetErrorMode() & SEM_FAILCRITICALERRORS))
        puts("faultkit.dll: a box could show");
    return TRUE;
}
