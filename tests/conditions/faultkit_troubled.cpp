// Stand-ins for faultkit.dll that do a report no good: FAULT_IN_REASON, FAULT_IN_STACK (after two lines) or neither,
// with frames without end. With THROWING what they meet is no fault but a C++ exception of a type of their own.
#include <windows.h>

namespace {

int lines_given;

struct HelperError {
    int code;
};

[[maybe_unused]] void fault() {
#ifdef THROWING
    throw HelperError{1};
#else
    *static_cast<volatile int*>(nullptr) = 1;
#endif
}

} // namespace

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS*) {
#ifdef FAULT_IN_REASON
    fault();
#endif
    return "the reason";
}

extern "C" const char* __cdecl GetFirstStackTraceString(unsigned, EXCEPTION_POINTERS*) {
#ifdef FAULT_IN_FIRST_LINE
    fault();
#endif
    lines_given = 1;
    return "frame";
}

extern "C" const char* __cdecl GetNextStackTraceString(unsigned, EXCEPTION_POINTERS*) {
#ifdef FAULT_IN_STACK
    if (++lines_given > 2)
        fault();
#endif
    return "frame";
}
