#include "glib/film.h"

#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/cxx/failures.h"
#include "testing/cxx/film_fixture.h"
#include "testing/cxx/import_slot.h"
#include "glib/slide.h"

namespace glib {
namespace {

using FilmBitmap = FilmFixture;

const std::vector<uint32_t> kNone, kGreys = [] {
    std::vector<uint32_t> greys(256);
    for (uint32_t i = 0; i < 256; ++i)
        greys[i] = i * 0x010101;
    return greys;
}();

TEST_F(FilmBitmap, A_bitmap_on_an_empty_document_is_page_0_whatever_the_index) {
    Section section(3, 2, 24, true);
    for (unsigned index : {0u, 5u, ~0u}) {
        Film film;
        EXPECT_EQ(film.SetSlideBitmap(index, section.handle), 1u);
        EXPECT_EQ(film.PageCount(), 1u);
        EXPECT_EQ(film.PageWidth(0), 3u);
        EXPECT_EQ(film.PageHeight(0), 2u);
        EXPECT_EQ(film.PageDepth(0), 24u);
        EXPECT_EQ(film.PageLayers(0), 1u);
        EXPECT_STREQ(film.Page(0).LayerAt(0).name.c_str(), "Layer 1");
        EXPECT_TRUE(film.Page(0).LayerAt(0).scales);
    }
}

TEST_F(FilmBitmap, An_index_past_the_end_adds_nothing_and_minus_one_appends) {
    Section small(3, 2, 24, true), big(5, 5, 24, true);
    Film film;
    film.SetSlideBitmap(~0u, small.handle);
    film.SetSlideBitmap(~0u, small.handle);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.SetSlideBitmap(5, big.handle), 0u);
    EXPECT_EQ(film.SetSlideBitmap(2, big.handle), 0u);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.SetSlideBitmap(1, big.handle), 1u);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.PageWidth(1), 5u);
    EXPECT_EQ(film.PageLayers(1), 1u) << "emptied first";
    EXPECT_EQ(film.PageWidth(0), 3u);
}

TEST_F(FilmBitmap, What_is_no_bitmap_is_refused) {
    Film film;
    EXPECT_EQ(film.SetSlideBitmap(0, nullptr), 0u);
    HBRUSH brush = CreateSolidBrush(0);
    EXPECT_EQ(film.SetSlideBitmap(0, reinterpret_cast<HBITMAP>(brush)), 0u);
    DeleteObject(brush);
    EXPECT_EQ(film.PageCount(), 0u);
    Section section(3, 2, 24, true);
    film.SetSlideBitmap(0, section.handle);
    EXPECT_EQ(film.SetSlideBitmap(0, nullptr), 0u);
    EXPECT_EQ(film.PageLayers(0), 1u) << "a null bitmap changes nothing";
}

// Refuses blocks of a megabyte and more, as when the address space is used up, as long as it lives.
class NoLargeBlocks {
public:
    NoLargeBlocks() : m_slot(import_slot(GetModuleHandleA(nullptr), "kernel32.dll", "VirtualAlloc")) {
        s_alloc = replace_import(GetModuleHandleA(nullptr), "kernel32.dll", "VirtualAlloc", alloc);
    }
    ~NoLargeBlocks() {
        if (s_alloc)
            *m_slot = reinterpret_cast<void*>(s_alloc);
    }
    bool work() const { return s_alloc != nullptr; }

private:
    static void* WINAPI alloc(void* place, SIZE_T size, DWORD type, DWORD protection) {
        return size < 1 << 20 ? s_alloc(place, size, type, protection) : nullptr;
    }

    inline static decltype(VirtualAlloc)* s_alloc;
    void** m_slot;
};

TEST_F(FilmBitmap, Without_memory_for_the_pixels_no_page_is_added) {
    Section section(1024, 1024, 24, true), small(2, 2, 24, true);
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, small.handle), 1u);
    unsigned added = 9, replaced = 9;
    {
        const NoLargeBlocks none;
        ASSERT_TRUE(none.work());
        added = film.SetSlideBitmap(~0u, section.handle);
        replaced = film.SetSlideBitmap(0, section.handle);
    }
    EXPECT_EQ(added, 0u);
    EXPECT_EQ(replaced, 0u);
    EXPECT_EQ(film.PageCount(), 1u);
    EXPECT_EQ(film.PageLayers(0), 0u) << "the page was emptied first";
    EXPECT_EQ(film.SetSlideBitmap(~0u, section.handle), 1u) << "memory is back";
    EXPECT_EQ(film.PageCount(), 2u);
}

TEST_F(FilmBitmap, Out_of_memory_at_any_allocation_adds_no_page) {
    Section section(9, 2, 8, true, {0x00112233, 0x00445566});
    for (EachAllocation each(3); each.next();) {
        Film film;
        each.run([&] { return film.SetSlideBitmap(0, section.handle) == 1; });
        EXPECT_EQ(film.PageCount(), each.failed() ? 0u : 1u);
    }
}

