/* Two single-header libraries, compiled into this file, with their memory and assertions led to the operation. Their
 * inner functions are called, to try one format at a time: with a newer version of them that has to be checked. */
#include "companions/fall/codec.h"

#include <limits.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

/* The headers of mingw-w64 make this word of the compiler a macro, which the library's use of it doesn't expect. */
#if defined(_MSC_VER) && defined(__forceinline)
#undef __forceinline
#endif

/* Everything that the library takes or gives back goes through the operation; its assertions end the operation. */
#define STBI_MALLOC(bytes) take_memory(bytes)
#define STBI_REALLOC(block, bytes) resize_memory(block, bytes)
#define STBI_FREE(block) free_memory(block)
#define STBI_ASSERT(truth) ((truth) ? (void)0 : give_up(BADI))
#define STBI_MAX_DIMENSIONS GLIB_MAX_PAGE_SIDE
#define STBI_NO_STDIO
#define STBI_NO_FAILURE_STRINGS
#define STBI_NO_THREAD_LOCALS
#define STBI_NO_SIMD
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include "stb_image.h"

#define STBIW_MALLOC(bytes) take_memory(bytes)
#define STBIW_REALLOC(block, bytes) resize_memory(block, bytes)
#define STBIW_FREE(block) free_memory(block)
#define STBIW_ASSERT(truth) ((truth) ? (void)0 : give_up(IERR))
/* STBI_WRITE_NO_STDIO would take the HDR writer away too; the static functions for files are dropped unused. */
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include "stb_image_write.h"

/* Passes over its pixels that a JPEG may make; progressive ones in use make 3 to 20. */
enum { most_passes = 100 };

/* The library's reader over a source. */
typedef struct Reader {
    stbi__context context;
    ByteSource* source;
} Reader;

/* The library fills its own small buffer as far as there is data, but into other places it reads what it needs. */
static int read_callback(void* user, char* data, int size) {
    Reader* reader = (Reader*)user;
    uint32_t count = read_source(reader->source, data, (uint32_t)size);
    if ((stbi_uc*)data != reader->context.buffer_start && count < (uint32_t)size)
        reader->source->ran_dry = 1;
    return (int)count;
}

static void skip_callback(void* user, int bytes) {
    if (bytes > 0)
        skip_source(((Reader*)user)->source, (uint64_t)bytes);
}

static int end_callback(void* user) {
    return source_at_end(((Reader*)user)->source);
}

static stbi__context* start(ByteSource* source) {
    static const stbi_io_callbacks kCallbacks = {read_callback, skip_callback, end_callback};
    Reader* reader = (Reader*)take_memory(sizeof(Reader));
    reader->source = source;
    rewind_source(source);
    stbi__start_callbacks(&reader->context, (stbi_io_callbacks*)&kCallbacks, reader);
    return &reader->context; /* the first member: freed as the whole */
}

static void* load_psd(stbi__context* s, int* x, int* y, int* comp, int req_comp, stbi__result_info* ri) {
    return stbi__psd_load(s, x, y, comp, req_comp, ri, 8);
}

static void* load_hdr(stbi__context* s, int* x, int* y, int* comp, int req_comp, stbi__result_info* ri) {
    float* light = stbi__hdr_load(s, x, y, comp, req_comp, ri);
    return light ? stbi__hdr_to_ldr(light, *x, *y, *comp) : NULL; /* req_comp is 0 always */
}

/* Always with 4 channels: for any other number the library converts even a picture that it failed to make. */
static void* load_pic(stbi__context* s, int* x, int* y, int* comp, int req_comp, stbi__result_info* ri) {
    (void)req_comp;
    return stbi__pic_load(s, x, y, comp, 4, ri);
}

/* The third number of the header, which stands for white; the library passes over it. */
static uint32_t pnm_maximum(ByteSource* source) {
    stbi__context* context = start(source);
    uint32_t maximum = 0;
    char next;
    stbi__skip(context, 2);
    next = (char)stbi__get8(context);
    for (int i = 0; i < 3; ++i) {
        stbi__pnm_skip_whitespace(context, &next);
        maximum = (uint32_t)stbi__pnm_getinteger(context, &next);
    }
    free_memory(context);
    if (!maximum || maximum > 65535) /* the library takes one that wraps below 0 for at most 255 */
        give_up(BADI);
    return maximum;
}

