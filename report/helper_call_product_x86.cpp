// The entries are __cdecl, and a helper built with __stdcall removes its arguments itself: the stack pointer is kept in
// a register over the call, so that either does, and an argument more than the entry takes does no harm. No object with
// a destructor lives in this function: should the helper fault, the fault passes through it.
#include "report/fault_helper.h"

__attribute__((noinline)) const char* report::call_helper(FARPROC entry, uintptr_t first, uintptr_t second) {
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
