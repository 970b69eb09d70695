/* The codec's view of a picture, and its way to and from a page of the document. */
#ifndef FALL_PICTURE_H
#define FALL_PICTURE_H

#include "companions/fall/operation.h"

#ifdef __cplusplus
namespace fall {
extern "C" {
#endif

/* Pixels of one picture that a file may have; beyond them it is refused with OMEM before it is decoded. */
#define FALL_MAX_PIXELS 0x4000000u

/* Rows run from the top down without gaps. 1 channel is grey, 2 grey and alpha, 3 red, green, blue, 4 also alpha. */
typedef struct Picture {
    uint32_t width, height, channels;
    uint8_t* pixels; /* memory of the operation */
} Picture;

/* Gives up with OMEM for a picture beyond the limits, with BADI for one without pixels. */
void check_size(uint32_t width, uint32_t height);

/* Adds the picture as a page: grey as 8 bits with a grey ramp, the others as 24 or 32 bits. */
IDEPage* add_picture(ImageDataExchange* image, const Picture* picture);

/* A page as a picture with that many channels; grey is made by the weights of red, green and blue in JPEG. */
Picture picture_of_page(ImageDataExchange* image, const IDEPage* page, uint32_t channels);

/* Makes 3 channels of 4 if all pixels are opaque. */
void drop_opaque_alpha(Picture* picture);

/* 1 if the page has a palette, and only shades of grey in it. */
int is_grey(const IDEPage* page);

#ifdef __cplusplus
} // extern "C"
} // namespace fall
#endif

#endif
