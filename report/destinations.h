// Where reports go unless the host says otherwise. Both are build settings, of which cmake/destinations.py makes a
// header; tools/redirect.py puts others into a built Wendax.dll, which is why they lie together, behind a mark, with
// space for longer ones.
#pragma once

struct Destinations {
    char mark[16];             // by which the tool finds the record
    char support_address[128]; // recipient of e-mail reports, NUL-terminated
    char upload_server[128];   // host name of the server that takes upload reports, NUL-terminated
};

extern const Destinations kDestinations;
