// Headers may be damaged: every offset in them is checked against the module's size, and every read may fail.
#include "companions/faultkit/capture/image.h"

#include <string.h>

#include "companions/faultkit/text_builder.h"

namespace faultkit {
namespace {

// Offsets in the headers of an image, from the signature "PE\0\0" on. A 64-bit one has wider fields in the middle.
constexpr bool kWide = sizeof(Address) == 8;
constexpr uint32_t kSectionCountAt = 6, kTimeStampAt = 8, kOptionalSizeAt = 20, kOptionalAt = 24;
constexpr uint32_t kImageSizeAt = kOptionalAt + 56, kDirectoryCountAt = kOptionalAt + (kWide ? 108 : 92);
constexpr uint32_t kDirectoriesAt = kDirectoryCountAt + 4;
constexpr uint16_t kMagic = kWide ? 0x20B : 0x10B;
constexpr uint32_t kResourceDirectory = 2, kDebugDirectory = 6;
constexpr uint32_t kSectionSize = 40, kExecutable = 0x20000000;
constexpr uint32_t kMostSections = 96; // the loader's own limit
constexpr uint32_t kDebugEntrySize = 28, kCodeView = 2, kMostDebugEntries = 32;
constexpr uint32_t kRsds = 0x53445352, kNb10 = 0x3031424E;

// Address of "PE\0\0", as counted from base; false when there is none, or further off than any linker puts it.
bool find_signature(Memory& memory, Address base, uint32_t* offset) {
    uint16_t dos = 0;
    uint32_t signature = 0;
    return memory.read_u16(base, &dos) && dos == 0x5A4D && memory.read_u32(base + 0x3C, offset) &&
           *offset <= 0x100000 && memory.read_u32(base + *offset, &signature) && signature == 0x4550;
}

void read_sections(Memory& memory, Address headers, Image* image) {
    uint16_t count = 0, optional_size = 0;
    if (!memory.read_u16(headers + kSectionCountAt, &count) ||
        !memory.read_u16(headers + kOptionalSizeAt, &optional_size))
        return;
    for (uint32_t i = 0; i < count && i < kMostSections && image->range_count < Image::kMostRanges; ++i) {
        const Address section = headers + kOptionalAt + optional_size + i * kSectionSize;
        uint32_t virtual_size = 0, offset = 0, raw_size = 0, flags = 0;
        if (!memory.read_u32(section + 8, &virtual_size) || !memory.read_u32(section + 12, &offset) ||
            !memory.read_u32(section + 16, &raw_size) || !memory.read_u32(section + 36, &flags))
            return;
        const uint32_t size = virtual_size ? virtual_size : raw_size;
        if (flags & kExecutable && image->contains(offset, size))
            image->code[image->range_count++] = {image->base + offset, image->base + offset + size};
    }
}

void keep_file_name(Memory& memory, Address address, uint32_t size, PdbIdentity* pdb) {
    char path[260];
    memory.read_text(address, path, size < sizeof path ? size : sizeof path);
    const char* name = path;
    // Linkers write the path as they were given it, with separators of either kind.
    for (const char* at = path; *at; ++at)
        if (*at == '\\' || *at == '/')
            name = at + 1;
    TextBuilder(pdb->file).name(name, sizeof pdb->file - 1);
}

// The two records start with their signature; RSDS goes on with GUID, age and path, NB10 with offset, signature, age,
// path.
void read_code_view(Memory& memory, Address address, uint32_t length, PdbIdentity* pdb) {
    uint32_t words[6] = {};
    if (length < 16 || !memory.read(address, words, length < sizeof words ? 16 : sizeof words))
        return;
    TextBuilder key(pdb->key);
    if (words[0] == kRsds && length > sizeof words) {
        const uint8_t* rest = reinterpret_cast<const uint8_t*>(words + 3);
        key.hex(words[1]).hex(words[2] & 0xFFFF, 4).hex(words[2] >> 16, 4);
        for (int i = 0; i < 8; ++i)
            key.hex(rest[i], 2);
        keep_file_name(memory, address + 24, length - 24 + 1, pdb);
    } else if (words[0] == kNb10 && length > 16) {
        key.hex(words[2]);
        keep_file_name(memory, address + 16, length - 16 + 1, pdb);
    } else {
        return;
    }
    key.least_hex(words[0] == kRsds ? words[5] : words[3]); // the age
}

void read_pdb_identity(Memory& memory, Image* image) {
    const Directory debug = find_directory(memory, *image, kDebugDirectory);
    for (uint32_t i = 0; i < kMostDebugEntries && (i + 1) * kDebugEntrySize <= debug.size && !image->pdb.key[0]; ++i) {
        uint32_t entry[7] = {};
        if (!memory.read(image->base + debug.offset + i * kDebugEntrySize, entry, sizeof entry))
            return;
        // The entry's fields of four bytes: flags, time, version, type, size, place in memory, place in the file.
        const uint32_t type = entry[3], length = entry[4], offset = entry[5];
        if (type == kCodeView && image->contains(offset, length))
            read_code_view(memory, image->base + offset, length, &image->pdb);
    }
}

} // namespace

Directory find_directory(Memory& memory, const Image& image, uint32_t index) {
    uint32_t offset = 0, count = 0;
    Directory found = {};
    if (!find_signature(memory, image.base, &offset))
        return {};
    const Address headers = image.base + offset;
    if (!memory.read_u32(headers + kDirectoryCountAt, &count) || index >= count ||
        !memory.read(headers + kDirectoriesAt + index * sizeof found, &found, sizeof found) ||
        !image.contains(found.offset, found.size))
        return {};
    return found;
}

bool read_image(Memory& memory, Address base, Image* image) {
    *image = Image();
    image->base = base;
    uint16_t magic = 0;
    uint32_t offset = 0;
    if (!find_signature(memory, base, &offset) || !memory.read_u16(base + offset + kOptionalAt, &magic) ||
        magic != kMagic || !memory.read_u32(base + offset + kTimeStampAt, &image->time_stamp) ||
        !memory.read_u32(base + offset + kImageSizeAt, &image->size) || image->size > Address() - base)
        return false;
    read_sections(memory, base + offset, image);
    read_pdb_identity(memory, image);
    const Directory resources = find_directory(memory, *image, kResourceDirectory);
    image->has_version = resources.size != 0 && read_file_version(memory, base, image->size, base + resources.offset,
                                                                  resources.size, image->version);
    return true;
}

} // namespace faultkit
