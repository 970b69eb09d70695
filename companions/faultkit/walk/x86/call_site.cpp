// A near call is E8 with a relative target, or FF with a ModRM byte whose middle field is 2. The length of the latter
// follows from its addressing form, so each possible length is tried on the bytes before the return address. Only the
// form "call [address]" (FF 15) has a target that is still known afterwards.
#include "companions/faultkit/walk/x86/call_site.h"

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {
namespace {

constexpr int kMostStubs = 4;

// Follows the jumps that linkers put between a call and its function.
uint32_t follow_stubs(Memory& memory, const ModuleTable& modules, uint32_t target) {
    for (int i = 0; i < kMostStubs && modules.find_code(target); ++i) {
        uint8_t code[6] = {};
        uint32_t next = 0;
        if (memory.read(target, code, 5) && code[0] == 0xE9)
            target += 5 + four_bytes(code + 1);
        else if (memory.read(target, code, 6) && code[0] == 0xFF && code[1] == 0x25 &&
                 memory.read_u32(four_bytes(code + 2), &next))
            target = next;
        else
            break;
    }
    return target;
}

} // namespace

CallSite find_call_before(Memory& memory, const ModuleTable& modules, uint32_t address) {
    const CodeRange* range = modules.find_code(address);
    if (!range)
        return {modules.is_or_was_code(address) ? CallSite::kComputed : CallSite::kNone, 0};
    const uint32_t before = address - range->begin < kLongestCall ? address - range->begin : kLongestCall;
    uint8_t bytes[kLongestCall + 1] = {};
    uint8_t* const end = bytes + kLongestCall; // end[-n]: the byte n before the return address
    if (!memory.read(address - before, end - before, before))
        return {CallSite::kNone, 0};

    if (before >= 5 && end[-5] == 0xE8) {
        const uint32_t target = address + four_bytes(end - 4);
        if (modules.find_code(target))
            return {CallSite::kKnown, follow_stubs(memory, modules, target), 5};
    }
    uint32_t target = 0;
    if (before >= 6 && end[-6] == 0xFF && end[-5] == 0x15) {
        // The place may have changed since; then nothing is known, but it was a call all the same.
        if (memory.read_u32(four_bytes(end - 4), &target) && modules.find_code(target))
            return {CallSite::kKnown, follow_stubs(memory, modules, target), 6};
        return {CallSite::kComputed, 0, 6};
    }
    if (const uint32_t length = length_of_indirect_call_before(end, before))
        return {CallSite::kComputed, 0, length};
    return {CallSite::kNone, 0};
}

// Instructions can't be told backwards for certain; pushes in a row can but for rare operands.
uint32_t arguments_pushed_before(Memory& memory, uint32_t address) {
    constexpr uint32_t kReach = 48, kLongest = 6;
    uint8_t bytes[kReach] = {};
    uint32_t pushed = 0;
    if (!memory.read(address - kReach, bytes, kReach))
        return 0;
    for (uint32_t at = kReach; at >= kLongest; pushed += 4) {
        const uint8_t* end = bytes + at;
        if ((end[-1] & 0xF8) == 0x50) // push reg
            at -= 1;
        else if (end[-2] == 0x6A) // push byte
            at -= 2;
        else if (end[-3] == 0xFF && (end[-2] & 0xF8) == 0x70) // push [reg + byte]
            at -= 3;
        else if (end[-4] == 0xFF && end[-3] == 0x74) // push [reg + reg + byte]
            at -= 4;
        else if (end[-5] == 0x68) // push value
            at -= 5;
        else if (end[-6] == 0xFF && end[-5] == 0x35) // push [address]
            at -= 6;
        else
            break;
    }
    return pushed;
}

} // namespace faultkit
