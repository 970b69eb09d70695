// CPrintersInfo: the printers that this machine and this user have.
#pragma once

#include <afxtempl.h>
#include <windows.h>

#include "base/std_string.h"

namespace sysinfo {

// Who knows the printers: Windows, or a test.
struct PrinterSystem {
    bool nt; // NT and its successors tell the names alone without asking each printer
    decltype(EnumPrintersA)* enumerate;
    decltype(GetProfileStringA)* profile_string;
};

enum class PrinterListStatus {
    listed = 0,
    none = -1,
    failed = -2,
};

// Appends the names of the local and the connected printers, in the order of the system. A list that grows while it is
// read fails.
PrinterListStatus list_printers(const PrinterSystem& system, CArray<CStdString, CStdString&>& names);

// Empty without a default printer.
CStdString default_printer(const PrinterSystem& system);

// The section: see describe_printers. Without a list, for whatever reason, the list is empty.
CStdString GetPrintersInfo(const PrinterSystem& system);

} // namespace sysinfo

class CPrintersInfo {
public:
    virtual ~CPrintersInfo() = default;

    CStdString GetPrintersInfo();
};
