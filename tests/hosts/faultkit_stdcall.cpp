// A stand-in for faultkit.dll whose entries remove their own arguments from the stack.
#include <windows.h>

namespace {

int lines_given;

} // namespace

extern "C" const char* __stdcall GetFaultReason(EXCEPTION_POINTERS*) {
    return "stdcall reason";
}

extern "C" const char* __stdcall GetFirstStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    lines_given = 0;
    return "stdcall line";
}

extern "C" const char* __stdcall GetNextStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    return ++lines_given > 500 ? nullptr : "stdcall line";
}
