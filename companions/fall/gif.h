/* The pictures of a GIF as pages. */
#ifndef FALL_GIF_H
#define FALL_GIF_H

#include "companions/fall/byte_source.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

/* Pixels of all pictures of a GIF together that are decoded, counting those before an asked page: as many as one load
 * may make pages of. A file of a few bytes a picture can't keep the module busy beyond that; OMEM. */
#define FALL_MAX_GIF_PIXELS (GLIB_MAX_PAGE_BYTES / 4)

/* As LoadEntry; gives up with OKAF if pictures were added and the rest is damaged. */
void load_gif(ByteSource* source, ImageDataExchange* image, int32_t page_index);

/* Counts the pictures without decoding them, and looks for transparent ones. */
void measure_gif(ByteSource* source, ImageFileInfo* info);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
