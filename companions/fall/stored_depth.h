/* How many bits a file spends on a pixel: often not what the decoder makes of them. */
#ifndef FALL_STORED_DEPTH_H
#define FALL_STORED_DEPTH_H

#include "companions/fall/codec.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

/* The bits per pixel, 1 to 128, of data that measure_picture() has found good; of a GIF those of its common palette.
 * For a picture with a palette the bits of an index. */
uint32_t stored_depth(ImageFormat format, const Picture* measured, ByteSource* source);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
