// The text of a display mode. Pure.
#pragma once

#include <stdint.h>

#include "base/std_string.h"

namespace sysinfo {

struct DisplayMode {
    uint32_t bits_per_pixel;
    uint32_t width;     // pixels
    uint32_t height;    // pixels
    uint32_t frequency; // Hz; 0 or 1 is the display's default
};

// Four lines, with CR LF between them and nothing behind the last.
CStdString describe_display_mode(const DisplayMode& mode);

} // namespace sysinfo
