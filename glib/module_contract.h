/* What the imaging layer and a format module know of each other. C and C++; docs/module-contract.md is the full text.
 *
 * A format module is a DLL, of 32 or 64 bits as its host, that exports, with C names and the C calling convention,
 *   GetFilterInfo                                  as GetFilterInfoEntry
 *   Load%sImageData, Get%sFileInfo                 as LoadEntry, InfoEntry:          required for every format it names
 *   Load%sImageThumbnail, Save%sImageData          as ThumbnailEntry, SaveEntry:     may be missing
 * where %s is the format's short name, "JPG" for instance, without a trailing blank.
 *
 * All memory that crosses the border belongs to the host: pages, palettes and their pixels are made by the services
 * and are freed with the document, so the two sides need not share a C runtime. No exception may leave an entry. All
 * calls of one operation come on one thread, one operation at a time. */
#ifndef GLIB_MODULE_CONTRACT_H
#define GLIB_MODULE_CONTRACT_H

#include <stdint.h>

#include "glib/result_code.h"

/* A module that reports another version is dropped. */
#define GLIB_INTERFACE_VERSION 0x800u

/* Limits. Beyond them AddPage answers null, and a module gives OMEM; a host never asks a save beyond. */
#define GLIB_MAX_PAGE_SIDE 65500u       /* pixels */
#define GLIB_MAX_PAGE_BYTES 0x20000000u /* 512 MB of pixels, also of all pages of one load together */
#define GLIB_MAX_PAGES 4096u            /* pages of one document */

#if defined(_WIN32)
#define GLIB_CALL __cdecl
#else
#define GLIB_CALL
#endif

