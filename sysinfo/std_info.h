// CStdInfo: the system-information text of a report, one probe per topic.
#pragma once

#include <windows.h>

#include "base/std_string.h"
#include "sysinfo/monitor_info.h"
#include "sysinfo/printers_info.h"
#include "sysinfo/processor_info.h"
#include "sysinfo/std_file_info.h"
#include "sysinfo/std_win_version.h"

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
    CStdString GetSystemInfoText();

    // One section each. The Windows version is the long form.
    CStdString GetWindowsVersionText();
    CStdString GetModuleInfoText(HMODULE module); // null is the executable of the process
    CStdString GetCpuInfoText();
    CStdString GetPrintersText();
    CStdString GetHostApplicationText();

private:
    // The order is fixed: the reader, being the last, lets go of its version block before the others end.
    CPrintersInfo m_printers;
    CMonitorInfo m_monitor;
    CStdWinVersion m_version;
    CProcessorInfo m_processor;
    CStdFileInfo m_file_info;
};
