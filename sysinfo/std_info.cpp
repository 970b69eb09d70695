#include "sysinfo/std_info.h"

#include <stddef.h>

#include "sysinfo/browser_version.h"
#include "sysinfo/host_application.h"
#include "sysinfo/system_info_text.h"
#include "win/fault_guard.h"

namespace {

// What a probe finds out. One that faults, in a printer's driver for instance, costs its own section only.
CStdString section(CStdInfo& info, CStdString (*probe)(CStdInfo& info)) {
    CStdString text;
    if (!win::run_guarded([&] { text = probe(info); }))
        text = "\nNot accessible: a fault occurred.\n";
    return text;
}

} // namespace

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

CStdString CStdInfo::GetSystemInfoText() {
    const CStdString windows = section(*this, [](CStdInfo& info) { return info.GetWindowsVersionText(); });
    const CStdString module =
        section(*this, [](CStdInfo& info) { return info.GetModuleInfoText(GetModuleHandleA(nullptr)); });
    const CStdString cpu = section(*this, [](CStdInfo& info) { return info.GetCpuInfoText(); });
    const CStdString display = section(*this, [](CStdInfo& info) { return info.m_monitor.GetDisplayText(); });
    const CStdString browser = section(*this, [](CStdInfo&) { return GetInternetExplorerVersionText(); });
    const CStdString printers = section(*this, [](CStdInfo& info) { return info.GetPrintersText(); });
    const CStdString host = section(*this, [](CStdInfo& info) { return info.GetHostApplicationText(); });
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

CStdString CStdInfo::GetHostApplicationText() {
    constexpr DWORD size = 1024;
    CStdString executable;
    GetModuleFileNameA(nullptr, executable.get_buffer(size), size);
    executable.release_buffer();
    const CStdString path = sysinfo::find_host_application(HKEY_LOCAL_MACHINE, executable.c_str());
    return sysinfo::host_application_text(m_file_info, path.c_str());
}
