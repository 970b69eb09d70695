// Where an upload goes. Pure text, no network.
#pragma once

#include "base/std_string.h"

struct Destination {
    CStdString url;             // with scheme and path; empty where nothing can be sent
    bool secure = false;        // https: over TLS with a certificate that is in order, or not at all
    bool proxy_allowed = false; // where the server can't be reached, one more try through the system's proxy
};

// What an address means: a host's name or IPv4 address alone stands for plain HTTP. An http or https URL (both in small
// letters) stands for itself. Either gets the form's path where it has none. The url is empty where the address is
// empty, has another scheme, or anything but printable ASCII.
Destination destination_of(const char* address, bool proxy_allowed);
