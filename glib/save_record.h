/* The save records: how an image is to be written. They cross into the format modules unchanged, so every offset is
 * fixed. C and C++: a C module reads them through SaveRecord and JPGSaveRecord. */
#ifndef GLIB_SAVE_RECORD_H
#define GLIB_SAVE_RECORD_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
namespace glib {
#endif

/* The common fields, 80 bytes from offset 8 of every record. A module honours what its format can express and passes
 * over the rest; the defaults stand in brackets. */
typedef struct SaveFields {
    uint32_t format;           /*  8: format code */
    uint32_t first_page;       /* 12: first page to write [0] */
    uint32_t page_count;       /* 16: pages to write, 0: all [0] */
    uint32_t bits_per_pixel;   /* 20: of the written file; a module takes the nearest that its format knows [24] */
    uint32_t resolution_unit;  /* 24: 1 none, 2 pixels per inch, 3 pixels per centimetre [1] */
    double resolution_x;       /* 32: in that unit; 0.0: take the page's own [0.0] */
    double resolution_y;       /* 40 */
    uint8_t reserved48[8];     /* 48: filler */
    uint32_t compression;      /* 56: 0: the format's usual, else the format's own number [0] */
    int32_t transparent_index; /* 60: palette index to be written as transparent, -1: the page's own [-1] */
    uint8_t dither;            /* 64: 1: spread the error when colours are reduced [1] */
    uint8_t interlaced;        /* 65: 1: rows in passes, or a progressive file [0] */
    uint8_t bottom_up;         /* 66: 1: rows from the bottom up, where the format has the choice [0] */
    uint32_t palette_bits;     /* 68: bits of a palette that must be made [8] */
    uint8_t alpha_threshold;   /* 72: alpha up to this is transparent where a format knows only yes and no [127] */
    uint8_t optimal_palette;   /* 73: 1: a palette made for the image, 0: a fixed one [1] */
    uint8_t keep_alpha;        /* 74: 1: write alpha if format and page have it [0] */
    uint32_t thumbnail_width;  /* 76: largest size of an embedded thumbnail [128] */
    uint32_t thumbnail_height; /* 80: [96] */
    uint32_t reserved84;       /* 84: filler; keeps the base at 88 bytes with every compiler */
} SaveFields;

/* The fields of a JPEG record, from offset 88. */
typedef struct JPGSaveFields {
    uint32_t reserved88[4]; /*  88: [0] */
    uint8_t quality;        /* 104: 1 to 100 [75] */
    uint32_t reserved108;   /* 108: [192] */
    uint8_t reserved112[8]; /* 112: eight option bytes [1 each] */
    uint32_t reserved120;   /* 120: [0] */
    uint32_t reserved124;   /* 124: [1] */
    uint8_t reserved128;    /* 128: [1] */
} JPGSaveFields;

#ifdef __cplusplus

// Gives every record its type table at offset 0.
struct SaveRecordType {
    virtual ~SaveRecordType() {}
};

struct BaseFormatDesc : SaveRecordType, SaveFields {
    explicit BaseFormatDesc(uint32_t format_code = 0)
        : SaveFields{format_code, 0, 0, 24, 1, 0.0, 0.0, {}, 0, -1, 1, 0, 0, 8, 127, 1, 0, 128, 96, 0} {}
};

// For every format whose fields are the common ones alone.
struct ImageSave : BaseFormatDesc {
    using BaseFormatDesc::BaseFormatDesc;
};

// The format code 0x044A5047 is JPEG's.
struct JPGSave : BaseFormatDesc, JPGSaveFields {
    explicit JPGSave(uint8_t jpeg_quality = 75)
        : BaseFormatDesc(0x044A5047), JPGSaveFields{{}, jpeg_quality, 192, {1, 1, 1, 1, 1, 1, 1, 1}, 0, 1, 1} {}
};

} // namespace glib

// offsetof works for these records with every compiler used, though the language doesn't promise it.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif
#define GLIB_PIN(field, offset) static_assert(offsetof(glib::JPGSave, field) == (offset), "part of the module contract")
GLIB_PIN(format, 8);
GLIB_PIN(first_page, 12);
GLIB_PIN(page_count, 16);
GLIB_PIN(bits_per_pixel, 20);
GLIB_PIN(resolution_unit, 24);
GLIB_PIN(resolution_x, 32);
GLIB_PIN(resolution_y, 40);
GLIB_PIN(reserved48, 48);
GLIB_PIN(compression, 56);
GLIB_PIN(transparent_index, 60);
GLIB_PIN(dither, 64);
GLIB_PIN(interlaced, 65);
GLIB_PIN(bottom_up, 66);
GLIB_PIN(palette_bits, 68);
GLIB_PIN(alpha_threshold, 72);
GLIB_PIN(optimal_palette, 73);
GLIB_PIN(keep_alpha, 74);
GLIB_PIN(thumbnail_width, 76);
GLIB_PIN(thumbnail_height, 80);
GLIB_PIN(reserved84, 84);
GLIB_PIN(reserved88, 88);
GLIB_PIN(quality, 104);
GLIB_PIN(reserved108, 108);
GLIB_PIN(reserved112, 112);
GLIB_PIN(reserved120, 120);
GLIB_PIN(reserved124, 124);
GLIB_PIN(reserved128, 128);
#undef GLIB_PIN
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
static_assert(sizeof(glib::BaseFormatDesc) == 88 && sizeof(glib::ImageSave) == 88, "part of the module contract");
static_assert(sizeof(glib::JPGSave) == 136, "part of the module contract");

#else

typedef struct SaveRecord {
    uint8_t type_table[8]; /* a pointer, and filler where it is shorter */
    SaveFields fields;
} SaveRecord;

typedef struct JPGSaveRecord {
    SaveRecord base;
    JPGSaveFields fields;
    uint32_t reserved132;
} JPGSaveRecord;

#endif

#endif
