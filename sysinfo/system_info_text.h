// How the sections of a system-information text are joined. Pure.
#pragma once

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

// The file that the text is written to: "system_info.txt" in this directory, whose trailing backslashes count for
// none. An empty directory gives a path below the root of the current drive.
CStdString system_info_path(const char* temporary_directory);

} // namespace sysinfo
