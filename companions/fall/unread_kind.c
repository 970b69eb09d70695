/* Only BMP and PSD have such kinds. Their headers are read here once more, apart from the codec. */
#include "companions/fall/codec.h"

/* A bit for each number below 64. */
#define BIT(number) (1ull << (number))

static int is_one_of(uint32_t number, uint64_t set) {
    return number < 64 && (set >> number & 1);
}

/* Of two bytes, the high one first. */
static uint32_t big_word(ByteSource* source) {
    uint32_t high = read_source_byte(source);
    return high << 8 | read_source_byte(source);
}

static uint32_t big_dword(ByteSource* source) {
    uint32_t high = big_word(source);
    return high << 16 | big_word(source);
}

/* The low byte of a number of four; 255 if more is set. */
static uint32_t little_number(ByteSource* source) {
    uint32_t low = read_source_byte(source);
    uint32_t rest = read_source_byte(source);
    rest |= big_word(source);
    return rest ? 255 : low;
}

static int is_unread_bmp(ByteSource* source) {
    uint32_t header;
    skip_source(source, 14);
    header = little_number(source);
    skip_source(source, 12);
    /* Run lengths of 8 and 4 bits, a JPEG, a PNG, masks with alpha, and those of CMYK. */
    return header >= 40 &&
           is_one_of(little_number(source), BIT(1) | BIT(2) | BIT(4) | BIT(5) | BIT(6) | BIT(11) | BIT(12) | BIT(13));
}

static int is_unread_psd(ByteSource* source) {
    uint32_t version, depth, mode, compression;
    skip_source(source, 4);
    version = big_word(source);
    skip_source(source, 16);
    depth = big_word(source);
    mode = big_word(source);
    if (!is_one_of(version, BIT(1) | BIT(2)) || !is_one_of(depth, BIT(1) | BIT(8) | BIT(16) | BIT(32)) ||
        !is_one_of(mode, BIT(0) | BIT(1) | BIT(2) | BIT(3) | BIT(4) | BIT(7) | BIT(8) | BIT(9)))
        return 0;
    if (version != 1 || mode != 3 || !is_one_of(depth, BIT(8) | BIT(16)))
        return 1;
    for (int section = 0; section < 3; ++section)
        skip_source(source, big_dword(source));
    compression = big_word(source);
    return compression == 2 || compression == 3 || (compression == 1 && depth == 16);
}

int is_unread_kind(ImageFormat format, ByteSource* source) {
    int unread;
    if (format != image_bmp && format != image_psd)
        return 0;
    rewind_source(source);
    unread = format == image_bmp ? is_unread_bmp(source) : is_unread_psd(source);
    return unread && !source->ran_dry; /* a header that is cut off is no good one */
}
