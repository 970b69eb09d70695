// Changing stacks in 32-bit programs.
#pragma once

#include "testing/cxx/small_stack.h"

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
