// The memory of report objects. A host makes its own in the runtime's heap, but to delete one always ends here, in the
// virtual destructor; the library's own lies in its own heap.
#pragma once

#include <stddef.h>

namespace report {

// Memory for the library's own report, of which there is one at a time; null when there is none.
void* allocate_own(size_t size);

// Gives a report object's memory back to whom it came from.
void release(void* block) noexcept;

} // namespace report
