#include "capture/screenshot.h"

#include <gtest/gtest.h>

#include "testing/cxx/usage.h"

namespace {

// The GDI objects of the process, counted one by one: their handles' low halves are indices of one table.
int gdi_objects() {
    int count = 0;
    for (uintptr_t index = 1; index < 0x10000; ++index)
        count += GetObjectType(reinterpret_cast<HGDIOBJ>(index)) != 0;
    return count;
}

struct Grab {
    explicit Grab(RECT rect) : bitmap(copy_screen_to_bitmap(&rect)) {}
    ~Grab() { DeleteObject(bitmap); }
    DIBSECTION section() const {
        DIBSECTION section = {};
        EXPECT_EQ(GetObjectA(bitmap, sizeof(section), &section), static_cast<int>(sizeof(section)));
        return section;
    }
    HBITMAP bitmap;
};

class ScreenGrab : public testing::Test {
protected:
    int width = GetSystemMetrics(SM_CXSCREEN);
    int height = GetSystemMetrics(SM_CYSCREEN);
};

TEST_F(ScreenGrab, Of_an_empty_rectangle_is_null) {
    EXPECT_EQ(copy_screen_to_bitmap(nullptr), nullptr);
    for (RECT rect : {RECT{0, 0, 0, 0}, RECT{5, 5, 5, 10}, RECT{5, 5, 10, 5}, RECT{10, 10, 5, 20}, RECT{0, 9, 9, 3}})
        EXPECT_EQ(copy_screen_to_bitmap(&rect), nullptr);
}

TEST_F(ScreenGrab, Is_a_section_of_24_bits_with_the_top_row_first) {
    const Grab grab({0, 0, width, height});
    const DIBSECTION section = grab.section();
    EXPECT_EQ(section.dsBm.bmWidth, width);
    EXPECT_EQ(section.dsBm.bmHeight, height);
    EXPECT_EQ(section.dsBmih.biBitCount, 24);
    EXPECT_EQ(section.dsBmih.biPlanes, 1);
    EXPECT_EQ(section.dsBmih.biCompression, static_cast<DWORD>(BI_RGB));
    EXPECT_NE(section.dsBm.bmBits, nullptr);
}

TEST_F(ScreenGrab, Is_clipped_to_the_display) {
    const struct {
        RECT rect;
        LONG width, height;
    } cases[] = {{{-50, -40, 100, 80}, 100, 80},
                 {{10, 20, 30, 50}, 20, 30},
                 {{width - 10, height - 20, width + 500, height + 500}, 10, 20},
                 {{-1000, -1000, 100000, 100000}, width, height}};
    for (const auto& c : cases) {
        const Grab grab(c.rect);
        EXPECT_EQ(grab.section().dsBm.bmWidth, c.width);
        EXPECT_EQ(grab.section().dsBm.bmHeight, c.height);
    }
}

TEST_F(ScreenGrab, Beside_the_display_there_is_nothing) {
    for (RECT rect : {RECT{width + 10, 0, width + 20, 10}, RECT{-20, 0, -10, 10}})
        EXPECT_EQ(copy_screen_to_bitmap(&rect), nullptr);
}

TEST_F(ScreenGrab, Leaves_no_objects_behind) {
    const auto grab_all_kinds = [&] {
        for (RECT rect : {RECT{0, 0, 64, 64}, RECT{-5, -5, 5, 5}, RECT{0, 0, 0, 0}, RECT{width + 1, 0, width + 9, 9}})
            DeleteObject(copy_screen_to_bitmap(&rect));
    };
    grab_all_kinds(); // what is made once and kept is made now
    const int objects = gdi_objects();
    const unsigned handles = process_handles();
    HGDIOBJ probe = CreateSolidBrush(1);
    EXPECT_EQ(gdi_objects(), objects + 1) << "the count sees an object";
    DeleteObject(probe);
    for (int i = 0; i < 200; ++i)
        grab_all_kinds();
    EXPECT_EQ(gdi_objects(), objects);
    EXPECT_EQ(process_handles(), handles);
}

} // namespace
