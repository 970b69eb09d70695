// The system-information file of a report.
#pragma once

#include "base/std_string.h"

// Writes the system-information text to "system_info.txt" in the user's temporary directory (lines end in CR LF),
// overwriting what is there. path receives the full path in any case; the result is whether the file was written in
// full, which the report doesn't depend on. Takes the time of building a CStdInfo; needs little stack. Throws
// gen::genlib_out_of_memory, with path set.
bool write_system_info_file(CStdString& path);
