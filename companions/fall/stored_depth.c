/* Reads the few bytes of the headers that count, because the codec doesn't tell. What lies behind the end reads as
 * 0. */
#include "companions/fall/codec.h"

static uint8_t byte_at(ByteSource* source, uint32_t offset) {
    rewind_source(source);
    skip_source(source, offset);
    return read_source_byte(source);
}

static uint32_t high_word(ByteSource* source) {
    uint32_t high = read_source_byte(source);
    return high << 8 | read_source_byte(source);
}

/* Segments behind FF and a number come one after the other; the one of the frame has a number from C0 to CF, but for
 * three that are taken for tables. */
static uint32_t jpg_depth(ByteSource* source) {
    rewind_source(source);
    while (!source_at_end(source)) {
        uint8_t marker;
        uint32_t length;
        if (read_source_byte(source) != 0xFF)
            continue;
        do
            marker = read_source_byte(source);
        while (marker == 0xFF);
        if (marker < 0xC0 || (marker >= 0xD0 && marker <= 0xD9))
            continue; /* stands alone */
        length = high_word(source);
        if (marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
            uint32_t precision = read_source_byte(source);
            skip_source(source, 4);
            return precision * read_source_byte(source);
        }
        skip_source(source, length < 2 ? 0 : length - 2);
    }
    return 0;
}

/* The header is the first chunk, or comes behind one of Apple's. */
static uint32_t png_depth(ByteSource* source) {
    static const uint8_t kChannelsOfKind[] = {1, 0, 3, 1, 2, 0, 4};
    uint32_t header = 8, depth;
    uint8_t kind;
    if (byte_at(source, header + 4) == 'C')
        header += 12u + byte_at(source, header + 3);
    depth = byte_at(source, header + 16);
    kind = byte_at(source, header + 17);
    return kind < sizeof(kChannelsOfKind) ? depth * kChannelsOfKind[kind] : 0;
}

static uint32_t bmp_depth(ByteSource* source) {
    return byte_at(source, byte_at(source, 14) == 12 ? 24 : 28); /* the first headers were shorter */
}

/* The codec counts 4 channels for all, and more than those are no colours. */
static uint32_t psd_depth(ByteSource* source) {
    uint32_t channels;
    rewind_source(source);
    skip_source(source, 12);
    channels = high_word(source);
    skip_source(source, 8);
    return high_word(source) * (channels < 4 ? 3 : 4);
}

uint32_t stored_depth(ImageFormat format, const Picture* measured, ByteSource* source) {
    uint32_t flags;
    switch (format) {
    case image_jpg:
        return jpg_depth(source);
    case image_png:
        return png_depth(source);
    case image_bmp:
        return bmp_depth(source);
    case image_gif:
        flags = byte_at(source, 10);
        return (flags & 0x80) ? (flags & 7) + 1 : 8;
    case image_psd:
        return psd_depth(source);
    case image_hdr:
        return 32; /* three fractions and an exponent */
    case image_pgm:
    case image_ppm:
        return measured->channels * (has_wide_samples(source) ? 16 : 8);
    case image_tga:
        return byte_at(source, 16);
    default:
        return 8 * measured->channels;
    }
}
