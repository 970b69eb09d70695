/* Loading decodes every picture up to the one that is wanted, as each builds on those before it. Measuring only
 * walks over the blocks of the file. */
#include "companions/fall/gif.h"

#include <string.h>

#include "companions/fall/codec.h"

/* The decoder goes on from its own picture, so the page is made of a copy. */
static IDEPage* add_copy(ImageDataExchange* image, const Picture* picture) {
    size_t bytes = (size_t)picture->width * picture->height * 4;
    Picture copy = *picture;
    IDEPage* page;
    copy.pixels = (uint8_t*)take_memory(bytes);
    memcpy(copy.pixels, picture->pixels, bytes);
    drop_opaque_alpha(&copy);
    page = add_picture(image, &copy);
    free_memory(copy.pixels);
    return page;
}

void load_gif(ByteSource* source, ImageDataExchange* image, int32_t page_index) {
    GifDecoder* decoder = open_gif(source);
    IDEPage* first = NULL;
    uint32_t first_delay = 0, delay = 0;
    uint64_t pixels = 0;
    Picture picture;
    int more = 1;
    for (int32_t index = 0; (more = next_gif_picture(decoder, &picture, &delay)) > 0; ++index) {
        pixels += (uint64_t)picture.width * picture.height;
        if (pixels > FALL_MAX_GIF_PIXELS || (uint32_t)index >= GLIB_MAX_PAGES)
            give_up(OMEM);
        if (page_index >= 0 && index != page_index)
            continue;
        IDEPage* page = add_copy(image, &picture);
        if (page_index >= 0)
            return;
        if (first) { /* the second picture makes an animation of the first */
            first->delay = first_delay;
            page->delay = delay;
        } else {
            first = page;
            first_delay = delay;
        }
    }
    if (!first)
        give_up(more < 0 || page_index < 0 ? BADI : MISS);
    if (more < 0)
        give_up(OKAF);
}

/* Data comes in blocks, each behind its length; one of length 0 ends it. */
static void skip_blocks(ByteSource* source) {
    for (uint8_t length; (length = read_source_byte(source)) != 0;)
        skip_source(source, length);
}

static void skip_palette(ByteSource* source, uint8_t flags) {
    if (flags & 0x80)
        skip_source(source, 3u * (2u << (flags & 7)));
}

/* 0x2C begins a picture: place, palette, size of codes, data. 0x21 begins an extension, of which 0xF9 says whether one
 * colour of the next picture is transparent. Anything else is the end. */
void measure_gif(ByteSource* source, ImageFileInfo* info) {
    uint32_t pictures = 0;
    uint8_t flags;
    rewind_source(source);
    skip_source(source, 10); /* up to the flags of the screen */
    flags = read_source_byte(source);
    skip_source(source, 2);
    skip_palette(source, flags);
    info->has_alpha = 0;
    for (;;) {
        uint8_t tag = read_source_byte(source);
        if (tag == 0x2C) {
            skip_source(source, 8);
            skip_palette(source, read_source_byte(source));
            skip_source(source, 1);
            ++pictures;
        } else if (tag == 0x21) {
            if (read_source_byte(source) == 0xF9) {
                uint8_t length = read_source_byte(source);
                if (length) {
                    info->has_alpha |= read_source_byte(source) & 1u;
                    skip_source(source, length - 1u);
                }
            }
        } else {
            break;
        }
        skip_blocks(source);
    }
    info->page_count = pictures ? pictures : 1;
}
