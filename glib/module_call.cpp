// A module that faults, throws or answers with a code that there isn't has failed with CFLT, whatever it did before.
#include "glib/module_call.h"

#include "win/guard.h"

namespace glib {

namespace {

constexpr ResultCode kCodes[] = {RCOK, OKAF, IERR, UNSF, NSUP, BADA, BADI, BADT, DISF, CFLT, OMEM, USRA, MISS, TMNS};

ResultCode known(ResultCode code) {
    for (const ResultCode each : kCodes)
        if (code == each)
            return code;
    return CFLT;
}

} // namespace

unsigned call_get_info(GetFilterInfoEntry entry, EFormat* formats, unsigned capacity) {
    FilterInfoRequest request = {&module_services(), sizeof(request), 0, 0, nullptr};
    unsigned count = 0;
    const bool done = win::run_guarded(win::kSwallowAll, [&] {
        entry(0, &request);
        if (request.interface_version != GLIB_INTERFACE_VERSION || !request.formats || request.format_count > capacity)
            return;
        for (; count < request.format_count; ++count)
            formats[count] = static_cast<EFormat>(request.formats[count]);
    });
    return done ? count : 0;
}

ResultCode call_load(LoadEntry entry, ImageDataExchange& image, VStream& stream, int32_t page) {
    ResultCode code = CFLT;
    return win::run_guarded(win::kSwallowAll, [&] { code = entry(&image, &stream, page); }) ? known(code) : CFLT;
}

ResultCode call_info(InfoEntry entry, VStream& stream, ImageFileInfo& info) {
    ResultCode code = CFLT;
    return win::run_guarded(win::kSwallowAll, [&] { code = entry(&stream, &info); }) ? known(code) : CFLT;
}

ResultCode call_thumbnail(ThumbnailEntry entry, ImageDataExchange& image, VStream& stream, uint32_t width,
                          uint32_t height) {
    ResultCode code = CFLT;
    return win::run_guarded(win::kSwallowAll, [&] { code = entry(&image, &stream, width, height); }) ? known(code)
                                                                                                     : CFLT;
}

ResultCode call_save(SaveEntry entry, ImageDataExchange& image, VStream& stream, const BaseFormatDesc& options) {
    ResultCode code = CFLT;
    return win::run_guarded(win::kSwallowAll, [&] { code = entry(&image, &stream, &options); }) ? known(code) : CFLT;
}

} // namespace glib
