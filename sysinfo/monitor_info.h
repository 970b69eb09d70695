// CMonitorInfo: the current mode of the primary display.
#pragma once

#include <windows.h>

#include "base/std_string.h"

class CMonitorInfo {
public:
    virtual ~CMonitorInfo() = default;

    // See sysinfo::describe_display_mode; "Error: can not enumerate display settings." if there is no mode.
    CStdString GetDisplayText();
};

namespace sysinfo {

// The same with another function in the place of EnumDisplaySettingsA.
CStdString GetDisplayText(decltype(EnumDisplaySettingsA)* enumerate);

} // namespace sysinfo
