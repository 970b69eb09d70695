/* What the exported entries of every format do. */
#ifndef FALL_ENTRIES_H
#define FALL_ENTRIES_H

#include "companions/fall/codec.h"
#include "glib/save_record.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

/* The codes of the formats, in the order of ImageFormat. */
extern const uint32_t kFormatCodes[image_format_count];

/* As LoadEntry, InfoEntry, ThumbnailEntry and SaveEntry of the module contract say. */
ResultCode load_image(ImageFormat format, ImageDataExchange* image, VStream* stream, int32_t page_index);
ResultCode image_info(ImageFormat format, VStream* stream, ImageFileInfo* info);
ResultCode load_thumbnail(ImageFormat format, ImageDataExchange* image, VStream* stream, uint32_t max_width,
                          uint32_t max_height);
ResultCode save_image(ImageFormat format, ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
