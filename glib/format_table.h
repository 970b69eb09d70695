// The fixed table of the image formats that the layer knows by name. Whether a format can be read or written depends on
// the format modules (glib/filter_manager.h).
#pragma once

#include <stdint.h>

#include "glib/format_code.h"

namespace glib {

// Something that can be switched per format, see FilterManager::SetOption.
struct FormatOption {
    char key;          // 'R' or 'W'
    const char* label; // for a user
};

struct FormatRow {
    EFormat code;
    uint16_t option_count;
    const FormatOption* options; // null when the count is 0
    const char* name;            // for a user
};

// Gives the first row through `rows` (which may be null) and returns the number of rows, 78. The table is constant.
unsigned format_table(const FormatRow** rows);

// The row of the format, by the low 24 bits of its code, or null.
const FormatRow* find_format(EFormat format);

} // namespace glib
