// Files that are written in one go.
#pragma once

#include <stddef.h>

namespace win {

// Makes the file hold these bytes and no others; whether it does. A file of which not all could be written keeps what
// there was space for. Others may read and write it meanwhile. Takes no memory, of the runtime's heap in particular.
bool write_whole_file(const char* path, const void* data, size_t size);

} // namespace win
