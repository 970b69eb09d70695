/* A format module for X11 bitmaps ("XBM"): pictures of two colours, kept as C source text. It is written against the
 * module contract alone and uses nothing else of the library. */
#include <stdio.h>
#include <string.h>

#include "glib/module_contract.h"
#include "glib/save_record.h"

static const uint32_t kFormats[] = {0x0058424Du}; /* "XBM" */
static const ModuleServices* services;

/* Reads a stream byte by byte from a small buffer. */
typedef struct Reader {
    VStream* stream;
    uint8_t bytes[512];
    uint32_t count, next;
} Reader;

static int next_byte(Reader* reader) {
    if (reader->next == reader->count) {
        reader->count = services->Read(reader->stream, reader->bytes, sizeof(reader->bytes));
        reader->next = 0;
        if (!reader->count)
            return -1;
    }
    return reader->bytes[reader->next++];
}

/* The next word of the text: letters, digits and underscores, or one other character; 0 at the end, -1 if it is longer
 * than any word of this format. */
static int next_word(Reader* reader, char word[64]) {
    int length = 0, c;
    do
        c = next_byte(reader);
    while (c == ' ' || c == '\t' || c == '\r' || c == '\n');
    while (c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
        if (length == 63)
            return -1;
        word[length++] = (char)c;
        c = next_byte(reader);
    }
    if (length == 0 && c >= 0)
        word[length++] = (char)c;
    else if (c >= 0)
        --reader->next; /* not part of the word */
    word[length] = 0;
    return length;
}

static int ends_in(const char* word, const char* end) {
    size_t length = strlen(word), tail = strlen(end);
    return length >= tail && strcmp(word + length - tail, end) == 0;
}

/* A number in decimal, or in hexadecimal with 0x; -1 if it is none or beyond a million. */
static long number(const char* word) {
    unsigned base = 10;
    long value = 0;
    if (word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        base = 16;
        word += 2;
    }
    if (!*word)
        return -1;
    for (; *word; ++word) {
        unsigned digit = *word >= '0' && *word <= '9'   ? (unsigned)(*word - '0')
                         : *word >= 'a' && *word <= 'f' ? (unsigned)(*word - 'a' + 10)
                         : *word >= 'A' && *word <= 'F' ? (unsigned)(*word - 'A' + 10)
                                                        : 99;
        if (digit >= base || value > 1000000)
            return -1;
        value = value * (long)base + (long)digit;
    }
    return value;
}

/* Reads as far as the '{' before the pixels. */
static ResultCode read_header(Reader* reader, uint32_t* width, uint32_t* height) {
    char word[64], name[64], value[64];
    long w = 0, h = 0;
    for (int words = 0;; ++words) {
        if (next_word(reader, word) <= 0)
            return words < 2 ? BADT : BADI;
        if ((words == 0 && strcmp(word, "#") != 0) || (words == 1 && strcmp(word, "define") != 0))
            return BADT; /* every file of this format begins with "#define" */
        if (strcmp(word, "{") == 0)
            break;
        if (strcmp(word, "define") != 0)
            continue;
        if (next_word(reader, name) <= 0 || next_word(reader, value) <= 0)
            return BADI;
        if (ends_in(name, "_width"))
            w = number(value);
        else if (ends_in(name, "_height"))
            h = number(value);
    }
    if (w <= 0 || h <= 0)
        return BADI;
    *width = (uint32_t)w;
    *height = (uint32_t)h;
    return RCOK;
}

/* The bits of a byte in reverse: this format has the leftmost pixel in the lowest bit. */
static uint8_t reversed(unsigned byte) {
    unsigned out = 0;
    for (int i = 0; i < 8; ++i)
        out = out << 1 | (byte >> i & 1);
    return (uint8_t)out;
}

static ResultCode read_rows(Reader* reader, ImageDataExchange* image, IDEPage* page) {
    char word[64];
    for (uint32_t y = 0; y < page->height; ++y) {
        uint8_t* row = page->pixels + (size_t)(page->height - 1 - y) * page->row_bytes;
        for (uint32_t x = 0; x < page->width; x += 8) {
            long value = next_word(reader, word) > 0 ? number(word) : -1;
            if (value < 0 || value > 255 || next_word(reader, word) <= 0)
                return BADI;
            row[x / 8] = reversed((unsigned)value);
        }
        if (!services->Progress(image, y + 1, page->height))
            return USRA;
    }
    return RCOK;
}

ResultCode GLIB_CALL LoadXBMImageData(ImageDataExchange* image, VStream* stream, int32_t page_index) {
    Reader reader = {stream, {0}, 0, 0};
    uint32_t width, height;
    ResultCode code = read_header(&reader, &width, &height);
    IDEPage* page;
    if (code != RCOK)
        return code;
    if (page_index > 0)
        return MISS;
    page = services->AddPage(image, width, height, 1);
    if (!page)
        return OMEM;
    page->palette[0] = (RGB32){255, 255, 255, 255};
    page->palette[1] = (RGB32){0, 0, 0, 255};
    return read_rows(&reader, image, page);
}

ResultCode GLIB_CALL GetXBMFileInfo(VStream* stream, ImageFileInfo* info) {
    Reader reader = {stream, {0}, 0, 0};
    ResultCode code = read_header(&reader, &info->width, &info->height);
    info->format = kFormats[0];
    info->bits_per_pixel = 1;
    info->page_count = 1;
    return code;
}

/* Whether a pixel is nearer to black than to white. */
static int is_dark(const IDEPage* page, const uint8_t* row, uint32_t x) {
    uint32_t bits = page->bits_per_pixel;
    const uint8_t* bytes = row + (size_t)x * bits / 8;
    if (bits < 24)
        bytes = &page->palette[bytes[0] >> (8 - bits - x * bits % 8) & ((1u << bits) - 1)].blue;
    return bytes[0] * 29 + bytes[1] * 150 + bytes[2] * 77 < 128 * 256;
}

static int write_text(VStream* stream, const char* text) {
    uint32_t length = (uint32_t)strlen(text);
    return services->Write(stream, text, length) == length;
}

ResultCode GLIB_CALL SaveXBMImageData(ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options) {
    const IDEPage* page = services->Page(image, 0);
    char text[128];
    (void)options; /* this format has nothing to choose */
    if (!page)
        return BADA;
    sprintf(text, "#define image_width %u\n#define image_height %u\nstatic unsigned char image_bits[] = {\n",
            (unsigned)page->width, (unsigned)page->height);
    if (!write_text(stream, text))
        return IERR;
    for (uint32_t y = 0; y < page->height; ++y) {
        const uint8_t* row = page->pixels + (size_t)(page->height - 1 - y) * page->row_bytes;
        for (uint32_t x = 0; x < page->width; x += 8) {
            unsigned byte = 0;
            for (uint32_t bit = 0; bit < 8 && x + bit < page->width; ++bit)
                byte |= (unsigned)is_dark(page, row, x + bit) << bit;
            int last = y + 1 == page->height && x + 8 >= page->width;
            sprintf(text, "0x%02x%s", byte, last ? "};\n" : x + 8 >= page->width ? ",\n" : ", ");
            if (!write_text(stream, text))
                return IERR;
        }
        if (!services->Progress(image, y + 1, page->height))
            return USRA;
    }
    return RCOK;
}

void GLIB_CALL GetFilterInfo(uint32_t request_kind, FilterInfoRequest* request) {
    if (request_kind != 0)
        return;
    services = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}
