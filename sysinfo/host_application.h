// The installed host application: where it is, and its version.
#pragma once

#include <windows.h>

#include "base/std_string.h"
#include "sysinfo/std_file_info.h"

namespace sysinfo {

// The path that is registered for Lumivale.exe below the root, HKEY_LOCAL_MACHINE unless in a test; as it stands there,
// without regard to quotes and variables. If it names no file: Lumivale.exe in the folder of this executable, whether
// or not it is there. Empty if the executable's path has no backslash, so that no folder is known.
CStdString find_host_application(HKEY root, const char* executable);

// The section of the report about the application at this path; "Cannot extract version number of Lumivale" if there is
// no such file. An empty path is none. The reader is used for it and left with that file.
CStdString host_application_text(CStdFileInfo& reader, const char* path);

} // namespace sysinfo
