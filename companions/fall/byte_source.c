/* One buffer over the host's stream, with places counted from where the stream stood at the start. Data read makes
 * up 90 per cent of the progress that is reported; the scans of a JPEG are counted as its bytes go by. */
#include "companions/fall/byte_source.h"

#include <string.h>

ByteSource* open_source(VStream* stream, ImageDataExchange* image) {
    ByteSource* source = (ByteSource*)take_memory(sizeof(ByteSource));
    uint64_t end = host->Size(stream);
    source->stream = stream;
    source->image = image;
    source->start = host->Tell(stream);
    source->size = end > source->start ? end - source->start : 0;
    return source;
}

static void move_source(ByteSource* source, uint64_t position) {
    if (!host->Seek(source->stream, (int64_t)(source->start + position), 0))
        give_up(IERR);
    source->position = position;
    source->count = source->next = 0;
}

void rewind_source(ByteSource* source) {
    move_source(source, 0);
    source->ran_dry = 0;
    source->passes = 0;
    source->last_byte = 0;
}

/* FF DA begins a pass. Other parts of a file may hold these bytes as well, an embedded preview does: hence a limit
 * far above what pictures need. */
static void count_passes(ByteSource* source) {
    uint8_t before = source->last_byte;
    for (uint32_t i = 0; i < source->count; ++i) {
        if (before == 0xFF && source->bytes[i] == 0xDA && ++source->passes > source->pass_limit)
            give_up(BADI);
        before = source->bytes[i];
    }
    source->last_byte = before;
}

static int fill(ByteSource* source) {
    if (source->next < source->count)
        return 1;
    source->next = 0;
    source->count = host->Read(source->stream, source->bytes, sizeof(source->bytes));
    source->position += source->count;
    if (source->pass_limit)
        count_passes(source);
    if (source->count && source->size)
        report_progress(source->image, (uint32_t)(source->position * 90 / source->size));
    return source->count != 0;
}

uint32_t read_source(ByteSource* source, void* buffer, uint32_t bytes) {
    uint32_t done = 0;
    while (done < bytes && fill(source)) {
        uint32_t part = source->count - source->next;
        if (part > bytes - done)
            part = bytes - done;
        memcpy((uint8_t*)buffer + done, source->bytes + source->next, part);
        source->next += part;
        done += part;
    }
    if (!done && bytes)
        source->ran_dry = 1;
    return done;
}

uint8_t read_source_byte(ByteSource* source) {
    uint8_t byte = 0;
    read_source(source, &byte, 1);
    return byte;
}

void skip_source(ByteSource* source, uint64_t bytes) {
    uint32_t buffered = source->count - source->next;
    if (bytes <= buffered) {
        source->next += (uint32_t)bytes;
        return;
    }
    bytes -= buffered;
    if (source->position >= source->size || bytes > source->size - source->position)
        bytes = source->position < source->size ? source->size - source->position : 0;
    move_source(source, source->position + bytes);
}

int source_at_end(ByteSource* source) {
    return !fill(source);
}

void report_progress(ImageDataExchange* image, uint32_t percent) {
    if (image && !host->Progress(image, percent < 100 ? percent : 100, 100))
        give_up(USRA);
}
