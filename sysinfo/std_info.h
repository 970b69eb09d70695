// CStdInfo: the system-information text of a report, one probe per topic.
#pragma once

#include <windows.h>

#include "base/std_string.h"
#include "sysinfo/printers_info.h"
#include "sysinfo/processor_info.h"
#include "sysinfo/std_file_info.h"
#include "sysinfo/std_win_version.h"

// The current mode of the primary display.
class CMonitorInfo {
public:
    virtual ~CMonitorInfo() = default;

    // See sysinfo::describe_display_mode; "Error: can not enumerate display settings." if there is no mode.
    CStdString GetDisplayText();
};

// Construction identifies the processor, which takes about 50 ms of measuring, so one object is built per report. It is
// too large for a stack that a fault may have used up: keep it on the heap.
//
// No probe fails outward: what it can't find out stands as a fixed text in its section, also where what it asks faults
// or throws; what it found out before stays. Every operation may throw gen::genlib_out_of_memory. Not synchronised;
// nothing is shared with other objects.
class CStdInfo {
public:
    CStdInfo();
    virtual ~CStdInfo();

    CStdInfo(const CStdInfo&) = delete;
    CStdInfo& operator=(const CStdInfo&) = delete;

    // The whole text: seven sections under their captions, lines ended by "\n", at most about 32 KiB.
    CStdString GetSystemInfoText(const HostApplication& application = {});

    // One section each. The Windows version is the long form.
    CStdString GetWindowsVersionText();
    CStdString GetModuleInfoText(HMODULE module); // null is the executable of the process
    CStdString GetCpuInfoText();
    CStdString GetPrintersText();
    CStdString GetHostApplicationText(const HostApplication& application = {});

private:
    // The order is fixed: the reader, being the last, lets go of its version block before the others end.
    CPrintersInfo m_printers;
    CMonitorInfo m_monitor;
    CStdWinVersion m_version;
    CProcessorInfo m_processor;
    CStdFileInfo m_file_info;
};

// The probes without a class of their own, and the file

// The section of the report; "Cannot extract version number of Internet Explorer" if the browser's library isn't there
// or doesn't say. Loads that library for the time of the call.
CStdString GetInternetExplorerVersionText();

// Writes the system-information text to "system_info.txt" in the user's temporary directory (lines end in CR LF),
// overwriting what is there. path receives the full path in any case; the result is whether the file was written in
// full, which the report doesn't depend on. Takes the time of building a CStdInfo; needs little stack. Throws
// gen::genlib_out_of_memory, with path set.
bool write_system_info_file(CStdString& path, const HostApplication& application = {});

namespace sysinfo {

// CMonitorInfo's text with another function in the place of EnumDisplaySettingsA.
CStdString GetDisplayText(decltype(EnumDisplaySettingsA)* enumerate);

// The browser's section, of another library of the browser's.
CStdString browser_version_text(const char* library);

// The path that is registered for the file below the root, HKEY_LOCAL_MACHINE unless in a test; as it stands there,
// without regard to quotes and variables. If it names no file: that file in the folder of this executable, whether
// or not it is there. Empty if the executable's path has no backslash, so that no folder is known.
CStdString find_host_application(HKEY root, const char* executable, const char* file = HostApplication().file);

// The section of the report about the application at this path; "Cannot extract version number of " and its name if
// there is no such file. An empty path is none. The reader is used for it and left with that file.
CStdString host_application_text(CStdFileInfo& reader, const char* path, const char* name = HostApplication().name);

} // namespace sysinfo
