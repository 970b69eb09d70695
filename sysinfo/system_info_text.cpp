#include "sysinfo/system_info_text.h"

namespace sysinfo {

namespace {

const char* TextOf(const char* section) {
    return section ? section : "";
}

} // namespace

CStdString JoinSections(const Sections& sections) {
    CStdString text;
    text.format("\nWindows Version:\n%s\nModule Info:%s\nCPU Info:%s\nMonitor info:\n%s\n\n%s\n\n%s\n%s",
                TextOf(sections.windows_version), TextOf(sections.module_info), TextOf(sections.cpu_info),
                TextOf(sections.display), TextOf(sections.browser), TextOf(sections.printers),
                TextOf(sections.host_application));
    return text;
}

CStdString SystemInfoPath(const char* temporary_directory) {
    CStdString path(temporary_directory);
    path.trim_right("\\");
    path += "\\system_info.txt";
    return path;
}

} // namespace sysinfo
