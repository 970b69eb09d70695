#include "sysinfo/std_info.h"

#include "sysinfo/browser_version.h"
#include "sysinfo/host_application.h"
#include "sysinfo/system_info_text.h"

CStdInfo::CStdInfo() = default;
CStdInfo::~CStdInfo() = default;

CStdString CStdInfo::GetSystemInfoText() {
    const CStdString windows = GetWindowsVersionText();
    const CStdString module = GetModuleInfoText(GetModuleHandleA(nullptr));
    const CStdString cpu = GetCpuInfoText();
    const CStdString display = m_monitor.GetDisplayText();
    const CStdString browser = GetInternetExplorerVersionText();
    const CStdString printers = GetPrintersText();
    const CStdString host = GetHostApplicationText();
    return sysinfo::JoinSections({windows.c_str(), module.c_str(), cpu.c_str(), display.c_str(), browser.c_str(),
                                  printers.c_str(), host.c_str()});
}

CStdString CStdInfo::GetWindowsVersionText() {
    return m_version.GetVersionText(false);
}

CStdString CStdInfo::GetModuleInfoText(HMODULE module) {
    m_file_info.OpenModule(module);
    return sysinfo::DescribeModule(m_file_info.GetVersion());
}

CStdString CStdInfo::GetCpuInfoText() {
    return m_processor.GetText();
}

CStdString CStdInfo::GetPrintersText() {
    return m_printers.GetPrintersInfo();
}

CStdString CStdInfo::GetHostApplicationText() {
    constexpr DWORD size = 1024;
    CStdString executable;
    GetModuleFileNameA(nullptr, executable.get_buffer(size), size);
    executable.release_buffer();
    const CStdString path = sysinfo::FindHostApplication(HKEY_LOCAL_MACHINE, executable.c_str());
    return sysinfo::HostApplicationText(m_file_info, path.c_str());
}
