// Tries the block as a whole; only if that fails, page by page to the first that can't be read.
#include "compose/email_tool.h"

#include <windows.h>

namespace compose {

unsigned readable_prefix(const unsigned char* data, unsigned size) {
    if (!IsBadReadPtr(data, size)) // it touches every page
        return size;
    const unsigned page = 4096; // of every Windows for x86
    unsigned readable = 0;
    unsigned step = page - static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(data) % page);
    while (step < size - readable && !IsBadReadPtr(data + readable, step)) {
        readable += step;
        step = page;
    }
    return readable;
}

} // namespace compose
