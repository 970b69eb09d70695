// One format text has every caption: what is too long is cut at the end of the whole.
#include "sysinfo/system_info_text.h"

namespace sysinfo {

namespace {

const char* text_of(const char* section) {
    return section ? section : "";
}

} // namespace

CStdString join_sections(const Sections& sections) {
    CStdString text;
    text.format("\nWindows Version:\n%s\nModule Info:%s\nCPU Info:%s\nMonitor info:\n%s\n\n%s\n\n%s\n%s",
                text_of(sections.windows_version), text_of(sections.module_info), text_of(sections.cpu_info),
                text_of(sections.display), text_of(sections.browser), text_of(sections.printers),
                text_of(sections.host_application));
    return text;
}

} // namespace sysinfo
