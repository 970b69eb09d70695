// A format module of which every entry fails in a way of its own.
#include "glib/module_contract.h"

namespace {
const uint32_t kFormats[] = {0x044A5047u};
volatile int g_one = 1, g_zero; // one divided by a number takes no division, and no fault
volatile int* volatile g_nowhere;
} // namespace

extern "C" {

glib::ResultCode GLIB_CALL LoadJPGImageData(glib::ImageDataExchange*, VStream*, int32_t) {
    *g_nowhere = 1;
    return glib::RCOK;
}

glib::ResultCode GLIB_CALL GetJPGFileInfo(VStream*, glib::ImageFileInfo*) {
    g_zero = g_one / g_zero;
    return glib::RCOK;
}

// Overflows the stack.
glib::ResultCode GLIB_CALL LoadJPGImageThumbnail(glib::ImageDataExchange*, VStream*, uint32_t depth, uint32_t) {
    volatile char taken[1000];
    taken[depth % 1000] = 1;
    if (depth)
        LoadJPGImageThumbnail(nullptr, nullptr, depth + 1, 0);
    return static_cast<glib::ResultCode>(taken[1]);
}

glib::ResultCode GLIB_CALL SaveJPGImageData(glib::ImageDataExchange*, VStream*, const glib::BaseFormatDesc*) {
    throw 5;
}

void GLIB_CALL GetFilterInfo(uint32_t, glib::FilterInfoRequest* request) {
#ifdef FAULTY_DISCOVERY
    *g_nowhere = 1;
#endif
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}
}
