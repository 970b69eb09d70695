/* Writes an image's data to the host's stream. A stream that fails ends the operation with IERR. */
#ifndef FALL_BYTE_SINK_H
#define FALL_BYTE_SINK_H

#include "companions/fall/operation.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

typedef struct ByteSink {
    VStream* stream;
    ImageDataExchange* image;
    uint32_t count; /* bytes in the buffer */
    uint8_t bytes[8192];
} ByteSink;

/* A sink at the stream's place. It belongs to the operation's memory. */
ByteSink* open_sink(VStream* stream, ImageDataExchange* image);
void write_sink(ByteSink* sink, const void* data, uint32_t bytes);

/* Writes what is still in the buffer: without it the image is not complete. */
void finish_sink(ByteSink* sink);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
