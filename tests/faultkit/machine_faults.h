// Faults and walks that are brought about by the processor's own instructions: one source for each machine.
#pragma once

#include <windows.h>
#include <dbghelp.h>

// Faults with a frame pointer that leads nowhere.
void fault_with_bad_frame_pointer();
// Faults where the chain of frame pointers is a circle.
void fault_with_circular_chain();
// Faults with something on the stack of which the image says nothing.
void fault_without_unwind_data();
// Lets the processor trap an overflow of integers.
void trap_overflow();

// The context's instruction becomes another one.
void set_instruction(CONTEXT* context, const void* instruction);

// Tells the standard error from which frame a debugging library is asked to walk, and from which registers: program
// counter, stack pointer, frame pointer. Nothing where no library is asked to walk.
void tell_walk(const STACKFRAME64& frame, const CONTEXT& context);

// A step of a debugging library that follows the frame pointers alone: the first answer is the frame itself, the next
// one its caller. Always false where no library is asked to walk.
BOOL follow_frame_pointer(STACKFRAME64* frame, CONTEXT* context, PREAD_PROCESS_MEMORY_ROUTINE64 read);
