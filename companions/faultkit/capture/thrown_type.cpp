#include "companions/faultkit/capture/thrown_type.h"

namespace faultkit {

// The parameters are a magic number, the object, and the description of its type: at 12 the list of the types it can be
// caught as, whose first entry is the object's own; an entry has the type's descriptor at 4; its name begins at 8.
void read_thrown_type(Memory& memory, const uint32_t* parameters, uint32_t count, char (&type)[128]) {
    constexpr uint32_t kOldestMagic = 0x19930520, kNewestMagic = 0x19930522;
    type[0] = '\0';
    uint32_t list = 0, entry = 0, descriptor = 0;
    if (count >= 3 && parameters[0] >= kOldestMagic && parameters[0] <= kNewestMagic &&
        memory.read_u32(parameters[2] + 12, &list) && memory.read_u32(list + 4, &entry) &&
        memory.read_u32(entry + 4, &descriptor))
        memory.read_text(descriptor + 8, type, sizeof type);
}

} // namespace faultkit
