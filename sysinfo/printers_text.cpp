#include "sysinfo/printers_text.h"

#include <string.h>

namespace sysinfo {

CStdString describe_printers(const CStdString* names, int count, const char* default_printer) {
    constexpr char list_heading[] = "Printers list: \n";
    constexpr char default_heading[] = "Default printer: \n";
    unsigned size = sizeof(list_heading) + sizeof(default_heading) + static_cast<unsigned>(strlen(default_printer)) + 2;
    for (int i = 0; i < count; ++i)
        size += names[i].length() + 1;

    CStdString text;
    text.grow(size); // at once: a string grows to exactly what the next piece needs
    text += list_heading;
    for (int i = 0; i < count; ++i) {
        text += names[i];
        text += '\n';
    }
    text += '\n';
    text += default_heading;
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
