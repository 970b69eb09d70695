// Where an upload goes, and sending one over HTTP: direct, and where that is allowed through the proxy. The address is
// pure text (destination.cpp).
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

struct UploadWatcher; // of net/http_transport.h

// Posts the body, and tells whether the server confirmed it. agent: as what the program introduces itself to the
// server. Where the destination allows it, and neither its name was found nor a connection made, so that nothing has
// been sent, the system's proxy settings are used for one more try, if there are any. Blocks as CHttpTransport does; a
// watcher may end it. May throw gen::genlib_out_of_memory.
bool upload(const Destination& to, const char* agent, const void* body, unsigned length,
            UploadWatcher* watcher = nullptr);
