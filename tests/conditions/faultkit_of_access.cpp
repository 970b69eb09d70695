// A stand-in for faultkit.dll that tells all of an access violation's record.
#include <windows.h>
#include <stdio.h>

static uintptr_t instruction(const CONTEXT& context) {
#ifdef _WIN64
    return context.Rip;
#else
    return context.Eip;
#endif
}

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS* pointers) {
    static char text[128];
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    sprintf(text, "code %08lX flags %lX parameters %lu kind %llu place %llu at %s", record.ExceptionCode,
            record.ExceptionFlags, record.NumberParameters, 0ull + record.ExceptionInformation[0],
            0ull + record.ExceptionInformation[1],
            reinterpret_cast<uintptr_t>(record.ExceptionAddress) == instruction(*pointers->ContextRecord)
                ? "eip"
                : "another place");
    return text;
}
