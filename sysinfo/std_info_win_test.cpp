#include "sysinfo/std_info.h"

#include <memory>

#include <gtest/gtest.h>

#include "testing/cxx/recorded_processor.h"
#include "sysinfo/system_info_text.h"

namespace {

BOOL WINAPI no_version(OSVERSIONINFOA*) {
    return FALSE;
}

BOOL WINAPI no_display_mode(LPCSTR, DWORD, DEVMODEA*) {
    return FALSE;
}

BOOL WINAPI no_printers(DWORD, LPSTR, DWORD, BYTE*, DWORD, DWORD* needed, DWORD* count) {
    *needed = *count = 0;
    return FALSE;
}

DWORD WINAPI no_profile(LPCSTR, LPCSTR, LPCSTR instead, LPSTR buffer, DWORD size) {
    return static_cast<DWORD>(strlen(lstrcpynA(buffer, instead, static_cast<int>(size))));
}

TEST(StdInfo, Has_every_caption_with_its_fallback_where_no_probe_finds_anything) {
    const CStdString windows = sysinfo::describe_win_version(sysinfo::read_win_version(no_version, nullptr), false);
    const auto reader = std::make_unique<CStdFileInfo>();
    const CStdString module = sysinfo::describe_module(reader->GetVersion());
    const CStdString cpu = identified({}).GetText();
    const CStdString display = sysinfo::GetDisplayText(no_display_mode);
    const CStdString browser = sysinfo::browser_version_text("no_such_library.dll");
    const CStdString printers = sysinfo::GetPrintersInfo({true, no_printers, no_profile});
    const CStdString host = sysinfo::host_application_text(*reader, "no_such_file");
    const CStdString text = sysinfo::join_sections({windows.c_str(), module.c_str(), cpu.c_str(), display.c_str(),
                                                    browser.c_str(), printers.c_str(), host.c_str()});
    EXPECT_STREQ(text.c_str(), "\n"
                               "Windows Version:\n"
                               "Unknown [tag 0]\n"
                               "Module Info:\n"
                               "Company: Unknown\n"
                               "Product Name: Unknown\n"
                               "Product Version: 0.0.0.0\n"
                               "\n"
                               "CPU Info:\n"
                               "Vendor: Unknown Manufacturer\n"
                               "Vendor ID: \n"
                               "Extended Processor Name: \n"
                               "Procesor Clock Frequecy: 0\n"
                               "Logical processors per physical: -1\n"
                               "Stepping code: 0\n"
                               "MMX support: no\n"
                               "MMX+ support: no\n"
                               "SSE support: no\n"
                               "SSE2 support: no\n"
                               "3DNow suppor: no\n"
                               "3DNow+ suppor: no\n"
                               "AI64 support: no\n"
                               "Hyperthreading support: no\n"
                               "L1 cache size: -1\n"
                               "L2 cache size: -1\n"
                               "L3 cache size: -1\n"
                               "\n"
                               "Monitor info:\n"
                               "Error: can not enumerate display settings.\n"
                               "\n"
                               "Cannot extract version number of Internet Explorer\n"
                               "\n"
                               "Printers list: \n"
                               "\n"
                               "Default printer: \n"
                               "\n"
                               "\n"
                               "Cannot extract version number of Lumivale");
}

} // namespace
