// The display's driver may run in this call, so it is made under a fault guard; a fault counts as no mode.
#include "sysinfo/std_info.h"

#include "sysinfo/system_info_text.h"
#include "win/guard.h"

namespace sysinfo {

CStdString GetDisplayText(decltype(EnumDisplaySettingsA)* enumerate) {
    DEVMODEA mode = {};
    mode.dmSize = 148; // the record without its later fields, which every Windows knows
    bool found = false;
    win::run_guarded([&] { found = enumerate(nullptr, ENUM_CURRENT_SETTINGS, &mode); });
    if (!found)
        return "Error: can not enumerate display settings.";
    return describe_display_mode({mode.dmBitsPerPel, mode.dmPelsWidth, mode.dmPelsHeight, mode.dmDisplayFrequency});
}

} // namespace sysinfo

CStdString CMonitorInfo::GetDisplayText() {
    return sysinfo::GetDisplayText(EnumDisplaySettingsA);
}
