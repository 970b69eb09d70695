#include "report/fault_helper.h"

#include "base/std_string.h"

namespace {

constexpr unsigned kStackOptions = 15; // all pieces of a stack line that the helper knows

CStdString helper_path() {
    CStdString path;
    GetModuleFileNameA(nullptr, path.get_buffer(1024), 1024);
    path.release_buffer();
    path.at(0); // throws when the executable has no path
    CStdString helper = path.left(path.rfind('\\'));
    helper += "\\faultkit.dll";
    return helper;
}

// The entries are __cdecl, and a helper built with __stdcall removes its arguments itself: the stack pointer is kept in
// a register over the call, so that either does. No object with a destructor lives in these two functions: should the
// helper fault, the fault passes through them.
__attribute__((noinline)) const char* call(FARPROC entry, const void* argument) {
    const char* result;
    __asm__ volatile("movl %%esp, %%esi\n\t"
                     "pushl %2\n\t"
                     "call *%1\n\t"
                     "movl %%esi, %%esp"
                     : "=a"(result)
                     : "c"(entry), "d"(argument)
                     : "esi", "memory", "cc");
    return result;
}

__attribute__((noinline)) const char* call(FARPROC entry, unsigned options, const void* argument) {
    const char* result;
    __asm__ volatile("movl %%esp, %%esi\n\t"
                     "pushl %3\n\t"
                     "pushl %2\n\t"
                     "call *%1\n\t"
                     "movl %%esi, %%esp"
                     : "=a"(result)
                     : "0"(entry), "c"(options), "d"(argument)
                     : "esi", "memory", "cc");
    return result;
}

} // namespace

FaultHelper::FaultHelper() : m_library(LoadLibraryA(helper_path().c_str())) {
    if (!m_library)
        return;
    m_reason = GetProcAddress(m_library.get(), "GetFaultReason");
    m_first_line = GetProcAddress(m_library.get(), "GetFirstStackTraceString");
    m_next_line = GetProcAddress(m_library.get(), "GetNextStackTraceString");
}

const char* FaultHelper::reason(EXCEPTION_POINTERS* pointers) const {
    return call(m_reason, pointers);
}

const char* FaultHelper::first_stack_line(EXCEPTION_POINTERS* pointers) const {
    return call(m_first_line, kStackOptions, pointers);
}

const char* FaultHelper::next_stack_line(EXCEPTION_POINTERS* pointers) const {
    return call(m_next_line, kStackOptions, pointers);
}
