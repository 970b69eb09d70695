// The gate as 32-bit code enters it.
#include "tests/failing_calls/gate_entry.h"

#include <string.h>

extern "C" {

// Entered by a stub, which has pushed its call: [ebp + 4] call, [ebp + 8] return address, [ebp + 12] arguments.
__attribute__((naked)) void gate_entry() {
    __asm__ volatile("pushl %ebp\n\t"
                     "movl %esp, %ebp\n\t"
                     "pushl %ecx\n\t"
                     "pushl %edx\n\t"
                     "leal 12(%ebp), %eax\n\t"
                     "pushl %eax\n\t"
                     "pushl 4(%ebp)\n\t"
                     "call _gate_before\n\t"
                     "addl $8, %esp\n\t"
                     "testl %eax, %eax\n\t"
                     "jz 2f\n\t"
                     "movl 4(%ebp), %edx\n\t"
                     "movl 4(%edx), %ecx\n\t"
                     "1: testl %ecx, %ecx\n\t"
                     "jz 3f\n\t"
                     "pushl 8(%ebp, %ecx, 4)\n\t"
                     "decl %ecx\n\t"
                     "jmp 1b\n\t"
                     "3: movl -4(%ebp), %ecx\n\t" // a member function's object
                     "call *%eax\n\t"
                     "leal -8(%ebp), %esp\n\t"
                     "pushl %edx\n\t" // the upper half of a 64-bit answer
                     "pushl 8(%ebp)\n\t"
                     "pushl %eax\n\t"
                     "leal 12(%ebp), %eax\n\t"
                     "pushl %eax\n\t"
                     "pushl 4(%ebp)\n\t"
                     "call _gate_after\n\t"
                     "addl $16, %esp\n\t"
                     "popl %edx\n\t"
                     "jmp 4f\n\t"
                     "2: pushl 4(%ebp)\n\t"
                     "call _gate_failed\n\t"
                     "cltd\n\t"
                     "4: movl 4(%ebp), %ecx\n\t"
                     "movl 8(%ecx), %ecx\n\t"
                     "pushl 8(%ebp)\n\t"
                     "popl 8(%ebp, %ecx)\n\t" // where the function's own return would leave the stack
                     "leal 8(%ebp, %ecx), %ecx\n\t"
                     "movl (%ebp), %ebp\n\t"
                     "movl %ecx, %esp\n\t"
                     "ret");
}
}

void write_stub(unsigned char* code, const Call& call) {
    const auto put = [](unsigned char* to, DWORD value) { memcpy(to, &value, sizeof value); };
    code[0] = 0x68; // push
    put(code + 1, reinterpret_cast<DWORD>(&call));
    code[5] = 0xE9; // jmp
    put(code + 6, reinterpret_cast<DWORD>(gate_entry) - reinterpret_cast<DWORD>(code + 10));
}
