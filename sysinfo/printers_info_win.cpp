// The list is asked for twice, first for its size only. Printer drivers may run in these calls, so they are made under
// fault guards.
#include "sysinfo/printers_info.h"

#include "base/array.h"
#include "sysinfo/system_info_text.h"
#include "win/guard.h"

namespace sysinfo {

namespace {

constexpr DWORD kFlags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;

bool is_nt() {
    OSVERSIONINFOA record = {};
    record.dwOSVersionInfoSize = sizeof(record);
    static_assert(sizeof(record) == 148);
    return GetVersionExA(&record) && record.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

} // namespace

PrinterListStatus list_printers(const PrinterSystem& system, CArray<CStdString, CStdString&>& names) {
    const DWORD level = system.nt ? 4 : 1;
    DWORD needed = 0;
    DWORD count = 0;
    system.enumerate(kFlags, nullptr, level, nullptr, 0, &needed, &count);
    if (needed == 0)
        return PrinterListStatus::none;

    gen::array<BYTE> records(needed);
    if (!system.enumerate(kFlags, nullptr, level, records.data(), needed, &needed, &count))
        return PrinterListStatus::failed;
    for (DWORD i = 0; i < count; ++i) {
        CStdString name(level == 4 ? reinterpret_cast<const PRINTER_INFO_4A*>(records.data())[i].pPrinterName
                                   : reinterpret_cast<const PRINTER_INFO_1A*>(records.data())[i].pName);
        names.Add(name);
    }
    return PrinterListStatus::listed;
}

CStdString default_printer(const PrinterSystem& system) {
    constexpr DWORD kSize = 512;
    CStdString entry;
    system.profile_string("windows", "device", ",,,", entry.get_buffer(kSize), kSize);
    entry.release_buffer();
    return printer_of_entry(entry.c_str());
}

CStdString GetPrintersInfo(const PrinterSystem& system) {
    CArray<CStdString, CStdString&> names;
    CStdString preferred;
    // Apart, because a driver's fault costs the one and not the other.
    win::run_guarded([&] { list_printers(system, names); });
    win::run_guarded([&] { preferred = default_printer(system); });
    return describe_printers(names.GetData(), static_cast<unsigned>(names.GetSize()), preferred.c_str());
}

} // namespace sysinfo

CStdString CPrintersInfo::GetPrintersInfo() {
    bool nt = false;
    win::run_guarded([&] { nt = sysinfo::is_nt(); });
    return sysinfo::GetPrintersInfo({nt, EnumPrintersA, GetProfileStringA});
}
