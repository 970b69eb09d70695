// The type of a thrown C++ object, from the exception's parameters.
#pragma once

#include "companions/faultkit/memory.h"

namespace faultkit {

// Copies the decorated name (".?AVCFileException@@") of the most derived type of a C++ exception's object. `type`
// becomes empty when the parameters don't lead to one.
void read_thrown_type(Memory& memory, const Address* parameters, uint32_t count, char (&type)[128]);

// Copies what a C++ exception's object says: the text of a std::exception, which its what() gives unless a class
// overrides it, or the one that a thrown char* points to. Runs no code of the object's. `text` becomes empty when there
// is none.
void read_thrown_text(Memory& memory, const Address* parameters, uint32_t count, char* text, uint32_t size);

} // namespace faultkit
