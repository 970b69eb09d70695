// The texts of the printers section. Pure.
#pragma once

#include "base/std_string.h"

namespace sysinfo {

// The list of the names, one a line and in their order, and the default printer, each under its heading.
CStdString describe_printers(const CStdString* names, int count, const char* default_printer);

// The printer of a default entry, which is its name, its driver and its port with commas between: all before the first
// comma, or the whole entry if there is none.
CStdString printer_of_entry(const char* entry);

} // namespace sysinfo
