/* The exported entries: one set for each format. */
#include "companions/fall/entries.h"

/* Targa comes last, since its data can't be told for certain. */
const uint32_t kFormatCodes[image_format_count] = {
    [image_jpg] = 0x044A5047u, [image_png] = 0x24504E47u, [image_bmp] = 0x24424D50u, [image_gif] = 0x32474946u,
    [image_psd] = 0x04505344u, [image_hdr] = 0x00484452u, [image_pgm] = 0x0050474Du, [image_ppm] = 0x0050504Du,
    [image_pic] = 0x00504943u, [image_tga] = 0x20544741u,
};

void GLIB_CALL GetFilterInfo(uint32_t request_kind, FilterInfoRequest* request) {
    if (request_kind != 0)
        return;
    host = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = image_format_count;
    request->formats = kFormatCodes;
}

#define READING_ENTRIES(NAME, format)                                                                                  \
    ResultCode GLIB_CALL Load##NAME##ImageData(ImageDataExchange* image, VStream* stream, int32_t page_index) {        \
        return load_image(format, image, stream, page_index);                                                          \
    }                                                                                                                  \
    ResultCode GLIB_CALL Get##NAME##FileInfo(VStream* stream, ImageFileInfo* info) {                                   \
        return image_info(format, stream, info);                                                                       \
    }                                                                                                                  \
    ResultCode GLIB_CALL Load##NAME##ImageThumbnail(ImageDataExchange* image, VStream* stream, uint32_t max_width,     \
                                                    uint32_t max_height) {                                             \
        return load_thumbnail(format, image, stream, max_width, max_height);                                           \
    }

#define WRITING_ENTRY(NAME, format)                                                                                    \
    ResultCode GLIB_CALL Save##NAME##ImageData(ImageDataExchange* image, VStream* stream,                              \
                                               const BaseFormatDesc* options) {                                        \
        return save_image(format, image, stream, options);                                                             \
    }

READING_ENTRIES(JPG, image_jpg)
WRITING_ENTRY(JPG, image_jpg)
READING_ENTRIES(PNG, image_png)
WRITING_ENTRY(PNG, image_png)
READING_ENTRIES(BMP, image_bmp)
WRITING_ENTRY(BMP, image_bmp)
READING_ENTRIES(TGA, image_tga)
WRITING_ENTRY(TGA, image_tga)
READING_ENTRIES(HDR, image_hdr)
WRITING_ENTRY(HDR, image_hdr)
READING_ENTRIES(GIF, image_gif)
READING_ENTRIES(PSD, image_psd)
READING_ENTRIES(PGM, image_pgm)
READING_ENTRIES(PPM, image_ppm)
READING_ENTRIES(PIC, image_pic)
