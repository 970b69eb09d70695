// What can be wrong in a process by the time of its report.
#pragma once

// Brings about the condition of that name, with its argument if it takes one; false if there is none of the name.
//
//   memory           no memory is left, neither in the address space nor in the heaps
//   blocks KIB       Wendax.dll gets no larger block of memory
//   heap             the heap's own records are overwritten
//   gdi              no GDI object can be made any more
//   fault FUNCTION   Wendax.dll meets a fault in place of that imported function
//   registry         no registry key can be opened by Wendax.dll
//   printers         the spooler is not running
//   slow-printers    the spooler answers after three seconds
bool make_condition(const char* name, const char* argument);
bool takes_argument(const char* name);

// Gives back enough of the memory for the host to go on.
void end_conditions();
