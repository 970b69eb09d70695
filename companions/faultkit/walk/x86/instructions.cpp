// The byte behind an opcode (ModRM) says by its mode and base how the operand is addressed, and so how many bytes
// follow.

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {

uint32_t length_of_neutral(const uint8_t* code) {
    switch (code[0]) {
    case 0x31: // xor, mov, lea, test
    case 0x33:
    case 0x85:
    case 0x89:
    case 0x8B:
    case 0x8D:
        return length_with_modrm(code);
    case 0xA1: // mov eax, [address]
        return 5;
    default:
        return code[0] >= 0xB8 && code[0] <= 0xBF ? 5 : 0; // mov reg, value
    }
}

uint32_t length_of_filler(const uint8_t* code, uint32_t size) {
    uint32_t prefixes = 0;
    while (prefixes < size && (code[prefixes] == 0x66 || code[prefixes] == 0x2E))
        ++prefixes;
    code += prefixes;
    size -= prefixes;
    if (size >= 1 && code[0] == 0x90)
        return prefixes + 1;
    if (size < 2)
        return 0;
    if (code[0] == 0x8B && code[1] == 0xFF)
        return prefixes + 2;
    const bool long_nop = code[0] == 0x0F && code[1] == 0x1F;
    if (!long_nop && code[0] != 0x8D)
        return 0;
    const uint32_t opcode = long_nop ? 2 : 1;
    if (size <= opcode)
        return 0;
    const uint32_t mode = code[opcode] >> 6, base = code[opcode] & 7;
    const uint32_t displacement = mode == 1 ? 1 : mode == 2 ? 4 : 0;
    const uint32_t length = opcode + 1 + (base == 4 && mode != 3) + displacement;
    if (size < length || (!long_nop && !displacement))
        return 0;
    for (uint32_t i = length - displacement; i < length; ++i)
        if (code[i])
            return 0;
    return prefixes + length;
}

} // namespace faultkit
