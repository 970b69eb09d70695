#include "sysinfo/display_text.h"

namespace sysinfo {

namespace {

// As the report prints it: a signed number of 32 bits, wherever it is built.
long printed(uint32_t field) {
    return static_cast<int32_t>(field);
}

} // namespace

CStdString describe_display_mode(const DisplayMode& mode) {
    CStdString text;
    // Kept: CR LF, while the rest of the report has LF, and a full stop after the first line alone.
    text.format("Color depth: %ld Bits per pixel."
                "\r\nPixel Width: %ld"
                "\r\nPixel Height: %ld"
                "\r\nRefresh frequency: %d Hz",
                printed(mode.bits_per_pixel), printed(mode.width), printed(mode.height),
                static_cast<int>(printed(mode.frequency)));
    return text;
}

} // namespace sysinfo
