// A stand-in for faultkit.dll that tells all of an access violation's record.
#include <windows.h>
#include <stdio.h>

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS* pointers) {
    static char text[128];
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    sprintf(
        text, "code %08lX flags %lX parameters %lu kind %lu place %lu at %s", record.ExceptionCode,
        record.ExceptionFlags, record.NumberParameters, record.ExceptionInformation[0], record.ExceptionInformation[1],
        reinterpret_cast<uintptr_t>(record.ExceptionAddress) == pointers->ContextRecord->Eip ? "eip" : "another place");
    return text;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
