// Goes down the three levels of the resource tree (type, name, language) to the first version record.
#include "companions/faultkit/capture/image.h"

namespace faultkit {
namespace {

constexpr uint32_t kVersionType = 16;
constexpr uint32_t kSubdirectory = 0x80000000;
constexpr uint32_t kFixedInfoSignature = 0xFEEF04BD;
// More than any image has: of a damaged directory no more are read.
constexpr uint32_t kMostEntries = 4096;
// The fixed record follows the header and the name "VS_VERSION_INFO" in UTF-16, aligned to 4 bytes.
constexpr uint32_t kFixedInfoOffset = 40;

struct Tree {
    Memory& memory;
    Address address;
    uint32_t size;

    // A directory is 16 bytes with the counts of named and numbered entries at its end, then entries of 8 bytes.
    // Returns the offset that the entry `id` (or the first one, for 0) leads to.
    bool descend(uint32_t directory, uint32_t id, uint32_t* offset) const {
        uint16_t named = 0, numbered = 0;
        if (directory > size || size - directory < 16 || !memory.read_u16(address + directory + 12, &named) ||
            !memory.read_u16(address + directory + 14, &numbered))
            return false;
        const uint32_t count = static_cast<uint32_t>(named) + numbered;
        for (uint32_t i = id ? named : 0; i < count && i < kMostEntries; ++i) {
            const uint32_t entry = directory + 16 + i * 8;
            uint32_t found = 0;
            if (entry + 8 > size || !memory.read_u32(address + entry, &found) ||
                !memory.read_u32(address + entry + 4, offset))
                return false;
            if (!id || found == id)
                return true;
        }
        return false;
    }
};

} // namespace

bool read_file_version(Memory& memory, Address base, uint32_t size, Address resources, uint32_t resources_size,
                       uint16_t version[4]) {
    const Tree tree = {memory, resources, resources_size};
    uint32_t by_name = 0, by_language = 0, data = 0;
    if (!tree.descend(0, kVersionType, &by_name) || !(by_name & kSubdirectory) ||
        !tree.descend(by_name & ~kSubdirectory, 0, &by_language) || !(by_language & kSubdirectory) ||
        !tree.descend(by_language & ~kSubdirectory, 0, &data) || data & kSubdirectory)
        return false;
    uint32_t record = 0, length = 0;
    if (data > resources_size || resources_size - data < 8 || !memory.read_u32(resources + data, &record) ||
        !memory.read_u32(resources + data + 4, &length))
        return false;
    constexpr uint32_t kNeeded = kFixedInfoOffset + 16;
    uint32_t fixed[4] = {};
    if (length < kNeeded || record > size || size - record < kNeeded ||
        !memory.read(base + record + kFixedInfoOffset, fixed, sizeof fixed) || fixed[0] != kFixedInfoSignature)
        return false;
    version[0] = static_cast<uint16_t>(fixed[2] >> 16);
    version[1] = static_cast<uint16_t>(fixed[2]);
    version[2] = static_cast<uint16_t>(fixed[3] >> 16);
    version[3] = static_cast<uint16_t>(fixed[3]);
    return true;
}

} // namespace faultkit
