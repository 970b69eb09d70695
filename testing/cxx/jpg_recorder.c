/* A format module for tests: what it is given to save it writes down raw: the record, then width, height and bits per
 * pixel of the page, then its pixels. */
#include "glib/module_contract.h"
#include "glib/save_record.h"

static const uint32_t kFormats[] = {0x044A5047u};
static const ModuleServices* services;

ResultCode GLIB_CALL LoadJPGImageData(ImageDataExchange* image, VStream* stream, int32_t page_index) {
    (void)image, (void)stream, (void)page_index;
    return BADT;
}

ResultCode GLIB_CALL GetJPGFileInfo(VStream* stream, ImageFileInfo* info) {
    (void)stream, (void)info;
    return BADT;
}

ResultCode GLIB_CALL SaveJPGImageData(ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options) {
    const IDEPage* page = services->Page(image, 0);
    services->Write(stream, options, sizeof(JPGSaveRecord));
    services->Write(stream, &page->width, 4);
    services->Write(stream, &page->height, 4);
    services->Write(stream, &page->bits_per_pixel, 4);
    services->Write(stream, page->pixels, page->row_bytes * page->height);
    return RCOK;
}

void GLIB_CALL GetFilterInfo(uint32_t request_kind, FilterInfoRequest* request) {
    (void)request_kind;
    services = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}
