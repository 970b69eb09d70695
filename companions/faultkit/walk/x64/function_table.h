// Which function of an image holds an address, by the image's own table of functions (.pdata).
#pragma once

#include "companions/faultkit/capture/image.h"
#include "companions/faultkit/memory.h"

namespace faultkit {

// Offsets in the image.
struct FunctionEntry {
    uint32_t begin, end;
    uint32_t unwind; // of the unwind data
};

// False when the table has no entry for the address, as for functions that take no stack and call nothing; or when the
// table can't be read.
bool find_function(Memory& memory, const Image& image, Address address, FunctionEntry* function);

} // namespace faultkit
