// What can be wrong in a process by the time of its report.
#pragma once

// Brings about the condition of that name, with its argument if it takes one; false if there is none of the name.
//
//   memory           no memory is left, neither in the address space nor in the heaps
//   blocks KIB       Wendax.dll gets no larger block of memory
//   heap             the heap's own records are overwritten
//   broken-heap      the runtime's heap is damaged for good: whatever is asked of it faults
//   gdi              no GDI object can be made any more
//   fault FUNCTION   Wendax.dll meets a fault in place of that imported function
//   throw FUNCTION   Wendax.dll meets a C++ exception of an unknown type in place of that imported function
//   contexts         Wendax.dll's device contexts of the screen are counted
//   registry         no registry key can be opened by Wendax.dll
//   printers         the spooler is not running
//   slow-printers    the spooler answers after three seconds
bool make_condition(const char* name, const char* argument);
bool takes_argument(const char* name);

// How many device contexts of the screen Wendax.dll has not given back, since they are counted.
int screen_contexts_held();

// Gives back enough of the memory for the host to go on.
void end_conditions();
