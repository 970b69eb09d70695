// The section about the printers, and the name in the system's entry for the default one.
#include "sysinfo/system_info_text.h"

#include <string.h>

namespace sysinfo {

CStdString describe_printers(const CStdString* names, int count, const char* default_printer) {
    constexpr char kListHeading[] = "Printers list: \n";
    constexpr char kDefaultHeading[] = "Default printer: \n";
    unsigned size = sizeof(kListHeading) + sizeof(kDefaultHeading) + static_cast<unsigned>(strlen(default_printer)) + 2;
    for (int i = 0; i < count; ++i)
        size += names[i].length() + 1;

    CStdString text;
    text.grow(size); // at once: a string grows to exactly what the next piece needs
    text += kListHeading;
    for (int i = 0; i < count; ++i) {
        text += names[i];
        text += '\n';
    }
    text += '\n';
    text += kDefaultHeading;
    text += default_printer;
    text += '\n';
    return text;
}

CStdString printer_of_entry(const char* entry) {
    CStdString name;
    name.assign(entry, static_cast<unsigned>(strcspn(entry, ",")));
    return name;
}

} // namespace sysinfo
