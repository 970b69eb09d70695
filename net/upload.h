// One upload over HTTP: direct, and where that is allowed through the proxy.
#pragma once

#include "net/destination.h"

struct UploadWatcher; // of net/http_transport.h

// Posts the body, and tells whether the server confirmed it. agent: as what the program introduces itself to the
// server. Where the destination allows it, and neither its name was found nor a connection made, so that nothing has
// been sent, the system's proxy settings are used for one more try, if there are any. Blocks as CHttpTransport does.
// May throw gen::genlib_out_of_memory.
// A watcher may end it.
bool upload(const Destination& to, const char* agent, const void* body, unsigned length,
            UploadWatcher* watcher = nullptr);