TEST_F(FilmBitmap, Both_row_orders_come_in_upright) {
    for (bool top_down : {true, false}) {
        Section section(2, 3, 24, top_down);
        for (int y = 0; y < 3; ++y)
            section.row(y)[3] = static_cast<uint8_t>(10 + y); // blue of the second pixel
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
        for (uint32_t y = 0; y < 3; ++y)
            EXPECT_EQ(colour_at(film, 0, 1, y), 0xFF00000Au + y) << top_down;
        EXPECT_EQ(film.Page(0).LayerAt(0).raster().pixels()[3], 12) << "rows from the bottom";
    }
}

// A side beyond 65,500 pixels used to be refused.
TEST_F(FilmBitmap, A_bitmap_of_any_side_comes_in_and_shrinks) {
    for (const int bits : {8, 16, 24, 32})
        for (const bool wide : {true, false}) {
            Section section(wide ? 70000 : 2, wide ? 2 : 70000, bits, true, bits == 8 ? kGreys : kNone);
            ASSERT_TRUE(section.handle);
            for (int y = 0; y < (wide ? 2 : 70000); ++y)
                memset(section.row(y), 0x63, static_cast<size_t>(wide ? 70000 : 2) * bits / 8);
            Film film;
            ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u) << bits;
            EXPECT_EQ(film.PageWidth(0), wide ? 70000u : 2u);
            EXPECT_EQ(film.PageHeight(0), wide ? 2u : 70000u);
            const uint32_t colour = colour_at(film, 0, 1, 1);
            ASSERT_EQ(film.Stretch(512, 512, 1, true, 0, ~0u, false), 1u) << bits;
            EXPECT_EQ(film.PageWidth(0), 512u);
            EXPECT_EQ(colour_at(film, 0, 100, 300), colour) << bits;
        }
}

TEST_F(FilmBitmap, A_picture_beyond_the_module_contract_is_not_handed_to_a_module) {
    Section section(65501, 1, 1, true, {0x00000000, 0x00FFFFFF});
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
    const BaseFormatDesc options(kXbm);
    EXPECT_EQ(film.Save(file.c_str(), &options), OMEM);
    EXPECT_EQ(files().size(), 0u);
}

TEST_F(FilmBitmap, Palettes_come_in_with_their_bitmaps) {
    for (int bits : {1, 4, 8}) {
        Section section(9, 2, bits, true, {0x00112233, 0x00445566});
        section.row(1)[0] = bits == 1 ? 0x80 : bits == 4 ? 0x10 : 0x01;
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u) << bits;
        EXPECT_EQ(film.PageDepth(0), static_cast<uint32_t>(bits));
        EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFF112233u) << bits;
        EXPECT_EQ(colour_at(film, 0, 0, 1), 0xFF445566u) << bits;
        EXPECT_EQ(colour_at(film, 0, 1, 1), 0xFF112233u) << bits;
    }
}

TEST_F(FilmBitmap, Sixteen_bits_become_24_by_their_masks) {
    const struct {
        std::vector<uint32_t> masks;
        uint16_t red, green, blue;
    } cases[] = {{{}, 0x7C00, 0x03E0, 0x001F},
                 {{0x7C00, 0x03E0, 0x001F}, 0x7C00, 0x03E0, 0x001F},
                 {{0xF800, 0x07E0, 0x001F}, 0xF800, 0x07E0, 0x001F}};
    for (const auto& c : cases) {
        Section section(3, 1, 16, true, c.masks);
        const uint16_t pixels[] = {c.red, c.green, c.blue};
        memcpy(section.row(0), pixels, sizeof(pixels));
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
        EXPECT_EQ(film.PageDepth(0), 24u);
        EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFFFF0000u);
        EXPECT_EQ(colour_at(film, 0, 1, 0), 0xFF00FF00u);
        EXPECT_EQ(colour_at(film, 0, 2, 0), 0xFF0000FFu);
    }
}

TEST_F(FilmBitmap, Thirty_two_bits_become_opaque) {
    Section section(1, 1, 32, true);
    const uint8_t pixel[] = {1, 2, 3, 0};
    memcpy(section.row(0), pixel, 4);
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
    EXPECT_EQ(film.PageDepth(0), 32u);
    EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFF030201u);
    EXPECT_EQ(section.row(0)[3], 0) << "the caller's bitmap stays as it is";
}

TEST_F(FilmBitmap, A_screens_worth_of_pixels_shrinks_to_512_by_512) {
    Section section(1024, 768, 24, true);
    for (int y = 0; y < 768; ++y)
        memset(section.row(y), y < 384 ? 40 : 200, 1024 * 3);
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
    ASSERT_EQ(film.Stretch(512, 512, 1, true, 0, ~0u, false), 1u);
    EXPECT_EQ(film.PageWidth(0), 512u);
    EXPECT_EQ(film.PageHeight(0), 512u);
    EXPECT_EQ(film.PageDepth(0), 24u);
    EXPECT_EQ(colour_at(film, 0, 100, 10), 0xFF282828u);
    EXPECT_EQ(colour_at(film, 0, 100, 500), 0xFFC8C8C8u);
}

} // namespace
} // namespace glib
