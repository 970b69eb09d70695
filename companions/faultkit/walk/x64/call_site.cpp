// A call is E8 with a relative target, or FF with a ModRM byte whose middle field is 2. A prefix in front of the latter
// changes which registers it takes, and nothing of its length.
#include "companions/faultkit/walk/x64/call_site.h"

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {

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
        const Address target = address + static_cast<Address>(static_cast<int32_t>(four_bytes(end - 4)));
        if (modules.find_code(target))
            return true;
    }
    return length_of_indirect_call_before(end, before) != 0;
}

} // namespace faultkit
