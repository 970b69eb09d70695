// Compilers align functions to 16 bytes and fill the gap: with int3 (as do linkers), or, behind a return, with
// instructions that do nothing. A return alone in front of an aligned address proves little, as functions return early.
// The first instructions of a frame, "push ebp; mov ebp, esp", are believed anywhere: nothing else in a function does
// that.
#include "companions/faultkit/function_bounds.h"

#include <string.h>

namespace faultkit {
namespace {

constexpr uint32_t kAlignment = 16;
constexpr uint32_t kBehind = 20; // bytes that is_gap_before looks at
constexpr uint32_t kPrologueSize = 3;

bool is_return_before(const uint8_t* end) {
    return end[-1] == 0xC3 || (end[-3] == 0xC2 && end[-1] == 0);
}

// Length of the filler instruction at the start of [code, code + size), 0 when it is none: nop in its short and long
// forms, and "mov edi, edi" and "lea reg, [reg + 0]" in the forms that assemblers pad with.
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

bool is_filler(const uint8_t* code, uint32_t size) {
    while (size) {
        const uint32_t length = length_of_filler(code, size);
        if (!length || length > size)
            return false;
        code += length;
        size -= length;
    }
    return true;
}

// kBehind bytes in front of end are readable.
bool is_gap_before(const uint8_t* end) {
    if (end[-1] == 0xCC)
        return true;
    for (uint32_t size = 1; size < kAlignment; ++size)
        if (is_return_before(end - size) && is_filler(end - size, size))
            return true;
    return false;
}

bool is_push_and_move(const uint8_t* code) {
    return code[0] == 0x55 && ((code[1] == 0x8B && code[2] == 0xEC) || (code[1] == 0x89 && code[2] == 0xE5));
}

// A prologue that lets a helper of the C runtime set up the frame and the exception handler.
bool is_helper_prologue(const uint8_t* code) {
    return (code[0] == 0x6A && code[2] == 0x68 && code[7] == 0xE8) ||
           (code[0] == 0x68 && code[5] == 0x68 && code[10] == 0xE8) || (code[0] == 0xB8 && code[5] == 0xE8);
}

FunctionBounds function_at(Memory& memory, uint32_t start) {
    FunctionBounds function = {start, false, 0};
    uint8_t code[kPrologueReach + kPrologueSize - 1] = {};
    if (!memory.read(start, code, sizeof code))
        return function;
    for (uint32_t i = 0; i < kPrologueReach && !function.framed; ++i)
        if (is_push_and_move(code + i)) {
            function.framed = true;
            function.push = start + i;
        }
    function.framed = function.framed || is_helper_prologue(code);
    return function;
}

// Length of an instruction with a ModRM byte at `code`, without its immediate operand.
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

// Length of an instruction that compilers mix into a prologue and that leaves the stack alone; 0 for any other.
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

uint32_t four_bytes(const uint8_t* bytes) {
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

} // namespace

// Only a first push of a register that the callee must keep is counted: any other may be an argument, gone by now.
uint32_t stack_taken(Memory& memory, uint32_t start, uint32_t address) {
    constexpr uint32_t kReach = 48, kLongest = 8;
    uint8_t code[kReach + kLongest] = {};
    if (!memory.read(start, code, kReach) && !memory.read(start, code, kReach / 4))
        return 0;
    uint32_t taken = 0, pushed = 0;
    for (uint32_t at = 0; at < kReach && start + at < address;) {
        const uint8_t* here = code + at;
        const uint32_t reg = here[0] - 0x50u; // of push
        if (reg == 3 || (reg >= 5 && reg <= 7)) {
            if (pushed & 1u << reg)
                return taken;
            pushed |= 1u << reg;
            taken += 4;
            at += 1;
        } else if (here[0] == 0x83 && here[1] == 0xEC) { // sub esp, byte
            taken += here[2];
            at += 3;
        } else if (here[0] == 0x81 && here[1] == 0xEC) { // sub esp, value
            taken += four_bytes(here + 2);
            at += 6;
        } else if (const uint32_t length = length_of_neutral(here)) {
            at += length;
        } else {
            break;
        }
    }
    return taken;
}

FunctionBounds find_function(Memory& memory, const ModuleTable& modules, uint32_t address) {
    constexpr uint32_t kPiece = 512;
    const CodeRange* range = modules.find_code(address);
    if (!range)
        return {};
    uint8_t bytes[kBehind + kPiece + kPrologueSize];
    const uint32_t lowest = address - range->begin > kLargestFunction ? address - kLargestFunction : range->begin;
    for (uint32_t end = address + 1; end > lowest;) {
        const uint32_t begin = end - lowest > kPiece ? end - kPiece : lowest;
        const uint32_t behind = begin - range->begin < kBehind ? begin - range->begin : kBehind;
        const uint32_t ahead = range->end - end < kPrologueSize ? range->end - end : kPrologueSize;
        // What lies before the section is no code: filled in as a gap. What lies behind it is no prologue.
        memset(bytes, 0xCC, sizeof bytes);
        if (!memory.read(begin - behind, bytes + kBehind - behind, behind + (end - begin) + ahead))
            return {};
        for (uint32_t at = end; at-- > begin;) {
            const uint8_t* code = bytes + kBehind + (at - begin);
            const bool aligned = at % kAlignment == 0 && *code != 0xCC && is_gap_before(code);
            if (aligned || is_push_and_move(code))
                return function_at(memory, at);
        }
        end = begin;
    }
    return {};
}

} // namespace faultkit
