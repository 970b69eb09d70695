// The version of Internet Explorer.
#pragma once

#include "base/std_string.h"

// The section of the report; "Cannot extract version number of Internet Explorer" if the browser's library isn't there
// or doesn't say. Loads that library for the time of the call.
CStdString GetInternetExplorerVersionText();

namespace sysinfo {

// The same of another library.
CStdString browser_version_text(const char* library);

} // namespace sysinfo
