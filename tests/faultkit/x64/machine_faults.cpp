#include "tests/faultkit/machine_faults.h"

void __attribute__((naked)) fault_with_bad_frame_pointer() {
    __asm__("push %rbp\n"
            "movabs $0x1234567812345679, %rbp\n"
            "movl $1, 0\n"
            "pop %rbp\n"
            "ret\n");
}

void __attribute__((naked)) fault_with_circular_chain() {
    __asm__("push %rbp\n"
            "push $0\n"
            "push %rsp\n"
            "mov %rsp, %rbp\n"
            "movq %rbp, (%rbp)\n"
            "movl $1, 0\n"
            "add $16, %rsp\n"
            "pop %rbp\n"
            "ret\n");
}

void trap_overflow() {
    __asm__ volatile("int $4");
}

void set_instruction(CONTEXT* context, const void* instruction) {
    context->Rip = reinterpret_cast<DWORD64>(instruction);
}

BOOL follow_frame_pointer(STACKFRAME64*, CONTEXT*, PREAD_PROCESS_MEMORY_ROUTINE64) {
    return FALSE;
}
