/* Reads an image's data from the host's stream, and through the host's progress callback lets the user stop. */
#ifndef FALL_BYTE_SOURCE_H
#define FALL_BYTE_SOURCE_H

#include "companions/fall/operation.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

typedef struct ByteSource {
    VStream* stream;
    ImageDataExchange* image; /* null: no progress is reported */
    uint64_t start;           /* where the stream stood when the entry was called */
    uint64_t size;            /* bytes from there to the end */
    uint64_t position;        /* of the bytes behind those in the buffer, from the start */
    uint32_t count, next;     /* bytes in the buffer, and the next of them to be read */
    int ran_dry;              /* 1 once a byte was asked for behind the end */
    /* Each pass over a JPEG's pixels begins with the bytes FF DA. A file of many passes and no data would take hours;
     * at this many of them the data is refused. 0: no limit. */
    unsigned pass_limit;
    unsigned passes;
    uint8_t last_byte;
    uint8_t bytes[16384];
} ByteSource;

/* A source over the stream from where it stands. It belongs to the operation's memory. */
ByteSource* open_source(VStream* stream, ImageDataExchange* image);

/* Back to the start. */
void rewind_source(ByteSource* source);

/* The bytes read, fewer than asked for at the end of the data. */
uint32_t read_source(ByteSource* source, void* buffer, uint32_t bytes);

/* The next byte, 0 behind the end. */
uint8_t read_source_byte(ByteSource* source);

/* Passes over bytes; behind the end it stops there. */
void skip_source(ByteSource* source, uint64_t bytes);

/* 1 if no byte is left. */
int source_at_end(ByteSource* source);

/* Tells the host how far the operation is, in percent; gives up if the user wants to stop. `image` may be null. */
void report_progress(ImageDataExchange* image, uint32_t percent);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
