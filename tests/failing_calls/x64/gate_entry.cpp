// The gate as 64-bit code enters it.
#include "tests/failing_calls/gate_entry.h"

#include <stddef.h>
#include <string.h>

static_assert(offsetof(Call, words) == 8, "gate_entry reads it there");

// Entered by a stub, with the call in r11. The caller's four registers go to the places that it keeps for them, so that
// all arguments lie in a row; up to 20 of them are handed on. Unwinding passes through here.
__asm__(".text\n"
        ".globl gate_entry\n"
        ".def gate_entry; .scl 2; .type 32; .endef\n"
        ".seh_proc gate_entry\n"
        "gate_entry:\n\t"
        "pushq %rbp\n\t"
        ".seh_pushreg %rbp\n\t"
        "pushq %rbx\n\t"
        ".seh_pushreg %rbx\n\t"
        "pushq %rsi\n\t"
        ".seh_pushreg %rsi\n\t"
        "subq $0xB0, %rsp\n\t"
        ".seh_stackalloc 0xB0\n\t"
        ".seh_endprologue\n\t"
        "leaq 0xD0(%rsp), %rsi\n\t" // the arguments, behind the return address
        "movq %rcx, (%rsi)\n\t"
        "movq %rdx, 8(%rsi)\n\t"
        "movq %r8, 16(%rsi)\n\t"
        "movq %r9, 24(%rsi)\n\t"
        "movq %r11, %rbx\n\t"
        "movq %rbx, %rcx\n\t"
        "movq %rsi, %rdx\n\t"
        "callq gate_before\n\t"
        "testq %rax, %rax\n\t"
        "jz 2f\n\t"
        "movl 8(%rbx), %ecx\n\t"
        "incl %ecx\n\t" // a member function's object
        "1: cmpl $4, %ecx\n\t"
        "jbe 3f\n\t"
        "decl %ecx\n\t"
        "movq (%rsi, %rcx, 8), %rdx\n\t"
        "movq %rdx, (%rsp, %rcx, 8)\n\t"
        "jmp 1b\n\t"
        "3: movq (%rsi), %rcx\n\t"
        "movq 8(%rsi), %rdx\n\t"
        "movq 16(%rsi), %r8\n\t"
        "movq 24(%rsi), %r9\n\t"
        "callq *%rax\n\t"
        "movq %rbx, %rcx\n\t"
        "movq %rsi, %rdx\n\t"
        "movq %rax, %r8\n\t"
        "movq -8(%rsi), %r9\n\t"
        "callq gate_after\n\t"
        "jmp 4f\n\t"
        "2: movq %rbx, %rcx\n\t"
        "callq gate_failed\n\t"
        "4: addq $0xB0, %rsp\n\t"
        "popq %rsi\n\t"
        "popq %rbx\n\t"
        "popq %rbp\n\t"
        "retq\n"
        ".seh_endproc\n");

extern "C" void gate_entry();

void write_stub(unsigned char* code, const Call& call) {
    const auto put = [](unsigned char* to, const void* value) { memcpy(to, &value, sizeof value); };
    code[0] = 0x49; // mov r11
    code[1] = 0xBB;
    put(code + 2, &call);
    code[10] = 0x48; // mov rax
    code[11] = 0xB8;
    put(code + 12, reinterpret_cast<const void*>(gate_entry));
    code[20] = 0xFF; // jmp rax
    code[21] = 0xE0;
}
