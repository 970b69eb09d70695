// CStdWinVersion: which Windows this is, in one line of text.
#pragma once

#include <windows.h>

#include "base/std_string.h"
#include "sysinfo/win_version_text.h"

class CStdWinVersion {
public:
    virtual ~CStdWinVersion() = default;

    // The long name, or with `tag` the compact one; see sysinfo::describe_win_version. The text says what GetVersionExA
    // says: Windows tells programs without a manifest of later systems that it is an older one.
    CStdString GetVersionText(bool tag);
};

namespace sysinfo {

// The version record, plain or extended, whichever this function in the place of GetVersionExA gives; an NT without the
// extended one has its edition from the registry below this root.
WinVersion read_win_version(decltype(GetVersionExA)* get_version, HKEY root);

// Fills the edition fields of the record from ProductOptions below this root.
void read_registry_edition(HKEY root, WinVersion& version);

} // namespace sysinfo
