/* Reading: pages, facts and thumbnails. Each entry is one operation (operation.h), and first makes sure that the data
 * is of its format. */
#include "companions/fall/entries.h"
#include "companions/fall/gif.h"
#include "companions/fall/codec.h"

typedef struct Reading {
    ImageFormat format;
    ImageDataExchange* image;
    VStream* stream;
    int32_t page_index;
    ImageFileInfo* info;
    uint32_t max_width, max_height;
} Reading;

static ByteSource* open_image(const Reading* reading) {
    ByteSource* source = open_source(reading->stream, reading->image);
    if (!has_format(reading->format, source))
        give_up(BADT);
    return source;
}

static void load(void* argument) {
    const Reading* reading = (const Reading*)argument;
    ByteSource* source = open_image(reading);
    Picture picture;
    if (reading->format == image_gif) {
        load_gif(source, reading->image, reading->page_index);
        return;
    }
    if (reading->page_index > 0)
        give_up(MISS);
    picture = decode_picture(reading->format, source);
    add_picture(reading->image, &picture);
    if (source->ran_dry)
        give_up(OKAF); /* the rest of the picture is what the decoder made of nothing */
}

ResultCode load_image(ImageFormat format, ImageDataExchange* image, VStream* stream, int32_t page_index) {
    Reading reading = {format, image, stream, page_index, NULL, 0, 0};
    return run_operation(load, &reading);
}

/* The codec counts 4 channels for all. */
static uint32_t psd_has_alpha(ByteSource* source) {
    uint32_t high;
    rewind_source(source);
    skip_source(source, 12);
    high = read_source_byte(source);
    return (high << 8 | read_source_byte(source)) >= 4;
}

static void measure(void* argument) {
    const Reading* reading = (const Reading*)argument;
    ByteSource* source = open_image(reading);
    Picture picture = measure_picture(reading->format, source);
    ImageFileInfo* info = reading->info;
    info->format = kFormatCodes[reading->format];
    info->width = picture.width;
    info->height = picture.height;
    info->bits_per_pixel = stored_depth(reading->format, &picture, source);
    info->page_count = 1;
    info->has_alpha = picture.channels % 2 == 0;
    if (reading->format == image_gif)
        measure_gif(source, info);
    if (reading->format == image_psd)
        info->has_alpha = psd_has_alpha(source);
}

ResultCode image_info(ImageFormat format, VStream* stream, ImageFileInfo* info) {
    Reading reading = {format, NULL, stream, 0, info, 0, 0};
    return run_operation(measure, &reading);
}

/* No format that is read here has one; data of another format is still told apart from that. */
static void thumbnail(void* argument) {
    open_image((const Reading*)argument);
    give_up(TMNS);
}

ResultCode load_thumbnail(ImageFormat format, ImageDataExchange* image, VStream* stream, uint32_t max_width,
                          uint32_t max_height) {
    Reading reading = {format, image, stream, 0, NULL, max_width, max_height};
    return run_operation(thumbnail, &reading);
}
