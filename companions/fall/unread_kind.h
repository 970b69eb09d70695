/* Good files that the codec doesn't read: it refuses them with the same answer as damaged ones. */
#ifndef FALL_UNREAD_KIND_H
#define FALL_UNREAD_KIND_H

#include "companions/fall/codec.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

/* 1 if the header is sound, but of a kind that isn't read: a BMP of run lengths, a PSD without RGB colours, and so on.
 * Only for data of that format. */
int is_unread_kind(ImageFormat format, ByteSource* source);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
