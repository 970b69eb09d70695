// Loads the helper by its full path, never by a search, and calls it so that neither its calling convention nor its
// number of arguments can upset the stack.
#include "report/fault_helper.h"

#include <stdint.h>
#include <string.h>

#include "base/std_string.h"
#include "win/library.h"

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

// Where the folder's name has letters that the ANSI code page lacks, only its wide name leads to the helper.
HMODULE load_by_wide_path() {
    static const wchar_t kName[] = L"faultkit.dll";
    constexpr unsigned kLongest = 1024; // characters
    wchar_t path[kLongest + sizeof kName];
    unsigned end = GetModuleFileNameW(nullptr, path, kLongest);
    while (end && path[end - 1] != L'\\')
        --end;
    if (!end)
        return nullptr;
    memcpy(path + end, kName, sizeof kName);
    return win::load_quietly(path);
}

// The entries are __cdecl, and a helper built with __stdcall removes its arguments itself: the stack pointer is kept in
// a register over the call, so that either does, and an argument more than the entry takes does no harm. No object with
// a destructor lives in this function: should the helper fault, the fault passes through it.
__attribute__((noinline)) const char* call(FARPROC entry, uintptr_t first, uintptr_t second) {
    uintptr_t entry_then_result = reinterpret_cast<uintptr_t>(entry);
    __asm__ volatile("movl %%esp, %%esi\n\t"
                     "pushl %[second]\n\t"
                     "pushl %[first]\n\t"
                     "call *%[entry]\n\t"
                     "movl %%esi, %%esp"
                     : [entry] "+a"(entry_then_result), [first] "+c"(first), [second] "+d"(second)
                     :
                     : "esi", "memory", "cc", "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)",
                       "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
    return reinterpret_cast<const char*>(entry_then_result);
}

uintptr_t argument(const EXCEPTION_POINTERS* pointers) {
    return reinterpret_cast<uintptr_t>(pointers);
}

} // namespace

FaultHelper::FaultHelper() : m_library(win::load_quietly(helper_path().c_str())) {
    if (!m_library)
        m_library.reset(load_by_wide_path());
    if (!m_library)
        return;
    m_reason = GetProcAddress(m_library.get(), "GetFaultReason");
    m_first_line = GetProcAddress(m_library.get(), "GetFirstStackTraceString");
    m_next_line = GetProcAddress(m_library.get(), "GetNextStackTraceString");
}

const char* FaultHelper::reason(EXCEPTION_POINTERS* pointers) const {
    return call(m_reason, argument(pointers), 0);
}

const char* FaultHelper::first_stack_line(EXCEPTION_POINTERS* pointers) const {
    return call(m_first_line, kStackOptions, argument(pointers));
}

const char* FaultHelper::next_stack_line(EXCEPTION_POINTERS* pointers) const {
    return call(m_next_line, kStackOptions, argument(pointers));
}
