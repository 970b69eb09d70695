// Taking a bitmap of GDI into a document.
#include <new>
#include <string.h>
#include <windows.h>

#include "base/owner.h"
#include "glib/film.h"
#include "glib/film_body.h"
#include "glib/raster.h"
#include "win/handle.h"

namespace glib {

namespace {

struct BitmapInfo {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
};

// The rows of a bitmap as GetDIBits gives them: from the bottom, padded to 32-bit words.
struct BitmapRows {
    BitmapInfo info;
    PixelBuffer pixels;
    uint32_t width, height, bits, row_bytes;
};

bool read_rows(HBITMAP bitmap, BitmapRows& rows) {
    BITMAPINFO* const info = reinterpret_cast<BITMAPINFO*>(&rows.info);
    const win::DeviceContext dc(CreateCompatibleDC(nullptr));
    rows.info = {};
    rows.info.header.biSize = sizeof(rows.info.header);
    if (!GetDIBits(dc.get(), bitmap, 0, 0, nullptr, info, DIB_RGB_COLORS))
        return false;
    // Rows are wanted from the bottom, whichever way the bitmap itself keeps them.
    if (rows.info.header.biHeight < 0)
        rows.info.header.biHeight = -rows.info.header.biHeight;
    rows.width = static_cast<uint32_t>(rows.info.header.biWidth);
    rows.height = static_cast<uint32_t>(rows.info.header.biHeight);
    rows.bits = rows.info.header.biBitCount;
    const uint32_t length = picture_length(rows.bits, rows.width, rows.height);
    if (!length)
        return false;
    rows.row_bytes = length / rows.height;
    return rows.pixels.Allocate(length) &&
           GetDIBits(dc.get(), bitmap, 0, rows.height, rows.pixels.data(), info, DIB_RGB_COLORS) != 0;
}

// GDI uses three of the four bytes and leaves anything in the last.
void make_opaque(Raster& raster) {
    for (uint32_t y = 0; y < raster.height(); ++y) {
        uint8_t* pixel = raster.row(y);
        for (uint32_t x = 0; x < raster.width(); ++x)
            pixel[4 * x + 3] = 255;
    }
}

// The rows of 16 bits per pixel as a picture of 24.
bool convert_from_16(const BitmapRows& rows, Raster& raster) {
    if (!raster.CreateUnbounded(rows.width, rows.height, 24))
        return false;
    ChannelMasks masks = kMasks555;
    if (rows.info.header.biCompression == BI_BITFIELDS) {
        // The masks stand where the palette would.
        uint32_t given[3];
        memcpy(given, rows.info.colours, sizeof(given));
        masks = {given[0], given[1], given[2]};
    }
    for (uint32_t i = 0; i < rows.height; ++i) // both from the bottom
        convert_16_to_24(rows.pixels.data() + static_cast<size_t>(i) * rows.row_bytes,
                         raster.pixels() + static_cast<size_t>(i) * raster.row_bytes(), rows.width, masks);
    return true;
}

bool make_raster(BitmapRows& rows, Raster& raster) {
    if (rows.bits == 16)
        return convert_from_16(rows, raster);
    if (!raster.Adopt(rows.width, rows.height, rows.bits, gen::move(rows.pixels)))
        return false;
    if (rows.bits == 32)
        make_opaque(raster);
    gen::array<RGB32> palette(raster.palette());
    for (unsigned i = 0; i < palette.size(); ++i) {
        const RGBQUAD& colour = rows.info.colours[i];
        palette[i] = RGB32{colour.rgbBlue, colour.rgbGreen, colour.rgbRed, 255};
    }
    raster.SetPalette(palette.data(), palette.size());
    return true;
}

bool fill_page(Slide& page, HBITMAP bitmap) {
    page.Clear();
    BitmapRows rows;
    Raster raster;
    if (!read_rows(bitmap, rows) || !make_raster(rows, raster))
        return false;
    Layer* layer = new (std::nothrow) Layer(gen::move(raster));
    if (!layer)
        return false;
    layer->scales = true;
    page.AddLayer(layer);
    return true;
}

} // namespace

unsigned Film::SetSlideBitmap(unsigned index, HBITMAP__* bitmap) {
    if (!bitmap)
        return 0;
    bool is_new = false;
    Slide* page = nullptr;
    try {
        page = m_body->TargetPage(index, &is_new);
        if (page && fill_page(*page, bitmap))
            return 1;
    } catch (gen::genlib_out_of_memory&) {
        if (page)
            page->Clear();
    }
    if (page && is_new)
        m_body->pages().remove(m_body->pages().size() - 1);
    return 0;
}

} // namespace glib
