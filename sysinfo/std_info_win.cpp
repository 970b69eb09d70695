// Asks the probes in the order of the text. The guards against what faults are in the probes, not here.
#include "sysinfo/std_info.h"

#include <stddef.h>

#include "sysinfo/system_info_text.h"
#include "win/paths.h"
#include "win/guard.h"

// Every compiler used knows these offsets, though the language doesn't promise them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
CStdInfo::CStdInfo() {
    static_assert(offsetof(CStdInfo, m_printers) < offsetof(CStdInfo, m_monitor) &&
                      offsetof(CStdInfo, m_monitor) < offsetof(CStdInfo, m_version) &&
                      offsetof(CStdInfo, m_version) < offsetof(CStdInfo, m_processor) &&
                      offsetof(CStdInfo, m_processor) < offsetof(CStdInfo, m_file_info),
                  "the order is fixed");
}
#pragma GCC diagnostic pop

CStdInfo::~CStdInfo() = default;

CStdString CStdInfo::GetSystemInfoText(const HostApplication& application) {
    const CStdString windows = GetWindowsVersionText();
    const CStdString module = GetModuleInfoText(nullptr);
    const CStdString cpu = GetCpuInfoText();
    const CStdString display = m_monitor.GetDisplayText();
    const CStdString browser = GetInternetExplorerVersionText();
    const CStdString printers = GetPrintersText();
    const CStdString host = GetHostApplicationText(application);
    return sysinfo::join_sections({windows.c_str(), module.c_str(), cpu.c_str(), display.c_str(), browser.c_str(),
                                   printers.c_str(), host.c_str()});
}

CStdString CStdInfo::GetWindowsVersionText() {
    return m_version.GetVersionText(false);
}

CStdString CStdInfo::GetModuleInfoText(HMODULE module) {
    m_file_info.OpenModule(module);
    return sysinfo::describe_module(m_file_info.GetVersion());
}

CStdString CStdInfo::GetCpuInfoText() {
    return m_processor.GetText();
}

CStdString CStdInfo::GetPrintersText() {
    return m_printers.GetPrintersInfo();
}

CStdString CStdInfo::GetHostApplicationText(const HostApplication& application) {
    constexpr DWORD kSize = 1024;
    CStdString executable;
    win::run_guarded([&] { win::module_path(nullptr, executable.get_buffer(kSize), kSize); });
    executable.release_buffer();
    const CStdString path = sysinfo::find_host_application(HKEY_LOCAL_MACHINE, executable.c_str(), application.file);
    return sysinfo::host_application_text(m_file_info, path.c_str(), application.name);
}
