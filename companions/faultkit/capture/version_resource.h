// The file version of a loaded module, found in its resources without the system's version functions, which allocate.
#pragma once

#include <stdint.h>

#include "companions/faultkit/memory.h"

namespace faultkit {

// resources, resources_size: address and size of the module's resource directory; base, size: the module. Returns false
// when there is no readable version record.
bool read_file_version(Memory& memory, Address base, uint32_t size, Address resources, uint32_t resources_size,
                       uint16_t version[4]);

} // namespace faultkit
