// Changing stacks in 64-bit programs.
#pragma once

#include "testing/cxx/small_stack.h"

// Calls the function with the thread's stack replaced; handlers of the callers can't be reached from in there. Nor can
// those that Wine's own code keeps in a list, as 32-bit code does: a frame of the old stack that lies below the new one
// would count as an inner one, and Wine's last handler come before the function's.
__attribute__((naked, noinline)) inline void call_on(const SmallStack*, void (*)()) {
    __asm__("pushq %rbx\n\t"
            "pushq %gs:0\n\t"      // the list of handlers
            "pushq %gs:8\n\t"      // the stack's end
            "pushq %gs:0x10\n\t"   // how far down it is committed
            "pushq %gs:0x1478\n\t" // its base
            "movq %rsp, %rbx\n\t"
            "movq (%rcx), %rsp\n\t"
            "movq $-1, %gs:0\n\t"
            "movq %rsp, %gs:8\n\t"
            "movq 8(%rcx), %rax\n\t"
            "movq %rax, %gs:0x10\n\t"
            "movq %rax, %gs:0x1478\n\t"
            "subq $32, %rsp\n\t" // where the function may keep its arguments
            "callq *%rdx\n\t"
            "movq %rbx, %rsp\n\t"
            "popq %gs:0x1478\n\t"
            "popq %gs:0x10\n\t"
            "popq %gs:8\n\t"
            "popq %gs:0\n\t"
            "popq %rbx\n\t"
            "retq\n");
}
