#pragma once

#include <stdint.h>

namespace faultkit {

struct Registers {
    uint32_t eax, ebx, ecx, edx, esi, edi, ebp, esp, eip, flags;
    uint16_t cs, ds, es, fs, gs, ss;
};

} // namespace faultkit
