// The type of a thrown C++ object, from the exception's parameters.
#pragma once

#include "companions/faultkit/memory.h"

namespace faultkit {

// Copies the decorated name (".?AVCFileException@@") of the most derived type of a C++ exception's object. `type`
// becomes empty when the parameters don't lead to one.
void read_thrown_type(Memory& memory, const Address* parameters, uint32_t count, char (&type)[128]);

} // namespace faultkit
