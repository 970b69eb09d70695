#include "tests/faultkit/machine_faults.h"

#include <stdio.h>

void __attribute__((naked)) fault_with_bad_frame_pointer() {
    __asm__("push %ebp\n"
            "mov $0x12345679, %ebp\n"
            "movl $1, 0\n"
            "pop %ebp\n"
            "ret\n");
}

void __attribute__((naked)) fault_with_circular_chain() {
    __asm__("push %ebp\n"
            "push $0\n"
            "push %esp\n"
            "mov %esp, %ebp\n"
            "movl %ebp, (%ebp)\n"
            "movl $1, 0\n"
            "add $8, %esp\n"
            "pop %ebp\n"
            "ret\n");
}

// Which no image says of 32-bit code.
void fault_without_unwind_data() {
    fault_with_bad_frame_pointer();
}

void trap_overflow() {
    __asm__ volatile("movb $127, %%al\n\taddb $1, %%al\n\tinto" : : : "eax", "cc");
}

void set_instruction(CONTEXT* context, const void* instruction) {
    context->Eip = reinterpret_cast<DWORD>(instruction);
}

void tell_walk(const STACKFRAME64& frame, const CONTEXT& context) {
    fprintf(stderr, "dbghelp: walk from %08lX %08lX %08lX, registers %08lX %08lX %08lX\n",
            static_cast<DWORD>(frame.AddrPC.Offset), static_cast<DWORD>(frame.AddrStack.Offset),
            static_cast<DWORD>(frame.AddrFrame.Offset), context.Eip, context.Esp, context.Ebp);
}

BOOL follow_frame_pointer(STACKFRAME64* frame, CONTEXT* context, PREAD_PROCESS_MEMORY_ROUTINE64 read) {
    DWORD link[2], done;
    if (!frame->Virtual)
        return frame->Virtual = TRUE;
    if (!read(nullptr, context->Ebp, link, sizeof link, &done))
        return FALSE;
    context->Esp = context->Ebp + sizeof link;
    context->Ebp = link[0];
    frame->AddrPC.Offset = context->Eip = link[1];
    return TRUE;
}
