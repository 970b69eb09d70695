// Stand-ins for faultkit.dll that do a report no good. TROUBLE says which: "faulting_in_" or "throwing_in_", with
// "reason", "first_line" or "stack" (after two lines), or "without_end", with frames without end.
#include <windows.h>
#include <string.h>

namespace {

int lines_given;

// Of a type of their own.
struct HelperError {
    int code;
};

void come_to(const char* place) {
    const char* const troubled = strstr(TROUBLE, "_in_");
    if (!troubled || strcmp(troubled + 4, place) != 0)
        return;
    if (strncmp(TROUBLE, "throwing", 8) == 0)
        throw HelperError{1};
    *static_cast<volatile int*>(nullptr) = 1;
}

} // namespace

extern "C" const char* __cdecl GetFaultReason(EXCEPTION_POINTERS*) {
    come_to("reason");
    return "the reason";
}

extern "C" const char* __cdecl GetFirstStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    come_to("first_line");
    lines_given = 1;
    return "frame";
}

extern "C" const char* __cdecl GetNextStackTraceString(unsigned, EXCEPTION_POINTERS*) {
    if (++lines_given > 2)
        come_to("stack");
    return "frame";
}
