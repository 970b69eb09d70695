#include "sysinfo/std_info.h"

#include "sysinfo/system_info_text.h"

CStdInfo::CStdInfo() = default;
CStdInfo::~CStdInfo() = default;

CStdString CStdInfo::GetSystemInfoText() {
    const CStdString windows = GetWindowsVersionText();
    const CStdString module = GetModuleInfoText(GetModuleHandleA(nullptr));
    const CStdString cpu = GetCpuInfoText();
    const CStdString display = m_monitor.GetDisplayText();
    const CStdString browser = "Cannot extract version number of Internet Explorer";
    const CStdString printers = GetPrintersText();
    const CStdString host = GetHostApplicationText();
    return sysinfo::JoinSections({windows.c_str(), module.c_str(), cpu.c_str(), display.c_str(), browser.c_str(),
                                  printers.c_str(), host.c_str()});
}

CStdString CStdInfo::GetWindowsVersionText() {
    return m_version.GetVersionText(false);
}

CStdString CStdInfo::GetModuleInfoText(HMODULE) {
    return "\nCompany: Unknown\nProduct Name: Unknown\nProduct Version: 0.0.0.0\n";
}

CStdString CStdInfo::GetCpuInfoText() {
    return m_processor.GetText();
}

CStdString CStdInfo::GetPrintersText() {
    return m_printers.GetPrintersInfo();
}

CStdString CStdInfo::GetHostApplicationText() {
    return "Cannot extract version number of Lumivale";
}
