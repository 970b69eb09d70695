// The parameters are a magic number, the object, and the description of its type: at 12 the list of the types it can be
// caught as, whose first entry is the object's own; an entry has the type's descriptor at 4; its name follows two
// pointers. With 64 bits all these are counted from the start of an image, which is one more parameter.
#include "companions/faultkit/capture/thrown_type.h"

namespace faultkit {

void read_thrown_type(Memory& memory, const Address* parameters, uint32_t count, char (&type)[128]) {
    constexpr uint32_t kOldestMagic = 0x19930520, kNewestMagic = 0x19930522;
    constexpr bool kRelative = sizeof(Address) == 8;
    type[0] = '\0';
    if (count < (kRelative ? 4 : 3) || parameters[0] < kOldestMagic || parameters[0] > kNewestMagic)
        return;
    const Address base = kRelative ? parameters[3] : 0;
    uint32_t list = 0, entry = 0, descriptor = 0;
    if (memory.read_u32(parameters[2] + 12, &list) && memory.read_u32(base + list + 4, &entry) &&
        memory.read_u32(base + entry + 4, &descriptor))
        memory.read_text(base + descriptor + 2 * sizeof(Address), type, sizeof type);
}

} // namespace faultkit