/* Brings samples to bytes of which 255 is white. Those of 16 bits come as the file has them, the high byte first, on a
 * processor that has it last; of the full range the high byte is kept. */
static void spread_samples(uint8_t* samples, size_t count, uint32_t maximum) {
    int wide = maximum > 255;
    if (maximum == 255)
        return;
    for (size_t i = 0; i < count; ++i) {
        uint32_t sample = wide ? (uint32_t)samples[2 * i] << 8 | samples[2 * i + 1] : samples[i];
        if (sample > maximum)
            sample = maximum;
        samples[i] = (uint8_t)(maximum == 65535 ? sample >> 8 : (sample * 255 + maximum / 2) / maximum);
    }
}

static int test_pgm(stbi__context* s) {
    return stbi__pnm_test(s) && s->img_buffer_original[1] == '5';
}

static int test_ppm(stbi__context* s) {
    return stbi__pnm_test(s) && s->img_buffer_original[1] == '6';
}

typedef struct Decoder {
    int (*test)(stbi__context*);
    int (*info)(stbi__context*, int*, int*, int*);
    void* (*load)(stbi__context*, int*, int*, int*, int, stbi__result_info*);
} Decoder;

static const Decoder kDecoders[image_format_count] = {
    [image_jpg] = {stbi__jpeg_test, stbi__jpeg_info, stbi__jpeg_load},
    [image_png] = {stbi__png_test, stbi__png_info, stbi__png_load},
    [image_bmp] = {stbi__bmp_test, stbi__bmp_info, stbi__bmp_load},
    [image_gif] = {stbi__gif_test, stbi__gif_info, stbi__gif_load},
    [image_psd] = {stbi__psd_test, stbi__psd_info, load_psd},
    [image_hdr] = {stbi__hdr_test, stbi__hdr_info, load_hdr},
    [image_pgm] = {test_pgm, stbi__pnm_info, stbi__pnm_load},
    [image_ppm] = {test_ppm, stbi__pnm_info, stbi__pnm_load},
    [image_pic] = {stbi__pic_test, stbi__pic_info, load_pic},
    [image_tga] = {stbi__tga_test, stbi__tga_info, stbi__tga_load},
};

int has_format(ImageFormat format, ByteSource* source) {
    stbi__context* context = start(source);
    int yes = kDecoders[format].test(context);
    free_memory(context);
    return yes;
}

Picture measure_picture(ImageFormat format, ByteSource* source) {
    Picture picture = {0, 0, 0, NULL};
    stbi__context* context = start(source);
    int width = 0, height = 0, channels = 0;
    if (!kDecoders[format].info(context, &width, &height, &channels) || width < 0 || height < 0)
        give_up(is_unread_kind(format, source) ? NSUP : BADI);
    free_memory(context);
    check_size((uint32_t)width, (uint32_t)height);
    picture.width = (uint32_t)width;
    picture.height = (uint32_t)height;
    picture.channels = (uint32_t)channels;
    return picture;
}

int has_wide_samples(ByteSource* source) {
    stbi__context* context = start(source);
    int wide = stbi__pnm_is16(context);
    free_memory(context);
    return wide;
}

Picture decode_picture(ImageFormat format, ByteSource* source) {
    Picture picture = measure_picture(format, source);
    stbi__context* context;
    stbi__result_info about = {8, 0, 0};
    int width = 0, height = 0, channels = 0;
    uint8_t* pixels;
    uint32_t white = 0;
    if (is_unread_kind(format, source))
        give_up(NSUP);
    if (format == image_pgm || format == image_ppm)
        white = pnm_maximum(source);
    source->pass_limit = format == image_jpg ? most_passes : 0;
    context = start(source);
    about.channel_order = STBI_ORDER_RGB;
    pixels = (uint8_t*)kDecoders[format].load(context, &width, &height, &channels, 0, &about);
    source->pass_limit = 0;
    if (!pixels || width <= 0 || height <= 0 || channels < 1 || channels > 4)
        give_up(BADI);
    free_memory(context);
    if (white)
        spread_samples(pixels, (size_t)width * (size_t)height * (size_t)channels, white);
    else if (about.bits_per_channel == 16)
        pixels = stbi__convert_16_to_8((stbi__uint16*)pixels, width, height, channels);
    picture.width = (uint32_t)width;
    picture.height = (uint32_t)height;
    picture.channels = (uint32_t)channels;
    picture.pixels = pixels;
    if (format == image_pic)
        picture.channels = 4;
    if (format == image_pic || format == image_psd) /* these come with alpha always */
        drop_opaque_alpha(&picture);
    return picture;
}

