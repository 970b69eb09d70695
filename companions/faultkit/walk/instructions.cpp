// The byte behind an opcode (ModRM) says by its mode and base how the operand is addressed, and so how many bytes
// follow.
#include "companions/faultkit/walk/instructions.h"

namespace faultkit {

uint32_t length_with_modrm(const uint8_t* code) {
    const uint32_t mode = code[1] >> 6, base = code[1] & 7;
    if (mode == 3)
        return 2;
    const uint32_t length = base == 4 ? 3 : 2;
    if (mode == 1)
        return length + 1;
    const bool lone_displacement = mode == 0 && (base == 5 || (base == 4 && (code[2] & 7) == 5));
    return mode == 2 || lone_displacement ? length + 4 : length;
}

uint32_t length_of_indirect_call_before(const uint8_t* end, uint32_t before) {
    for (uint32_t length = 2; length <= before; ++length) {
        const uint8_t* const code = end - length;
        if (code[0] == 0xFF && (code[1] >> 3 & 7) == 2 && length_with_modrm(code) == length)
            return length;
    }
    return 0;
}

} // namespace faultkit
