// The probes are on the heap, as after a fault they might be too large for the stack; the file is written in one system
// call.

#include <new>

#include "base/owner.h"
#include "sysinfo/std_info.h"
#include "win/files.h"
#include "win/paths.h"

bool write_system_info_file(CStdString& path, const HostApplication& application) {
    path = win::temporary_path("system_info.txt");
    const gen::Owner<CStdInfo> info(new (std::nothrow) CStdInfo);
    if (!info)
        gen::throw_out_of_memory();
    CStdString text = info->GetSystemInfoText(application);
    text.replace_all("\n", "\r\n"); // the display's line ends bring a CR of their own, and get a second one
    return win::write_whole_file(path.c_str(), text.c_str(), text.length());
}
