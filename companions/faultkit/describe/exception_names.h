// Names of exception codes.
#pragma once

#include <stdint.h>

namespace faultkit {

struct ExceptionName {
    uint32_t code;
    const char* name;  // the constant of the system's headers, or what its maker calls it
    const char* words; // what happened, for a reader who doesn't know the constant; may be empty
};

// The entry of a code, or null when it is not a common one. Points to constant storage.
const ExceptionName* find_exception_name(uint32_t code);

// Whether the code is one of the floating point exceptions, whose registers are worth printing.
bool is_float_exception(uint32_t code);

} // namespace faultkit