struct GifDecoder {
    stbi__context* context;
    stbi__gif gif;
    uint8_t* before[2]; /* the last picture and the one before it */
};

GifDecoder* open_gif(ByteSource* source) {
    GifDecoder* decoder;
    measure_picture(image_gif, source);
    decoder = (GifDecoder*)take_memory(sizeof(GifDecoder));
    decoder->context = start(source);
    return decoder;
}

/* The library paints each picture over the last, and wants the one before that where a picture is taken back again. */
int next_gif_picture(GifDecoder* decoder, Picture* picture, uint32_t* delay) {
    stbi__gif* gif = &decoder->gif;
    int channels = 0;
    uint8_t* older = decoder->before[1];
    uint8_t* pixels = stbi__gif_load_next(decoder->context, gif, &channels, 4, older);
    size_t bytes;
    if (!pixels)
        return -1;
    if (pixels == (uint8_t*)decoder->context)
        return 0;
    bytes = (size_t)gif->w * (size_t)gif->h * 4;
    decoder->before[1] = decoder->before[0];
    decoder->before[0] = older ? older : (uint8_t*)take_memory(bytes);
    memcpy(decoder->before[0], pixels, bytes);
    picture->width = (uint32_t)gif->w;
    picture->height = (uint32_t)gif->h;
    picture->channels = 4;
    picture->pixels = decoder->before[0];
    *delay = (uint32_t)gif->delay;
    return 1;
}

static void write_callback(void* context, void* data, int size) {
    write_sink((ByteSink*)context, data, (uint32_t)size);
}

/* Bytes become light by the gamma with which the library makes bytes of light when it reads. */
static int encode_hdr(const Picture* picture, ByteSink* sink) {
    size_t count = (size_t)picture->width * picture->height * picture->channels;
    float* light;
    float levels[256];
    if (count > FALL_MAX_MEMORY / sizeof(float))
        give_up(OMEM);
    for (int i = 0; i < 256; ++i)
        levels[i] = (float)pow(i / 255.0, 2.2);
    light = (float*)take_memory(count * sizeof(float));
    for (size_t i = 0; i < count; ++i)
        light[i] = levels[picture->pixels[i]];
    return stbi_write_hdr_to_func(write_callback, sink, (int)picture->width, (int)picture->height,
                                  (int)picture->channels, light);
}

void encode_picture(ImageFormat format, const Picture* picture, EncodeChoice choice, ByteSink* sink) {
    int width = (int)picture->width, height = (int)picture->height, channels = (int)picture->channels;
    int done = 0;
    switch (format) {
    case image_jpg:
        done = stbi_write_jpg_to_func(write_callback, sink, width, height, channels, picture->pixels, choice.quality);
        break;
    case image_png:
        stbi_write_png_compression_level = choice.compression < 1 ? 8 : choice.compression > 9 ? 9 : choice.compression;
        done = stbi_write_png_to_func(write_callback, sink, width, height, channels, picture->pixels, 0);
        break;
    case image_bmp:
        done = stbi_write_bmp_to_func(write_callback, sink, width, height, channels, picture->pixels);
        break;
    case image_tga:
        stbi_write_tga_with_rle = choice.compression != 1;
        done = stbi_write_tga_to_func(write_callback, sink, width, height, channels, picture->pixels);
        break;
    case image_hdr:
        done = encode_hdr(picture, sink);
        break;
    default:
        give_up(NSUP);
    }
    if (!done)
        give_up(IERR);
}
