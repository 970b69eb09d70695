// The memory of report objects. Hosts that were built without the classes' own operators make theirs in a heap of their
// runtime's, but to delete one always ends here, in the virtual destructor.
#pragma once

#include <stddef.h>

namespace report {

// Memory in the library's heap; null when there is none.
void* allocate(size_t size) noexcept;

// Gives a block back to the heap that it came from: the library's, or the first of the process's in which it is a valid
// block. One that is in none of them stays.
void release(void* block) noexcept;

} // namespace report