#ifdef __cplusplus
class VStream; /* opaque to a module that uses the stream services below */
namespace glib {
struct BaseFormatDesc;
struct ImageDataExchange;
extern "C" {
#else
typedef struct VStream VStream;
typedef struct BaseFormatDesc BaseFormatDesc; /* glib/save_record.h: its C view is SaveRecord */
typedef struct ImageDataExchange ImageDataExchange;
#endif

typedef struct RGB32 {
    uint8_t blue, green, red, alpha; /* alpha 255 is opaque; palettes of formats without alpha hold 255 */
} RGB32;

/* One page of pixels. Rows run from the bottom of the picture up, `row_bytes` apart; the leftmost pixel comes first, in
 * the high bits for 1 and 4 bits per pixel. 1, 4 and 8 bits are indices into the palette; 24 bits are blue, green, red;
 * 32 bits are blue, green, red, alpha, not premultiplied. */
typedef struct IDEPage {
    uint32_t width, height;            /* pixels, both at least 1 */
    uint32_t bits_per_pixel;           /* 1, 4, 8, 24 or 32 */
    uint32_t row_bytes;                /* (bits_per_pixel * width + 31) / 8, low two bits cleared */
    uint8_t* pixels;                   /* row_bytes * height bytes, all 0 when made */
    RGB32* palette;                    /* 2, 16 or 256 entries, grey ramp when made; null above 8 bits */
    uint32_t palette_count;            /* 2, 16, 256, or 0 above 8 bits */
    int32_t transparent_index;         /* the palette index that is transparent as a whole, -1: none */
    double resolution_x, resolution_y; /* pixels per inch, 0: unknown */
    uint32_t delay;                    /* milliseconds until the next page, 0: no film */
    uint32_t reserved[5];              /* 0 */
} IDEPage;

/* What Get%sFileInfo finds out without decoding pixels. The host zeroes it; the module fills what it knows. */
typedef struct ImageFileInfo {
    uint32_t format;                   /* the format code of the data */
    uint32_t width, height;            /* pixels of the first page */
    uint32_t bits_per_pixel;           /* as stored in the file: 1 to 128; with a palette those of an index */
    uint32_t page_count;               /* at least 1 */
    uint32_t has_alpha, has_thumbnail; /* 0 or 1 */
    uint32_t reserved;                 /* 0 */
    double resolution_x, resolution_y; /* pixels per inch, 0: unknown */
} ImageFileInfo;

/* The service callbacks, good from GetFilterInfo until the module is unloaded. */
typedef struct ModuleServices {
    uint32_t size;    /* bytes of this table; a later host may append entries */
    uint32_t version; /* GLIB_INTERFACE_VERSION of the host */

    /* Adds a page and gives it; null when a limit is passed, an argument is not as IDEPage says or memory is gone. The
     * page belongs to the document. Use the record until the entry returns. */
    IDEPage*(GLIB_CALL* AddPage)(ImageDataExchange* image, uint32_t width, uint32_t height, uint32_t bits_per_pixel);
    uint32_t(GLIB_CALL* PageCount)(const ImageDataExchange* image);
    /* Page `index`, null past the end. While saving, pages are for reading only. */
    IDEPage*(GLIB_CALL* Page)(ImageDataExchange* image, uint32_t index);
    /* Reports `step` of `total`; 0 means that the user wants to stop: give USRA. Call it at least every 16 MB of pixels
     * or so. */
    uint32_t(GLIB_CALL* Progress)(ImageDataExchange* image, uint32_t step, uint32_t total);

    /* The stream, for modules that don't use VStream. Read and Write give the bytes moved, fewer at the end or after a
     * failure; Seek takes origin 0 start, 1 current, 2 end, and gives 1 or 0. */
    uint32_t(GLIB_CALL* Read)(VStream* stream, void* buffer, uint32_t bytes);
    uint32_t(GLIB_CALL* Write)(VStream* stream, const void* buffer, uint32_t bytes);
    uint32_t(GLIB_CALL* Seek)(VStream* stream, int64_t offset, int32_t origin);
    uint64_t(GLIB_CALL* Tell)(VStream* stream);
    uint64_t(GLIB_CALL* Size)(VStream* stream);
} ModuleServices;

/* The request record of GetFilterInfo. */
typedef struct FilterInfoRequest {
    const ModuleServices* services; /* from the host: keep the pointer */
    uint32_t size;                  /* from the host: bytes of this record */
    uint32_t interface_version;     /* from the module: GLIB_INTERFACE_VERSION */
    uint32_t format_count;          /* from the module: at most 256 */
    const uint32_t* formats;        /* from the module: its format codes, good as long as it is loaded */
} FilterInfoRequest;

/* `request_kind` is 0; for any other value a module leaves the record alone. Makes nothing that must be freed. */
typedef void(GLIB_CALL* GetFilterInfoEntry)(uint32_t request_kind, FilterInfoRequest* request);

/* Streams stand at the start of the image's data, which need not be position 0: positions are relative to where the
 * stream stood at entry. Give BADT if the data is not of this format, BADI if it is damaged. */

/* Reads page `page_index`, or all pages for -1, adding them with AddPage. On failure the host drops what was added. */
typedef ResultCode(GLIB_CALL* LoadEntry)(ImageDataExchange* image, VStream* stream, int32_t page_index);
typedef ResultCode(GLIB_CALL* InfoEntry)(VStream* stream, ImageFileInfo* info);
/* Adds one page that shows the image within max_width x max_height; TMNS if the data holds no thumbnail. */
typedef ResultCode(GLIB_CALL* ThumbnailEntry)(ImageDataExchange* image, VStream* stream, uint32_t max_width,
                                              uint32_t max_height);
/* Writes the pages as `options` says, or the first of them where the format holds one. options->format is this format
 * (low 24 bits). The host has chosen the pages: first_page and page_count are done with. Pages with alpha come only if
 * keep_alpha is set. */
typedef ResultCode(GLIB_CALL* SaveEntry)(ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options);

#ifdef __cplusplus
static_assert(sizeof(IDEPage) == (sizeof(void*) == 8 ? 80 : 72) && sizeof(ImageFileInfo) == 48 &&
                  sizeof(ModuleServices) == (sizeof(void*) == 8 ? 80 : 44) &&
                  sizeof(FilterInfoRequest) == (sizeof(void*) == 8 ? 32 : 20),
              "both sides must agree");
static_assert(sizeof(void*) != 8 || (sizeof(IDEPage) == 80 && sizeof(ImageFileInfo) == 48 &&
                                     sizeof(ModuleServices) == 80 && sizeof(FilterInfoRequest) == 32),
              "both sides must agree");
} // extern "C"
} // namespace glib
#endif

#endif
