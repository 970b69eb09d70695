// A stack of any size, as small as Windows gives to threads that ask for little: Wine makes none below 1 MB.
#pragma once

#include <windows.h>

struct SmallStack {
    char* end;  // one past its highest byte
    char* base; // its lowest byte
};

// Calls the function with the thread's stack replaced; handlers of the callers can't be reached from in there.
__attribute__((naked, noinline)) inline void __cdecl call_on(const SmallStack*, void(__cdecl*)()) {
    __asm__("pushl %ebp\n\t"
            "movl %esp, %ebp\n\t"
            "pushl %ebx\n\t"
            "pushl %fs:0\n\t"     // the handlers
            "pushl %fs:4\n\t"     // the stack's end
            "pushl %fs:8\n\t"     // how far down it is committed
            "pushl %fs:0xE0C\n\t" // its base
            "movl 8(%ebp), %ecx\n\t"
            "movl 12(%ebp), %eax\n\t"
            "movl %esp, %ebx\n\t"
            "movl (%ecx), %esp\n\t"
            "movl $-1, %fs:0\n\t"
            "movl %esp, %fs:4\n\t"
            "movl 4(%ecx), %ecx\n\t"
            "movl %ecx, %fs:0xE0C\n\t"
            "movl %ecx, %fs:8\n\t"
            "calll *%eax\n\t"
            "movl %ebx, %esp\n\t"
            "popl %fs:0xE0C\n\t"
            "popl %fs:8\n\t"
            "popl %fs:4\n\t"
            "popl %fs:0\n\t"
            "popl %ebx\n\t"
            "popl %ebp\n\t"
            "retl\n");
}

inline void call_on_small_stack(unsigned size, void(__cdecl* function)()) {
    char* const base = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    const SmallStack stack = {base + size, base};
    call_on(&stack, function);
    VirtualFree(base, 0, MEM_RELEASE);
}
