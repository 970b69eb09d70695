/* The library that decodes and encodes, behind plain functions: no other file knows it. What it doesn't tell of a file
 * is found out beside it. */
#ifndef FALL_CODEC_H
#define FALL_CODEC_H

#include "companions/fall/byte_sink.h"
#include "companions/fall/byte_source.h"
#include "companions/fall/picture.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

typedef enum ImageFormat {
    image_jpg,
    image_png,
    image_bmp,
    image_gif,
    image_psd,
    image_hdr,
    image_pgm,
    image_ppm,
    image_pic,
    image_tga,
    image_format_count
} ImageFormat;

/* 1 if the data begins as that format does. Targa has no mark: for it, that the header makes sense. */
int has_format(ImageFormat format, ByteSource* source);

/* Size and channels of the first picture, from its header. Pixels are not set. Gives up with BADI for a bad header,
 * NSUP for a good one of a kind that isn't read, and as check_size() does. */
Picture measure_picture(ImageFormat format, ByteSource* source);

/* 1 if the samples of a PGM or PPM are of 16 bits. */
int has_wide_samples(ByteSource* source);

/* How many bits the file spends on a pixel, 1 to 128: often not what the decoder makes of them. For data that
 * measure_picture() has found good; of a GIF those of its common palette. For a picture with a palette the bits of an
 * index. */
uint32_t stored_depth(ImageFormat format, const Picture* measured, ByteSource* source);

/* 1 for a good file that the codec refuses with the same answer as damaged ones: its header is sound, but of a kind
 * that isn't read, a BMP of run lengths, a PSD without RGB colours, and so on. Only for data of that format. */
int is_unread_kind(ImageFormat format, ByteSource* source);

/* The first picture, whole. Gives up with BADI if the data is damaged, NSUP if it is good but of a kind that isn't
 * read. */
Picture decode_picture(ImageFormat format, ByteSource* source);

/* A GIF, picture by picture. */
typedef struct GifDecoder GifDecoder;
GifDecoder* open_gif(ByteSource* source);

/* The next picture as it is to be seen, with 4 channels; its pixels are good until the next call. `delay` is in
 * milliseconds. 1, or 0 behind the last picture, or -1 if the rest is damaged. */
int next_gif_picture(GifDecoder* decoder, Picture* picture, uint32_t* delay);

typedef struct EncodeChoice {
    int quality;     /* JPEG: 1 to 100 */
    int compression; /* PNG: effort, 1 to 9, more is 9, less the usual. Targa: 1
                        unpacked, else run lengths. */
} EncodeChoice;

/* Writes JPG, PNG, BMP, TGA or HDR; NSUP for the others. HDR wants 3 channels, which it takes for gamma 2.2. */
void encode_picture(ImageFormat format, const Picture* picture, EncodeChoice choice, ByteSink* sink);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
