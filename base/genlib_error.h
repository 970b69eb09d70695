// The exceptions of the containers, as hosts know them too. All are thrown by value and caught by reference; none owns
// memory, so that throwing one works when the heap is exhausted. Out of memory: the allocator returned null, or the
// wanted size is beyond what one block can hold. Out of range: a checked access named an element that is not there; the
// size of a string is its length, the NUL not counted.
#pragma once

#include "include/wendax_error.h"

namespace gen {

static_assert(sizeof(genlib_out_of_range) == 8, "hosts read the two fields at 0 and 4");

// Out of line, so that each inlined check costs its caller a compare and a call.
[[noreturn]] void throw_out_of_memory();
[[noreturn]] void throw_out_of_range(unsigned index, unsigned size);

} // namespace gen
