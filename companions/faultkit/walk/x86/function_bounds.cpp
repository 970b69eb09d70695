// Compilers align functions to 16 bytes and fill the gap: with int3 (as do linkers), or with instructions that do
// nothing. The latter, behind a return, are also found inside functions, in front of the target of a jump, so they are
// believed only where the code behind them takes stack. A return alone proves nothing, as functions return early. The
// first instructions of a frame, "push ebp; mov ebp, esp", are believed anywhere: nothing else in a function does that.
#include "companions/faultkit/walk/x86/function_bounds.h"

#include <string.h>

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {
namespace {

constexpr uint32_t kBehind = 24; // bytes that are looked at in front of an address
constexpr uint32_t kPrologueSize = 3;

// Code in front of an address, copied: bytes[-1] is the byte before it.
struct CodeBefore {
    const uint8_t* bytes;
    uint32_t address;
    const CodeRange& section;

    CodeBefore back(uint32_t size) const { return {bytes - size, address - size, section}; }

    bool ends_in_return() const { return bytes[-1] == 0xC3 || (bytes[-3] == 0xC2 && bytes[-1] == 0); }

    // A call or jump whose target is in the section.
    bool ends_in_branch() const {
        const uint32_t target = address + four_bytes(bytes - 4);
        return (bytes[-5] == 0xE9 || bytes[-5] == 0xE8) && target >= section.begin && target < section.end;
    }

    // What may be a function's last instruction: a return, a jump, or a call that never returns.
    bool ends_in_end() const {
        const uint8_t last = bytes[-1] & 0xF8;
        return ends_in_return() || ends_in_branch() || bytes[-2] == 0xEB ||
               (bytes[-2] == 0xFF && (last == 0xD0 || last == 0xE0)) ||
               (bytes[-6] == 0xFF && (bytes[-5] == 0x15 || bytes[-5] == 0x25)) ||
               (bytes[-2] == 0x0F && bytes[-1] == 0x0B);
    }
};

bool is_filler(const uint8_t* code, uint32_t size) {
    while (size) {
        const uint32_t length = length_of_filler(code, size);
        if (!length)
            return false;
        code += length;
        size -= length;
    }
    return true;
}

// Whether int3 fills a gap there. A run of them may also be part of a constant: 0xCCCCCCCD divides by ten.
bool ends_in_int3(const CodeBefore& code) {
    uint32_t run = 0;
    while (run < kAlignment && code.bytes[-1 - static_cast<int>(run)] == 0xCC)
        ++run;
    return run == kAlignment || (run && code.back(run).ends_in_end());
}

bool ends_in_filler(const CodeBefore& code) {
    for (uint32_t size = 1; size < kAlignment; ++size)
        if (code.back(size).ends_in_end() && is_filler(code.bytes - size, size))
            return true;
    return false;
}

// "push" of a register that the callee keeps, or "sub esp": so begins whatever calls others.
bool takes_stack(const uint8_t* code) {
    return code[0] == 0x53 || (code[0] >= 0x55 && code[0] <= 0x57) ||
           ((code[0] == 0x83 || code[0] == 0x81) && code[1] == 0xEC);
}

bool is_push_and_move(const uint8_t* code) {
    return code[0] == 0x55 && ((code[1] == 0x8B && code[2] == 0xEC) || (code[1] == 0x89 && code[2] == 0xE5));
}

// A prologue that lets a helper of the C runtime set up the frame and the exception handler.
bool is_helper_prologue(const uint8_t* code) {
    return (code[0] == 0x6A && code[2] == 0x68 && code[7] == 0xE8) ||
           (code[0] == 0x68 && code[5] == 0x68 && code[10] == 0xE8) || (code[0] == 0xB8 && code[5] == 0xE8);
}

} // namespace

// Only a first push of a register that the callee must keep is counted: any other may be an argument, gone by now.
Prologue read_prologue(Memory& memory, uint32_t start, uint32_t address) {
    constexpr uint32_t kReach = 48, kLongest = 8, kEbp = 5;
    uint8_t code[kReach + kLongest] = {};
    Prologue prologue = {};
    if (!memory.read(start, code, kReach) && !memory.read(start, code, kReach / 4))
        return prologue;
    uint32_t pushed = 0;
    for (uint32_t at = 0; at < kReach && start + at < address;) {
        const uint8_t* here = code + at;
        const uint32_t reg = here[0] - 0x50u; // of push
        if (reg == 3 || (reg >= kEbp && reg <= 7)) {
            if (pushed & 1u << reg)
                return prologue;
            pushed |= 1u << reg;
            prologue.taken += 4;
            if (reg == kEbp)
                prologue.saved_ebp = prologue.taken;
            at += 1;
        } else if (here[0] == 0x83 && here[1] == 0xEC) { // sub esp, byte
            prologue.taken += here[2];
            at += 3;
        } else if (here[0] == 0x81 && here[1] == 0xEC) { // sub esp, value
            prologue.taken += four_bytes(here + 2);
            at += 6;
        } else if (here[0] == 0x83 && here[1] == 0xE4) { // and esp, byte
            at += 3;
        } else if (const uint32_t length = length_of_neutral(here)) {
            at += length;
        } else if (const uint32_t filler = length_of_filler(here, kLongest)) {
            at += filler;
        } else {
            // eax, ecx or edx: a short way to take four bytes, or an argument.
            prologue.scratch = reg <= 2 ? 4 : 0;
            break;
        }
    }
    return prologue;
}

FunctionBounds bounds_of_function(Memory& memory, uint32_t start) {
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

bool may_start_function(Memory& memory, const CodeRange& section, uint32_t address) {
    uint8_t bytes[kBehind];
    if (address - section.begin < kBehind)
        return address == section.begin;
    if (!memory.read(address - kBehind, bytes, kBehind))
        return false;
    const CodeBefore code = {bytes + kBehind, address, section};
    if (code.ends_in_end() || ends_in_int3(code))
        return true;
    for (uint32_t size = 1; size < kAlignment; ++size)
        if (address % kAlignment == 0 && is_filler(code.bytes - size, size))
            return true;
    return false;
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
            const CodeBefore before = {code, at, *range};
            const bool aligned = at % kAlignment == 0 && *code != 0xCC;
            if (is_push_and_move(code) ||
                (aligned && (ends_in_int3(before) || (takes_stack(code) && ends_in_filler(before)))))
                return bounds_of_function(memory, at);
        }
        end = begin;
    }
    return {};
}

unsigned list_possible_starts(Memory& memory, const CodeRange& section, uint32_t after, uint32_t address,
                              uint32_t* places, unsigned most) {
    constexpr uint32_t kPiece = 512;
    uint8_t bytes[kBehind + kPiece];
    unsigned count = 0;
    if (after < section.begin + kBehind)
        after = section.begin + kBehind;
    for (uint32_t end = address + 1; end > after + 1;) {
        const uint32_t begin = end - after - 1 > kPiece ? end - kPiece : after + 1;
        if (!memory.read(begin - kBehind, bytes, kBehind + end - begin))
            return count;
        for (uint32_t at = end; at-- > begin;) {
            const CodeBefore before = {bytes + kBehind + (at - begin), at, section};
            if (before.ends_in_return() || (at % kAlignment == 0 && ends_in_filler(before)))
                places[count++] = at;
            if (count == most)
                return count;
        }
        end = begin;
    }
    return count;
}

} // namespace faultkit
