/* Collects the small writes of the encoders, so that the host's stream gets whole buffers. */
#include "companions/fall/byte_sink.h"

#include <string.h>

#include "companions/fall/byte_source.h"

ByteSink* open_sink(VStream* stream, ImageDataExchange* image) {
    ByteSink* sink = (ByteSink*)take_memory(sizeof(ByteSink));
    sink->stream = stream;
    sink->image = image;
    sink->count = 0;
    return sink;
}

void write_sink(ByteSink* sink, const void* data, uint32_t bytes) {
    while (bytes) {
        uint32_t part = (uint32_t)sizeof(sink->bytes) - sink->count;
        if (part > bytes)
            part = bytes;
        memcpy(sink->bytes + sink->count, data, part);
        sink->count += part;
        data = (const uint8_t*)data + part;
        bytes -= part;
        if (sink->count == sizeof(sink->bytes)) {
            finish_sink(sink);
            report_progress(sink->image, 50); /* only to learn whether the user stops: the size isn't known */
        }
    }
}

void finish_sink(ByteSink* sink) {
    if (sink->count && host->Write(sink->stream, sink->bytes, sink->count) != sink->count)
        give_up(IERR);
    sink->count = 0;
}
