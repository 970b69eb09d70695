#include "glib/slide.h"

#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/owner.h"
#include "testing/cxx/failures.h"
#include "glib/canvas.h"
#include "testing/cxx/drawing_period.h"

namespace glib {
namespace {

// A drawing that remembers what was asked of it.
struct FakeDrawing : VectorImage {
    FakeDrawing(uint32_t w, uint32_t h) : w(w), h(h) {}
    uint32_t width() const override { return w; }
    uint32_t height() const override { return h; }
    VectorImage* Clone() const override { return refuses ? nullptr : new FakeDrawing(w, h); }
    VectorImage* Resized(uint32_t width, uint32_t height) const override {
        return refuses ? nullptr : new FakeDrawing(width, height);
    }
    bool Draw(Canvas& canvas, int32_t left, int32_t top, uint32_t, uint32_t) const override {
        canvas.row(static_cast<uint32_t>(top))[left] = RGB32{1, 2, 3, 255};
        return !refuses;
    }
    uint32_t w, h;
    bool refuses = false;
};

Layer* filled(uint32_t width, uint32_t height, RGB32 colour, uint32_t bits = 24) {
    Raster raster;
    EXPECT_TRUE(raster.Create(width, height, bits));
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            memcpy(raster.row(y) + x * bits / 8, &colour, bits / 8);
    return new Layer(static_cast<Raster&&>(raster));
}

RGB32 pixel_of(const Layer& layer, uint32_t x, uint32_t y) {
    std::vector<RGB32> row(layer.width());
    layer.raster().ReadRow(y, row.data());
    return row[x];
}

using Size = std::pair<uint32_t, uint32_t>;

template <typename Sized>
Size size_of(const Sized& sized) {
    return {sized.width(), sized.height()};
}

std::vector<int32_t> sides(const PageRect& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

Layer& add(Slide& page, Layer* layer, int32_t left = 0, int32_t top = 0, BlendMode mode = blend_norm) {
    layer->left = left;
    layer->top = top;
    layer->blend_mode = mode;
    page.AddLayer(layer);
    return *layer;
}

TEST(ScaledPosition, Is_signed_and_truncates_towards_zero) {
    EXPECT_EQ(scaled_position(-3, 512, 1024), -1);
    EXPECT_EQ(scaled_position(3, 512, 1024), 1);
    EXPECT_EQ(scaled_position(-3, 1024, 512), -6);
    EXPECT_EQ(scaled_position(0, 1, 65535), 0);
    EXPECT_EQ(scaled_position(2000000000, 3000, 1500), 2147483647) << "as far as a position goes";
    EXPECT_EQ(scaled_position(-2000000000, 3000, 1500), -2147483647 - 1);
}

TEST(ScaledSize, Truncates_but_keeps_one_pixel) {
    EXPECT_EQ(scaled_size(1024, 512, 1024), 512u);
    EXPECT_EQ(scaled_size(333, 512, 1024), 166u);
    EXPECT_EQ(scaled_size(1, 1, 1000), 1u);
    EXPECT_EQ(scaled_size(4000000000u, 3, 6), 2000000000u) << "the product needs 64 bits";
    EXPECT_EQ(scaled_size(4000000000u, 6, 3), 0xFFFFFFFFu) << "beyond every limit";
    EXPECT_EQ(scaled_size(65500, 65500, 1), 4290250000u);
}

TEST(Fitted, Keeps_the_aspect_ratio_in_the_middle_of_the_page) {
    const struct {
        PageRect rect;
        uint32_t width, height;
        PageRect expected;
    } cases[] = {{{0, 0, 100, 50}, 512, 512, {0, 128, 512, 384}}, {{10, 10, 60, 110}, 512, 512, {128, 0, 384, 512}},
                 {{-5, -5, 5, 5}, 300, 200, {50, 0, 250, 200}},   {{0, 0, 10000, 1}, 100, 100, {0, 49, 100, 50}},
                 {{0, 0, 1, 10000}, 100, 100, {49, 0, 50, 100}},  {{5, 5, 5, 9}, 100, 100, {0, 0, 0, 0}},
                 {{5, 9, 9, 9}, 100, 100, {0, 0, 0, 0}},          {{9, 0, 1, 5}, 100, 100, {0, 0, 0, 0}}};
    for (const auto& c : cases)
        EXPECT_EQ(sides(fitted(c.rect, c.width, c.height)), sides(c.expected));
}

TEST(Slide, Of_no_document_is_nobodys_current_page) {
    EXPECT_EQ(Slide().current_page(), -1);
}

TEST(Slide, Layers_are_named_by_their_place_and_the_first_gives_the_size) {
    Slide page;
    page.AddLayer(filled(8, 6, {}));
    page.AddLayer(filled(20, 20, {}));
    EXPECT_STREQ(page.LayerAt(0).name.c_str(), "Layer 1");
    EXPECT_STREQ(page.LayerAt(1).name.c_str(), "Layer 2");
    EXPECT_EQ(size_of(page), Size(8, 6));
    EXPECT_EQ(page.BitsPerPixel(), 24u);
    EXPECT_FALSE(page.IsPlain());
    page.RemoveLayer(1);
    EXPECT_TRUE(page.IsPlain());
    Slide half;
    half.SetSize(0, 5);
    half.AddLayer(filled(8, 6, {}));
    EXPECT_EQ(half.width(), 0u) << "it has a size, if none that shows anything";
    expect_out_of_range(1, 1, [&] { page.LayerAt(1); });
}

TEST(PageRect, Is_set_by_any_of_its_bounds) {
    EXPECT_FALSE((PageRect{0, 0, 0, 0}.is_set()));
    for (const PageRect& rect :
         {PageRect{-1, 0, 0, 0}, PageRect{0, 1, 0, 0}, PageRect{0, 0, 1, 0}, PageRect{0, 0, 0, 1}})
        EXPECT_TRUE(rect.is_set());
}

TEST(Slide, Is_plain_as_one_pixel_layer_that_covers_it) {
    const auto plain = [](void (*change)(Slide&)) {
        Slide page;
        page.AddLayer(filled(8, 6, {}));
        change(page);
        return page.IsPlain();
    };
    EXPECT_TRUE(plain([](Slide&) {}));
    EXPECT_FALSE(plain([](Slide& page) { page.LayerAt(0).left = 1; }));
    EXPECT_FALSE(plain([](Slide& page) { page.LayerAt(0).top = -1; }));
    EXPECT_FALSE(plain([](Slide& page) { page.LayerAt(0).blend_mode = blend_mul; }));
    EXPECT_FALSE(plain([](Slide& page) { page.SetSize(9, 6); }));
    EXPECT_FALSE(plain([](Slide& page) { page.SetSize(8, 5); }));
    Slide drawn;
    drawn.AddLayer(new Layer(new FakeDrawing(8, 6)));
    EXPECT_FALSE(drawn.IsPlain());
}

TEST(Slide, Stretching_a_page_without_a_size_is_a_bad_argument) {
    Slide page;
    EXPECT_EQ(page.Stretch(5, 5, 1, true, true), BADA);
    page.SetSize(5, 0);
    EXPECT_EQ(page.Stretch(5, 5, 1, true, true), BADA);
    EXPECT_EQ(page.width(), 5u);
}

TEST(Layer, A_drawing_draws_itself_at_its_place_or_is_mixed_in_as_a_picture) {
    for (BlendMode mode : {blend_norm, blend_add}) {
        Canvas page;
        ASSERT_TRUE(page.Create(4, 4));
        page.row(2)[1] = {10, 10, 10, 255};
        FakeDrawing* const drawing = new FakeDrawing(2, 2);
        Slide owner;
        const Layer& layer = add(owner, new Layer(drawing), 1, 2, mode);
        EXPECT_EQ(layer.DrawOn(page), RCOK);
        EXPECT_EQ(page.row(2)[1].blue, mode == blend_norm ? 1 : 11);
        drawing->refuses = true;
        EXPECT_EQ(layer.DrawOn(page), IERR);
        drawing->refuses = false;
        drawing->w = GLIB_MAX_PAGE_SIDE + 1;
        EXPECT_EQ(layer.DrawOn(page), mode == blend_norm ? RCOK : OMEM) << "no picture can have this size";
    }
}

TEST(Layer, Of_a_drawing_that_refuses_has_no_copy) {
    FakeDrawing* const drawing = new FakeDrawing(2, 2);
    drawing->refuses = true;
    const Layer layer(drawing);
    EXPECT_EQ(layer.Clone(), nullptr);
}

TEST(Layer, Beside_the_page_changes_nothing) {
    for (const auto& [left, top] : {std::pair{4, 0}, {0, 4}, {-2, 0}, {0, -2}}) {
        Canvas page;
        ASSERT_TRUE(page.Create(4, 4));
        Slide owner;
        const Layer& layer = add(owner, filled(2, 2, {5, 5, 5, 255}), left, top, blend_add);
        EXPECT_EQ(layer.DrawOn(page), RCOK);
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 4; ++x)
                EXPECT_EQ(page.row(y)[x].blue, 0) << x << "," << y;
    }
}

TEST(Layer, Without_memory_has_no_copy_and_no_other_size) {
    const auto makes = [](ResultCode code, Layer* made) {
        EXPECT_EQ(code, made ? RCOK : OMEM);
        delete made;
        return made != nullptr;
    };
    const std::unique_ptr<Layer> layers[] = {std::unique_ptr<Layer>(filled(4, 4, {}, 32)),
                                             std::make_unique<Layer>(new FakeDrawing(4, 4))};
    for (const auto& layer : layers) {
        for (EachAllocation each; each.next();)
            each.run([&] {
                Layer* const copy = layer->Clone();
                return makes(copy ? RCOK : OMEM, copy);
            });
        for (EachAllocation each; each.next();)
            each.run([&] {
                Layer* other = nullptr;
                const ResultCode code = layer->Resized(2, 2, 1, &other);
                return makes(code, other);
            });
    }
}

TEST(Slide, Stretching_scales_sizes_and_places_by_the_page) {
    Slide page;
    page.AddLayer(filled(1024, 768, {}));
    add(page, filled(100, 101, {}), -3, 7);
    ASSERT_EQ(page.Stretch(512, 512, 1, true, false), RCOK);
    EXPECT_EQ(size_of(page), Size(512, 512));
    EXPECT_EQ(size_of(page.LayerAt(0)), Size(512, 512));
    EXPECT_EQ(size_of(page.LayerAt(1)), Size(50, 67));
    EXPECT_EQ(page.LayerAt(1).left, -1);
    EXPECT_EQ(page.LayerAt(1).top, 4);
    EXPECT_STREQ(page.LayerAt(1).name.c_str(), "Layer 2");
}

TEST(Slide, Only_marked_layers_scale_unless_all_are_wanted) {
    for (bool all : {false, true}) {
        Slide page;
        page.AddLayer(filled(100, 100, {}));
        add(page, filled(40, 40, {}), 10).scales = false;
        ASSERT_EQ(page.Stretch(50, 50, 1, false, all), RCOK);
        EXPECT_EQ(page.LayerAt(0).width(), 50u);
        EXPECT_EQ(page.LayerAt(1).width(), all ? 20u : 40u);
        EXPECT_EQ(page.LayerAt(1).left, all ? 5 : 10);
    }
}

TEST(Slide, The_pages_own_rectangle_is_fitted_when_wanted_and_set) {
    Slide page;
    page.AddLayer(filled(100, 100, {}));
    ASSERT_EQ(page.Stretch(50, 50, 1, true, false), RCOK);
    EXPECT_FALSE(page.rect.is_set());
    page.rect = {10, 10, 30, 20};
    ASSERT_EQ(page.Stretch(40, 40, 1, false, false), RCOK);
    EXPECT_EQ(page.rect.right, 30);
    ASSERT_EQ(page.Stretch(60, 60, 1, true, false), RCOK);
    EXPECT_EQ(sides(page.rect), (std::vector<int32_t>{0, 15, 60, 45}));
}

TEST(Slide, A_drawing_is_redrawn_in_the_new_size) {
    Slide page;
    page.AddLayer(new Layer(new FakeDrawing(200, 100)));
    EXPECT_TRUE(page.LayerAt(0).is_vector());
    EXPECT_EQ(page.BitsPerPixel(), 32u);
    EXPECT_FALSE(page.IsPlain());
    ASSERT_EQ(page.Stretch(100, 100, 1, false, false), RCOK);
    EXPECT_EQ(size_of(page.LayerAt(0)), Size(100, 100));
}

TEST(Slide, A_failed_stretch_leaves_the_page_as_it_was) {
    Slide page;
    page.AddLayer(filled(100, 100, {}));
    auto* drawing = new FakeDrawing(10, 10);
    drawing->refuses = true;
    page.AddLayer(new Layer(drawing));
    page.rect = {1, 2, 3, 4};
    EXPECT_EQ(page.Stretch(50, 50, 1, true, false), IERR);
    EXPECT_EQ(page.width(), 100u);
    EXPECT_EQ(page.LayerAt(0).width(), 100u);
    EXPECT_EQ(page.rect.right, 3);
    page.RemoveLayer(1);
    EXPECT_EQ(page.Stretch(50, 50, 99, true, false), BADA) << "no such scale type";
    EXPECT_EQ(page.Stretch(0, 50, 1, true, false), BADA);
    EXPECT_EQ(page.Stretch(50, 0, 1, true, false), BADA);
    EXPECT_EQ(page.Stretch(70000, 50, 1, true, false), OMEM);
    EXPECT_EQ(page.width(), 100u);
    Slide empty;
    EXPECT_EQ(empty.Stretch(50, 50, 1, true, false), BADA);
}

// Products of sizes that don't fit used to wrap: the page's own rectangle came out anywhere.
TEST(Slide, A_size_beyond_what_multiplies_without_overflow_is_a_bad_argument) {
    Slide page;
    page.SetSize(10, 10);
    page.rect = {-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647};
    EXPECT_EQ(page.Stretch(0xFFFFFFFF, 50, 1, true, false), BADA);
    EXPECT_EQ(page.Stretch(50, 0x80000000, 1, true, false), BADA);
    EXPECT_EQ(page.width(), 10u);
    EXPECT_EQ(page.rect.right, 2147483647);
    ASSERT_EQ(page.Stretch(0x7FFFFFFF, 0x7FFFFFFF, 1, true, false), RCOK) << "a page without layers has no pixels";
    EXPECT_EQ(page.rect.right, 2147483647);
    EXPECT_EQ(page.rect.top, 0);

    Slide small;
    small.AddLayer(filled(8, 8, {}));
    small.AddLayer(filled(80, 8, {}, 1));
    EXPECT_EQ(small.Stretch(0x70000000, 1, 0, false, false), BADA) << "the second layer is ten times as wide";
    EXPECT_EQ(small.LayerAt(1).width(), 80u);
}

TEST(Slide, A_layer_wider_than_the_resampler_takes_shrinks_all_the_same) {
    const uint32_t wide = 70000;
    for (const uint32_t bits : {24u, 32u, 8u}) {
        Raster raster;
        ASSERT_TRUE(raster.CreateUnbounded(wide, 2, bits)) << bits;
        for (uint32_t y = 0; y < 2; ++y)
            for (uint32_t x = 0; x < wide; ++x)
                memset(raster.row(y) + static_cast<size_t>(x) * bits / 8, x < wide / 2 ? 40 : 200, bits / 8);
        Slide page;
        page.AddLayer(new Layer(static_cast<Raster&&>(raster)));
        gen::Owner<Slide> copy(page.Clone());
        ASSERT_TRUE(copy);
        for (const int type : {0, 1, 2}) {
            gen::Owner<Slide> scaled(page.Clone());
            ASSERT_EQ(scaled->Stretch(100, 2, type, false, false), RCOK) << bits << " " << type;
            EXPECT_EQ(scaled->LayerAt(0).width(), 100u);
            EXPECT_EQ(pixel_of(scaled->LayerAt(0), 20, 1).blue, 40) << bits << " " << type;
            EXPECT_EQ(pixel_of(scaled->LayerAt(0), 80, 0).red, 200) << bits << " " << type;
            EXPECT_EQ(pixel_of(scaled->LayerAt(0), 20, 0).alpha, bits == 32 ? 40 : 255);
            if (type == 0) {
                EXPECT_EQ(scaled->LayerAt(0).bits_per_pixel(), bits) << "the nearest keeps the depth";
            }
        }
    }
}

TEST(Slide, Dissolved_layers_are_flattened_before_they_are_stretched) {
    const DrawingPeriod drawing;
    Slide page;
    page.AddLayer(filled(64, 64, {0, 0, 0, 255}));
    add(page, filled(64, 64, {255, 255, 255, 128}, 32), 0, 0, blend_diss);
    ASSERT_EQ(page.Stretch(32, 32, 1, false, false), RCOK);
    EXPECT_EQ(page.LayerCount(), 1u);
    EXPECT_EQ(page.width(), 32u);
    EXPECT_EQ(page.LayerAt(0).width(), 32u);
}

TEST(Slide, Flattening_draws_the_layers_from_the_lowest_up) {
    const DrawingPeriod drawing;
    Slide page;
    page.AddLayer(filled(4, 4, {10, 10, 10, 255}));
    add(page, filled(2, 2, {200, 200, 200, 255}), 3, -1);
    add(page, filled(2, 2, {100, 100, 100, 255}), 0, 3, blend_add);
    ASSERT_EQ(page.Flatten(), RCOK);
    ASSERT_EQ(page.LayerCount(), 1u);
    const Layer& flat = page.LayerAt(0);
    EXPECT_STREQ(flat.name.c_str(), "Layer 1");
    EXPECT_EQ(flat.bits_per_pixel(), 24u);
    EXPECT_EQ(pixel_of(flat, 3, 0).blue, 200) << "the part of the second that is on the page";
    EXPECT_EQ(pixel_of(flat, 3, 1).blue, 10);
    EXPECT_EQ(pixel_of(flat, 2, 0).blue, 10);
    EXPECT_EQ(pixel_of(flat, 0, 3).blue, 110) << "added";
    EXPECT_EQ(pixel_of(flat, 1, 2).blue, 10);
    EXPECT_TRUE(page.IsPlain());
}

TEST(Slide, Flattening_keeps_what_is_transparent) {
    const DrawingPeriod drawing;
    Slide page;
    page.AddLayer(filled(2, 2, {5, 6, 7, 100}, 32));
    page.SetSize(3, 2);
    ASSERT_EQ(page.Flatten(), RCOK);
    EXPECT_EQ(page.LayerAt(0).bits_per_pixel(), 32u);
    EXPECT_EQ(page.LayerAt(0).width(), 3u);
    EXPECT_EQ(pixel_of(page.LayerAt(0), 0, 0).alpha, 100);
    EXPECT_EQ(pixel_of(page.LayerAt(0), 2, 0).alpha, 0);
    Slide empty;
    EXPECT_EQ(empty.Flatten(), BADA);
}

TEST(Slide, A_blended_layer_is_cut_at_each_edge) {
    const DrawingPeriod drawing;
    const struct {
        int32_t left, top;
        uint32_t x, y; // the one pixel of the layer that is on the page
    } cases[] = {{-2, -2, 0, 0}, {3, -2, 3, 0}, {-2, 3, 0, 3}, {3, 3, 3, 3}};
    for (const auto& c : cases) {
        Slide page;
        page.AddLayer(filled(4, 4, {10, 10, 10, 255}));
        add(page, filled(3, 3, {5, 5, 5, 255}), c.left, c.top, blend_add);
        ASSERT_EQ(page.Flatten(), RCOK);
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 4; ++x)
                EXPECT_EQ(pixel_of(page.LayerAt(0), x, y).blue, x == c.x && y == c.y ? 15 : 10) << x << "," << y;
    }
}

TEST(Slide, A_layer_far_outside_the_page_is_harmless) {
    const DrawingPeriod drawing;
    Slide page;
    page.AddLayer(filled(2, 2, {1, 1, 1, 255}));
    for (int32_t far : {2147483647, -2147483647 - 1, 100, -100})
        for (BlendMode mode : {blend_norm, blend_mul})
            add(page, filled(3, 3, {9, 9, 9, 255}), far, far, mode);
    ASSERT_EQ(page.Flatten(), RCOK);
    EXPECT_EQ(pixel_of(page.LayerAt(0), 1, 1).blue, 1);
}

TEST(Slide, A_clone_is_a_page_of_its_own) {
    Slide page;
    page.AddLayer(filled(4, 4, {10, 10, 10, 255}));
    add(page, new Layer(new FakeDrawing(2, 2)), 3, 0, blend_mul).name = "drawn";
    page.rect = {1, 2, 3, 4};
    page.resolution_x = 96.0;
    page.delay = 40;
    Slide* copy = page.Clone();
    ASSERT_NE(copy, nullptr);
    page.Clear();
    EXPECT_EQ(page.LayerCount(), 0u);
    EXPECT_EQ(page.width(), 0u);
    EXPECT_FALSE(page.rect.is_set());
    ASSERT_EQ(copy->LayerCount(), 2u);
    EXPECT_EQ(pixel_of(copy->LayerAt(0), 0, 0).blue, 10);
    EXPECT_EQ(copy->LayerAt(1).blend_mode, blend_mul);
    EXPECT_EQ(copy->LayerAt(1).left, 3);
    EXPECT_STREQ(copy->LayerAt(1).name.c_str(), "drawn");
    EXPECT_EQ(copy->rect.bottom, 4);
    EXPECT_EQ(copy->resolution_x, 96.0);
    EXPECT_EQ(copy->delay, 40u);
    delete copy;
}

} // namespace
} // namespace glib
