/* Writing: the first page only, with the channels that come nearest to what the record asks for. */
#include "companions/fall/entries.h"

typedef struct Writing {
    ImageFormat format;
    ImageDataExchange* image;
    VStream* stream;
    const SaveFields* options;
    int quality;
} Writing;

/* What is written of the pixels: the nearest to the record's bits per pixel that the format has. */
static uint32_t channels_for(const Writing* writing, const IDEPage* page) {
    int few = writing->options->bits_per_pixel && writing->options->bits_per_pixel <= 8;
    int alpha = writing->options->keep_alpha && (page->bits_per_pixel == 32 || page->transparent_index >= 0);
    switch (writing->format) {
    case image_jpg:
        return few ? 1 : 3;
    case image_png:
    case image_tga:
        return few && is_grey(page) ? 1u + (uint32_t)alpha : 3u + (uint32_t)alpha;
    case image_bmp:
        return 3u + (uint32_t)alpha;
    default:
        return 3;
    }
}

static void save(void* argument) {
    const Writing* writing = (const Writing*)argument;
    const IDEPage* page = host->Page(writing->image, 0);
    ByteSink* sink;
    Picture picture;
    EncodeChoice choice = {writing->quality, (int)writing->options->compression};
    if (!page)
        give_up(BADA);
    sink = open_sink(writing->stream, writing->image);
    picture = picture_of_page(writing->image, page, channels_for(writing, page));
    encode_picture(writing->format, &picture, choice, sink);
    finish_sink(sink);
    report_progress(writing->image, 100);
}

static int clamped_quality(const BaseFormatDesc* options) {
#ifdef __cplusplus
#error "compiled as C: the records are read through their C view"
#endif
    int quality = ((const JPGSaveRecord*)options)->fields.quality;
    return quality < 1 ? 1 : quality > 100 ? 100 : quality;
}

ResultCode save_image(ImageFormat format, ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options) {
    Writing writing = {format, image, stream, NULL, 0};
    if (!options)
        return BADA;
    writing.options = &((const SaveRecord*)options)->fields;
    if (format == image_jpg)
        writing.quality = clamped_quality(options);
    return run_operation(save, &writing);
}
