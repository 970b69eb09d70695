/* A page's rows run from the bottom up, padded, with blue first; a picture's from the top down, without gaps, with
 * red first. The conversions between the two are here. */
#include "companions/fall/picture.h"

#include <string.h>

#include "companions/fall/byte_source.h"

/* Rows between two questions whether the user stops: a megabyte at least. */
static int is_time_to_ask(uint32_t row, uint32_t row_bytes) {
    return row % (1u + 0x100000u / (row_bytes + 1u)) == 0;
}

void check_size(uint32_t width, uint32_t height) {
    if (!width || !height)
        give_up(BADI);
    if (width > GLIB_MAX_PAGE_SIDE || height > GLIB_MAX_PAGE_SIDE || width > FALL_MAX_PIXELS / height)
        give_up(OMEM);
}

static void fill_row(uint8_t* to, const uint8_t* from, uint32_t width, uint32_t channels) {
    if (channels == 1) {
        memcpy(to, from, width);
        return;
    }
    for (uint32_t x = 0; x < width; ++x, from += channels) {
        int coloured = channels >= 3;
        *to++ = from[coloured ? 2 : 0];
        *to++ = from[coloured ? 1 : 0];
        *to++ = from[0];
        if (channels != 3)
            *to++ = from[channels - 1];
    }
}

IDEPage* add_picture(ImageDataExchange* image, const Picture* picture) {
    uint32_t channels = picture->channels;
    IDEPage* page = host->AddPage(image, picture->width, picture->height, channels == 1 ? 8 : channels == 3 ? 24 : 32);
    if (!page)
        give_up(OMEM);
    for (uint32_t y = 0; y < page->height; ++y) {
        if (is_time_to_ask(y, page->row_bytes))
            report_progress(image, 90 + (uint32_t)((uint64_t)y * 10 / page->height));
        fill_row(page->pixels + (size_t)(page->height - 1 - y) * page->row_bytes,
                 picture->pixels + (size_t)y * picture->width * channels, page->width, channels);
    }
    return page;
}

static RGB32 pixel_of(const IDEPage* page, const uint8_t* row, uint32_t x) {
    uint32_t bits = page->bits_per_pixel;
    RGB32 pixel;
    if (bits <= 8) {
        uint32_t index = row[(size_t)x * bits / 8] >> (8 - bits - x * bits % 8) & ((1u << bits) - 1);
        pixel = page->palette[index];
        if ((int32_t)index == page->transparent_index)
            pixel.alpha = 0;
        return pixel;
    }
    row += (size_t)x * (bits / 8);
    pixel.blue = row[0];
    pixel.green = row[1];
    pixel.red = row[2];
    pixel.alpha = bits == 32 ? row[3] : 255;
    return pixel;
}

/* 0.299 red, 0.587 green and 0.114 blue, in parts of 65536. */
static uint8_t grey_of(RGB32 pixel) {
    return (uint8_t)((19595u * pixel.red + 38470u * pixel.green + 7471u * pixel.blue + 32768u) >> 16);
}

Picture picture_of_page(ImageDataExchange* image, const IDEPage* page, uint32_t channels) {
    Picture picture = {page->width, page->height, channels, NULL};
    uint64_t bytes = (uint64_t)page->width * page->height * channels;
    uint8_t* to;
    if (bytes > FALL_MAX_MEMORY)
        give_up(OMEM);
    picture.pixels = to = (uint8_t*)take_memory((size_t)bytes);
    for (uint32_t y = 0; y < page->height; ++y) {
        const uint8_t* row = page->pixels + (size_t)(page->height - 1 - y) * page->row_bytes;
        if (is_time_to_ask(y, page->row_bytes))
            report_progress(image, (uint32_t)((uint64_t)y * 50 / page->height));
        for (uint32_t x = 0; x < page->width; ++x) {
            RGB32 pixel = pixel_of(page, row, x);
            if (channels <= 2) {
                *to++ = grey_of(pixel);
            } else {
                *to++ = pixel.red;
                *to++ = pixel.green;
                *to++ = pixel.blue;
            }
            if (channels == 2 || channels == 4)
                *to++ = pixel.alpha;
        }
    }
    return picture;
}

void drop_opaque_alpha(Picture* picture) {
    size_t count = (size_t)picture->width * picture->height;
    uint8_t* to = picture->pixels;
    const uint8_t* from = picture->pixels;
    for (size_t i = 0; i < count; ++i)
        if (picture->pixels[4 * i + 3] != 255)
            return;
    picture->channels = 3;
    for (size_t i = 0; i < count; ++i, from += 4, to += 3)
        memmove(to, from, 3);
}

int is_grey(const IDEPage* page) {
    for (uint32_t i = 0; i < page->palette_count; ++i) {
        const RGB32* colour = &page->palette[i];
        if (colour->red != colour->green || colour->green != colour->blue)
            return 0;
    }
    return page->palette_count != 0;
}
