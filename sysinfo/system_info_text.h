// The texts of sections that are made of what Windows tells, and how all sections are joined. Pure.
#pragma once

#include <stdint.h>

#include "base/std_string.h"

namespace sysinfo {

// The sections in the order of the text. Null is an empty section.
struct Sections {
    const char* windows_version;
    const char* module_info; // begins with its own newline, as does cpu_info
    const char* cpu_info;
    const char* display;
    const char* browser;
    const char* printers;         // brings its own headings, as does host_application
    const char* host_application; // ends the text, without a newline of ours
};

// The whole text. It is bounded as every formatted text is, to about 32 KiB: what doesn't fit is cut at the end. Throws
// gen::genlib_out_of_memory.
CStdString join_sections(const Sections& sections);

// The display section (display_text.cpp)

struct DisplayMode {
    uint32_t bits_per_pixel;
    uint32_t width;     // pixels
    uint32_t height;    // pixels
    uint32_t frequency; // Hz; 0 or 1 is the display's default
};

// Four lines, with CR LF between them and nothing behind the last.
CStdString describe_display_mode(const DisplayMode& mode);

// The printers section (printers_text.cpp)

// The list of the names, one a line and in their order, and the default printer, each under its heading.
CStdString describe_printers(const CStdString* names, int count, const char* default_printer);

// The printer of a default entry, which is its name, its driver and its port with commas between: all before the first
// comma, or the whole entry if there is none.
CStdString printer_of_entry(const char* entry);

} // namespace sysinfo
