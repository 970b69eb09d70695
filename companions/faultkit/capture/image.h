// What a loaded module's headers say about it, read in memory: size, time stamp, code, version and the identity of its
// PDB.
#pragma once

#include <stdint.h>

#include "companions/faultkit/memory.h"

namespace faultkit {

// The identity that links a module to its PDB, written as symbol stores write it: the GUID's 32 digits and the age
// ("0123456789ABCDEF0123456789ABCDEF1"), or for the older PDB 2.0 eight digits of signature and the age.
struct PdbIdentity {
    char key[41];  // empty when the module names no PDB
    char file[64]; // file name of the PDB without its folder
};

struct CodeRange {
    Address begin, end; // end is one past the last byte
};

struct Image {
    static constexpr unsigned kMostRanges = 4;

    Address base;
    uint32_t size;       // in bytes as mapped
    uint32_t time_stamp; // seconds since 1970, or a hash of the contents, as the linker chose
    uint16_t version[4]; // major, minor, build, revision of the file version
    bool has_version;
    unsigned range_count;
    CodeRange code[kMostRanges]; // executable sections; what goes beyond kMostRanges is left out
    PdbIdentity pdb;

    // Whether what lies there, as counted from base, is within the image.
    bool contains(uint32_t offset, uint32_t length) const { return offset <= size && size - offset >= length; }
};

// A part of an image, as counted from its base.
struct Directory {
    uint32_t offset, size;
};

// Reads the headers of the module mapped at base, if it is of the process's own kind (32 or 64 bits). Returns false
// when there is no such module. A damaged version or debug record leaves has_version false or pdb.key empty; nothing
// outside [base, base + size) is followed.
bool read_image(Memory& memory, Address base, Image* image);

// The directory of that number in the headers of an image that was read: within the image, or of size 0.
Directory find_directory(Memory& memory, const Image& image, uint32_t index);

// The file version in an image's resources, found without the system's version functions, which allocate.
// resources, resources_size: address and size of the module's resource directory; base, size: the module. Returns false
// when there is no readable version record.
bool read_file_version(Memory& memory, Address base, uint32_t size, Address resources, uint32_t resources_size,
                       uint16_t version[4]);

} // namespace faultkit
