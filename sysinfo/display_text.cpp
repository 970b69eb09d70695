// The section about the display mode.
#include "sysinfo/system_info_text.h"

namespace sysinfo {

CStdString describe_display_mode(const DisplayMode& mode) {
    CStdString text;
    // Kept: fields beyond 31 bits are negative numbers. Kept: CR LF, while the rest of the report has LF, and a full
    // stop after the first line alone.
    text.format("Color depth: %d Bits per pixel."
                "\r\nPixel Width: %d"
                "\r\nPixel Height: %d"
                "\r\nRefresh frequency: %d Hz",
                static_cast<int>(mode.bits_per_pixel), static_cast<int>(mode.width), static_cast<int>(mode.height),
                static_cast<int>(mode.frequency));
    return text;
}

} // namespace sysinfo
