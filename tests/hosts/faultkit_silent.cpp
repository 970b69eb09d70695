// A stand-in for faultkit.dll that knows neither a reason nor a stack.
#include <windows.h>

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS*) {
    return nullptr;
}

extern "C" const char* __cdecl GetFirstStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    return nullptr;
}

extern "C" const char* __cdecl GetNextStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    return "must not be asked";
}
