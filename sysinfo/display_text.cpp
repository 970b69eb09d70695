#include "sysinfo/display_text.h"

namespace sysinfo {

namespace {

// As the report prints it: a signed number of 32 bits, wherever it is built.
long Printed(uint32_t field) {
    return static_cast<int32_t>(field);
}

} // namespace

CStdString DescribeDisplayMode(const DisplayMode& mode) {
    CStdString text;
    // Kept: CR LF, while the rest of the report has LF, and a full stop after the first line alone.
    text.format("Color depth: %ld Bits per pixel."
                "\r\nPixel Width: %ld"
                "\r\nPixel Height: %ld"
                "\r\nRefresh frequency: %d Hz",
                Printed(mode.bits_per_pixel), Printed(mode.width), Printed(mode.height),
                static_cast<int>(Printed(mode.frequency)));
    return text;
}

} // namespace sysinfo
