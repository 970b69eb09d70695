// The texts that are made of version resources. Pure.
#pragma once

#include "base/std_string.h"

// The application whose version the system information names.
struct HostApplication {
    const char* name = "Lumivale";
    const char* file = "Lumivale.exe"; // under which it is registered; at most 63 characters
};

namespace sysinfo {

// One of the four parts of a product version, as the "0" of "3, 1, 0, 12" by index 2; blanks are taken out, inside the
// part too. The parts are separated by commas. Index 3 is what stands after the last comma, however many there are.
// A version with fewer parts has empty ones at its end; one without any comma, a dotted "3.1.0.12" among them, is the
// part 0 as a whole. Any other index is empty.
CStdString product_version_part(const char* version, int index);

// What a version resource says of its file, as text.
struct FileVersion {
    CStdString company;
    CStdString product;
    CStdString parts[4]; // of the product version
};

// The section of the running program. The parts are printed as the numbers that they begin with, 0 if they don't.
CStdString describe_module(const FileVersion& version);

// The section of the host application. The parts are printed as they are.
CStdString describe_host_application(const FileVersion& version, const char* name = HostApplication().name);

// The section of the browser.
CStdString describe_browser(unsigned long major, unsigned long minor, unsigned long build);

} // namespace sysinfo
