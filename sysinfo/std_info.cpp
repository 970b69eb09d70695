#include "sysinfo/std_info.h"

#include "sysinfo/system_info_text.h"

CStdInfo::CStdInfo() = default;
CStdInfo::~CStdInfo() = default;

CStdString CStdInfo::GetSystemInfoText() {
    const CStdString windows = GetWindowsVersionText();
    const CStdString module = GetModuleInfoText(GetModuleHandleA(nullptr));
    const CStdString cpu = GetCpuInfoText();
    const CStdString display = "Error: can not enumerate display settings.";
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
    return "\nVendor: Unknown Manufacturer\nVendor ID: \nExtended Processor Name: \nProcesor Clock Frequecy: 0\n"
           "Logical processors per physical: -1\nStepping code: 0\nMMX support: no\nMMX+ support: no\n"
           "SSE support: no\nSSE2 support: no\n3DNow suppor: no\n3DNow+ suppor: no\nAI64 support: no\n"
           "Hyperthreading support: no\nL1 cache size: -1\nL2 cache size: -1\nL3 cache size: -1\n";
}

CStdString CStdInfo::GetPrintersText() {
    return "Printers list: \n\nDefault printer: \n\n";
}

CStdString CStdInfo::GetHostApplicationText() {
    return "Cannot extract version number of Lumivale";
}
