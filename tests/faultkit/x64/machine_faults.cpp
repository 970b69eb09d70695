#include "tests/faultkit/machine_faults.h"

// rbp is a register like any other where unwind data tell of it.
__attribute__((noinline)) void fault_with_bad_frame_pointer() {
    __asm__ volatile("movabsq $0x1234567812345679, %%rbp\n\tmovl $1, 0" : : : "rbp", "memory");
}

__attribute__((noinline)) void fault_with_circular_chain() {
    void* link[2] = {link, nullptr};
    __asm__ volatile("movq %0, %%rbp\n\tmovl $1, 0" : : "r"(link) : "rbp", "memory");
}

// In assembly to the last byte, since a compiler describes whatever it makes.
__asm__(".text\n"
        ".globl \"?fault_without_unwind_data@@YAXXZ\"\n"
        "\"?fault_without_unwind_data@@YAXXZ\":\n"
        "pushq %rbp\n"
        "pushq $0\n"
        "movl $1, 0\n"
        "addq $8, %rsp\n"
        "popq %rbp\n"
        "retq\n");

void trap_overflow() {
    __asm__ volatile("int $4");
}

void set_instruction(CONTEXT* context, const void* instruction) {
    context->Rip = reinterpret_cast<DWORD64>(instruction);
}

void tell_walk(const STACKFRAME64&, const CONTEXT&) {}

BOOL follow_frame_pointer(STACKFRAME64*, CONTEXT*, PREAD_PROCESS_MEMORY_ROUTINE64) {
    return FALSE;
}
