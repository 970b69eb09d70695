// Only what tells the two kinds of address apart is looked at here; the network takes the URL to pieces.
#include "net/upload.h"

#include <string.h>

namespace {

bool begins(const char* text, const char* with) {
    return strncmp(text, with, strlen(with)) == 0;
}

} // namespace

Destination destination_of(const char* address, bool proxy_allowed) {
    Destination to;
    to.proxy_allowed = proxy_allowed;
    for (const char* at = address; *at; ++at) {
        if (*at <= ' ' || *at > '~')
            return to;
    }
    to.secure = begins(address, "https://");
    const char* host = address;
    if (const char* const scheme_end = strstr(address, "://")) {
        if (!to.secure && !begins(address, "http://"))
            return to;
        host = scheme_end + 3;
    }
    if (!*host)
        return to;
    if (host == address)
        to.url = "http://";
    to.url += address;
    if (!strchr(host, '/'))
        to.url += "/index.php?option=com_mosforms";
    return to;
}
