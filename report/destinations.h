// Where reports go, and of what program they speak, unless the host says otherwise. All are build settings, of which
// cmake/destinations.py makes a header; tools/redirect.py puts others into a built Wendax.dll, which is why they lie
// together, behind marks, with space for longer ones.
//
// Texts are NUL-terminated. An empty name leaves the texts that have it as they are built in.
#pragma once

#include <string.h>

#include "report/report_texts.h"
#include "sysinfo/version_texts.h"

struct Destinations {
    char mark[16];             // by which the tool finds the record
    char support_address[128]; // recipient of e-mail reports
    char upload_address[128];  // of the server that takes upload reports, as destination_of() understands it
    // Version 1.0 ended here.
    char layout[16]; // by which the tool knows what follows
    char product[48];
    char company[48];   // in Windows-1251
    char program[64];   // the host's file name
    char own_pictures;  // the dialogs have the host's bitmap and icon, where it has them
    char proxy_allowed; // see Destination
    char reserved[14];  // 0
};
static_assert(sizeof(Destinations) == 464);

extern const Destinations kDestinations;

// An address of the record, an empty one where it is damaged.
template <unsigned kSize>
const char* record_address(const char (&field)[kSize]) {
    return memchr(field, 0, kSize) ? field : "";
}

// A name of the record; the other one where it is empty, damaged, or would be taken for a format.
const char* record_name(const char* field, unsigned size, const char* otherwise);

// What the record says of the program.
report::Names record_names(const Destinations& record);
HostApplication record_application(const Destinations& record);
