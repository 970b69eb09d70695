// For tests: bitmaps of any kind, and documents with a format module beside the test program.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "glib/film.h"
#include "glib/filter_manager.h"
#include "glib/slide.h"
#include "testing/cxx/recorded_boxes.h"
#include "testing/cxx/scratch_folder.h"

namespace glib {

// A section of any depth; rows are written as the test wants to see them, from the top.
class Section {
public:
    Section(int width, int height, int bits, bool top_down, const std::vector<uint32_t>& masks_or_palette = {})
        : m_height(height), m_top_down(top_down) {
        struct {
            BITMAPINFOHEADER header;
            uint32_t colours[256];
        } info = {};
        info.header.biSize = sizeof(info.header);
        info.header.biWidth = width;
        info.header.biHeight = top_down ? -height : height;
        info.header.biPlanes = 1;
        info.header.biBitCount = static_cast<WORD>(bits);
        info.header.biCompression = bits == 16 && !masks_or_palette.empty() ? BI_BITFIELDS : BI_RGB;
        for (size_t i = 0; i < masks_or_palette.size(); ++i)
            info.colours[i] = masks_or_palette[i];
        void* bits_of_section = nullptr;
        handle = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &bits_of_section,
                                  nullptr, 0);
        m_bits = static_cast<uint8_t*>(bits_of_section);
        m_row_bytes = static_cast<int>(row_length(static_cast<uint32_t>(bits), static_cast<uint32_t>(width)));
    }
    ~Section() { DeleteObject(handle); }
    uint8_t* row(int y) { return m_bits + (m_top_down ? y : m_height - 1 - y) * m_row_bytes; }

    HBITMAP handle;

private:
    uint8_t* m_bits;
    int m_height, m_row_bytes;
    bool m_top_down;
};

// 0xAARRGGBB, from the top left corner of the page's first layer.
inline uint32_t colour_at(Film& film, unsigned page, uint32_t x, uint32_t y) {
    const Raster& raster = film.Page(page).LayerAt(0).raster();
    std::vector<RGB32> row(raster.width());
    raster.ReadRow(y, row.data());
    return static_cast<uint32_t>(row[x].alpha) << 24 | row[x].red << 16 | row[x].green << 8 | row[x].blue;
}

constexpr uint32_t kXbm = 0x0058424D;

// 9 x 2 pixels.
inline const char kXbmFile[] = "#define image_width 9\n#define image_height 2\nstatic unsigned char image_bits[] = {\n"
                               "0x01, 0x01,\n0x80, 0x00};\n";

// The module of the XBM format is at hand, and a name for a file that is not there yet.
class FilmFixture : public testing::Test {
protected:
    void SetUp() override {
        char path[MAX_PATH];
        GetModuleFileNameA(nullptr, path, MAX_PATH);
        *strrchr(path, '\\') = '\0';
        filter_manager().SetUp(path, "xbm\n");
        clear_recorded_boxes();
    }
    void TearDown() override { filter_manager().SetUp(nullptr, "fall\n"); }
    std::string on_disk() { return folder.read("film"); }
    // What the folder holds whose names begin with that of the file.
    std::vector<std::string> files() { return folder.files("film"); }

    ScratchFolder folder;
    std::string file = folder.path("film");
};

} // namespace glib
