// A call is E8 with a relative target, or FF with a ModRM byte whose middle field is 2. A prefix in front of the latter
// changes which registers it takes, and nothing of its length.
#include "companions/faultkit/walk/x64/call_site.h"

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {
namespace {

// The place that the last four bytes of an instruction name, counted from its end.
Address relative_to(Address end, const uint8_t* four) {
    return end + static_cast<Address>(static_cast<int32_t>(four_bytes(four)));
}

// Follows the jumps that linkers put between a call and its function.
Address follow_stubs(Memory& memory, const ModuleTable& modules, Address target) {
    constexpr int kMostStubs = 4;
    for (int i = 0; i < kMostStubs && modules.find_code(target); ++i) {
        uint8_t code[6] = {};
        if (memory.read(target, code, 5) && code[0] == 0xE9)
            target = relative_to(target + 5, code + 1);
        else if (!memory.read(target, code, 6) || code[0] != 0xFF || code[1] != 0x25 ||
                 !memory.read_address(relative_to(target + 6, code + 2), &target))
            break;
    }
    return target;
}

} // namespace

bool is_behind_call(Memory& memory, const ModuleTable& modules, Address address) {
    const CodeRange* const range = modules.find_code(address);
    if (!range)
        return modules.is_or_was_code(address);
    const Address there = address - range->begin;
    const uint32_t before = there < kLongestCall ? static_cast<uint32_t>(there) : kLongestCall;
    uint8_t bytes[kLongestCall + 1] = {};
    uint8_t* const end = bytes + kLongestCall;
    if (!memory.read(address - before, end - before, before))
        return false;
    if (before >= 5 && end[-5] == 0xE8) {
        if (modules.find_code(relative_to(address, end - 4)))
            return true;
    }
    return length_of_indirect_call_before(end, before) != 0;
}

Address target_of_call_before(Memory& memory, const ModuleTable& modules, Address address) {
    uint8_t code[6];
    if (!memory.read(address - sizeof code, code, sizeof code))
        return 0;
    Address target = relative_to(address, code + 2);
    if (code[0] == 0xFF && code[1] == 0x15)
        return memory.read_address(target, &target) ? follow_stubs(memory, modules, target) : 0;
    return code[1] == 0xE8 && modules.find_code(target) ? follow_stubs(memory, modules, target) : 0;
}

} // namespace faultkit
