#include "glib/gdiplus_image.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "glib/gdiplus_api.h"
#include "glib/gdiplus_init.h"
#include "glib/metafile_image.h"
#include "glib/slide.h"

namespace glib {
namespace {

class GdiplusDrawing : public testing::Test {
protected:
    void SetUp() override {
        gdiplus_switch(true);
        ASSERT_NE(gdiplus_period(), 0u);
        m_real = gdiplus_api();
    }
    static void make(Canvas& canvas, uint32_t width, uint32_t height) { ASSERT_TRUE(canvas.Create(width, height)); }

    Canvas page, picture;
    void TearDown() override {
        gdiplus_api() = m_real;
        gdiplus_switch(false);
    }

private:
    GdiplusApi m_real;
};

int level(const RGB32& c) {
    return (c.blue + c.green + c.red) / 3;
}

// A grey picture whose every pixel differs from its neighbours.
void draw_pattern(Canvas& canvas) {
    for (uint32_t y = 0; y < canvas.height(); ++y)
        for (uint32_t x = 0; x < canvas.width(); ++x) {
            const uint8_t grey = static_cast<uint8_t>(x * 37 + y * 91);
            canvas.row(y)[x] = RGB32{grey, static_cast<uint8_t>(grey ^ 0x55), grey, 255};
        }
}

// The metafile of a dark rectangle that fills it.
HENHMETAFILE rectangle_metafile(int width, int height) {
    HDC reference = GetDC(nullptr);
    const RECT frame = {0, 0, width * GetDeviceCaps(reference, HORZSIZE) * 100 / GetDeviceCaps(reference, HORZRES),
                        height * GetDeviceCaps(reference, VERTSIZE) * 100 / GetDeviceCaps(reference, VERTRES)};
    HDC dc = CreateEnhMetaFileA(reference, nullptr, &frame, nullptr);
    ReleaseDC(nullptr, reference);
    HBRUSH brush = CreateSolidBrush(RGB(40, 40, 40));
    const RECT whole = {0, 0, width, height};
    FillRect(dc, &whole, brush);
    DeleteObject(brush);
    return CloseEnhMetaFile(dc);
}

std::unique_ptr<MetafileImage> rectangle(int width, int height) {
    std::unique_ptr<MetafileImage> image(MetafileImage::FromHandle(rectangle_metafile(width, height)));
    EXPECT_NE(image, nullptr);
    return image;
}

TEST_F(GdiplusDrawing, A_picture_pixel_for_pixel_is_exact) {
    make(page, 20, 16);
    make(picture, 7, 5);
    draw_pattern(picture);
    ASSERT_TRUE(draw_picture(page, picture, 3, 4));
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 20; ++x) {
            const bool inside = x >= 3 && x < 10 && y >= 4 && y < 9;
            ASSERT_EQ(page.row(y)[x].alpha, inside ? 255 : 0) << x << "," << y;
            if (inside) {
                ASSERT_EQ(page.row(y)[x].blue, picture.row(y - 4)[x - 3].blue);
                ASSERT_EQ(page.row(y)[x].green, picture.row(y - 4)[x - 3].green);
            }
        }
}

TEST_F(GdiplusDrawing, A_picture_is_cut_at_the_edges_of_the_page) {
    make(page, 4, 4);
    make(picture, 4, 4);
    draw_pattern(picture);
    ASSERT_TRUE(draw_picture(page, picture, -2, 3));
    EXPECT_EQ(page.row(3)[0].blue, picture.row(0)[2].blue);
    EXPECT_EQ(page.row(3)[1].blue, picture.row(0)[3].blue);
    EXPECT_EQ(page.row(3)[2].alpha, 0);
    EXPECT_EQ(page.row(2)[0].alpha, 0);
}

TEST_F(GdiplusDrawing, Translucent_pixels_mix_with_what_is_there) {
    make(page, 1, 1);
    make(picture, 1, 1);
    page.row(0)[0] = {0, 0, 100, 255};
    picture.row(0)[0] = {200, 0, 0, 128};
    ASSERT_TRUE(draw_picture(page, picture, 0, 0));
    EXPECT_NEAR(page.row(0)[0].blue, 100, 2);
    EXPECT_NEAR(page.row(0)[0].red, 50, 2);
    EXPECT_EQ(page.row(0)[0].alpha, 255);
}

// The calls that set the modes, as GDI+ hears them.
std::vector<std::pair<char, int>> g_modes;

template <char name, typename Mode>
Gdiplus::GpStatus WINGDIPAPI note_mode(Gdiplus::GpGraphics*, Mode mode) {
    g_modes.push_back({name, mode});
    return Gdiplus::Ok;
}

TEST_F(GdiplusDrawing, The_modes_are_7_4_and_4_in_this_order) {
    g_modes.clear();
    gdiplus_api().SetInterpolationMode = note_mode<'i'>;
    gdiplus_api().SetSmoothingMode = note_mode<'s'>;
    gdiplus_api().SetTextRenderingHint = note_mode<'t'>;
    make(page, 2, 2);
    make(picture, 2, 2);
    ASSERT_TRUE(draw_picture(page, picture, 0, 0));
    EXPECT_EQ(g_modes, (std::vector<std::pair<char, int>>{{'i', 7}, {'s', 4}, {'t', 4}}));
}

int g_disposed, g_allocated;
GdiplusApi g_real;
Gdiplus::GpStatus WINGDIPAPI count_dispose(Gdiplus::GpImage* image) {
    ++g_disposed;
    return g_real.DisposeImage(image);
}
void* WINGDIPAPI count_alloc(size_t size) {
    ++g_allocated;
    return g_real.Alloc(size);
}
void WINGDIPAPI count_free(void* memory) {
    --g_allocated;
    g_real.Free(memory);
}
Gdiplus::GpStatus WINGDIPAPI refuse_context(Gdiplus::GpImage*, Gdiplus::GpGraphics**) {
    return Gdiplus::OutOfMemory;
}

TEST_F(GdiplusDrawing, A_failed_step_fails_the_drawing_and_leaves_nothing_behind) {
    g_disposed = g_allocated = 0;
    g_real = gdiplus_api();
    gdiplus_api().DisposeImage = count_dispose;
    gdiplus_api().Alloc = count_alloc;
    gdiplus_api().Free = count_free;
    gdiplus_api().GetImageGraphicsContext = refuse_context;
    make(page, 2, 2);
    make(picture, 2, 2);
    EXPECT_FALSE(draw_picture(page, picture, 0, 0));
    EXPECT_EQ(g_disposed, 2) << "both bitmaps";
    EXPECT_EQ(g_allocated, 0);
}

TEST_F(GdiplusDrawing, Nothing_is_drawn_while_gdiplus_is_stopped) {
    gdiplus_switch(false);
    make(page, 2, 2);
    make(picture, 2, 2);
    EXPECT_FALSE(draw_picture(page, picture, 0, 0));
    HENHMETAFILE handle = rectangle_metafile(10, 10);
    EXPECT_EQ(MetafileImage::FromHandle(handle), nullptr);
    EXPECT_FALSE(DeleteEnhMetaFile(handle)) << "it was deleted";
}

TEST_F(GdiplusDrawing, A_metafile_is_drawn_to_fill_its_rectangle) {
    const auto image = rectangle(40, 20);
    EXPECT_NEAR(image->width(), 40, 2);
    EXPECT_NEAR(image->height(), 20, 2);
    EXPECT_GT(image->resolution_x(), 1.0);
    make(page, 100, 100);
    EXPECT_TRUE(image->Draw(page, 20, 30, 60, 40));
    EXPECT_EQ(page.row(50)[50].alpha, 255);
    EXPECT_NEAR(level(page.row(50)[50]), 40, 3);
    EXPECT_EQ(page.row(10)[10].alpha, 0);
    EXPECT_EQ(page.row(90)[90].alpha, 0);
}

TEST_F(GdiplusDrawing, A_metafiles_clone_and_handle_are_its_own) {
    auto image = rectangle(40, 20);
    const std::unique_ptr<MetafileImage> copy(image->Clone());
    HENHMETAFILE handle = image->CopyHandle();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->width(), image->width());
    EXPECT_EQ(copy->height(), image->height());
    EXPECT_EQ(copy->resolution_x(), image->resolution_x());
    EXPECT_EQ(copy->resolution_y(), image->resolution_y());
    image.reset();
    make(page, 10, 10);
    EXPECT_TRUE(copy->Draw(page, 0, 0, 10, 10));
    EXPECT_NEAR(level(page.row(5)[5]), 40, 3);
    ENHMETAHEADER header;
    EXPECT_NE(GetEnhMetaFileHeader(handle, sizeof(header), &header), 0u);
    EXPECT_TRUE(DeleteEnhMetaFile(handle));
}

TEST_F(GdiplusDrawing, A_metafile_of_a_stopped_gdiplus_is_gone_without_harm) {
    const auto image = rectangle(40, 20);
    gdiplus_switch(false);
    make(page, 10, 10);
    EXPECT_FALSE(image->Draw(page, 0, 0, 10, 10));
    gdiplus_switch(true);
    EXPECT_FALSE(image->Draw(page, 0, 0, 10, 10)) << "another period";
    EXPECT_EQ(image->Clone(), nullptr);
    EXPECT_EQ(image->Resized(5, 5), nullptr);
    EXPECT_EQ(image->CopyHandle(), nullptr);
}

struct Recorded {
    HDC reference = reinterpret_cast<HDC>(1);
    Gdiplus::EmfType type = Gdiplus::EmfTypeEmfOnly;
    const Gdiplus::GpRectF* frame = reinterpret_cast<const Gdiplus::GpRectF*>(1);
    Gdiplus::MetafileFrameUnit unit = Gdiplus::MetafileFrameUnitPixel;
} g_recorded;
Gdiplus::GpStatus WINGDIPAPI note_recording(HDC dc, Gdiplus::EmfType type, const Gdiplus::GpRectF* frame,
                                            Gdiplus::MetafileFrameUnit unit, const WCHAR*, Gdiplus::GpMetafile**) {
    g_recorded = {dc, type, frame, unit};
    return Gdiplus::InvalidParameter;
}

TEST_F(GdiplusDrawing, A_resized_metafile_is_recorded_without_device_or_frame) {
    gdiplus_api().RecordMetafile = note_recording;
    const auto image = rectangle(40, 20);
    EXPECT_EQ(image->Resized(80, 80), nullptr);
    EXPECT_EQ(g_recorded.reference, nullptr);
    EXPECT_EQ(g_recorded.type, 5);
    EXPECT_EQ(g_recorded.frame, nullptr);
    EXPECT_EQ(g_recorded.unit, 7);
}

// As Windows does it: the platform's own recording with a reference device, which Wine accepts.
decltype(GdiplusApi::RecordMetafile) g_real_record;
Gdiplus::GpStatus WINGDIPAPI record_with_device(HDC, Gdiplus::EmfType type, const Gdiplus::GpRectF*,
                                                Gdiplus::MetafileFrameUnit, const WCHAR* text,
                                                Gdiplus::GpMetafile** metafile) {
    HDC screen = GetDC(nullptr);
    const Gdiplus::GpRectF frame(0.0f, 0.0f, 80.0f, 60.0f);
    const auto status = g_real_record(screen, type, &frame, Gdiplus::MetafileFrameUnitPixel, text, metafile);
    ReleaseDC(nullptr, screen);
    return status;
}

TEST_F(GdiplusDrawing, A_resized_metafile_shows_the_same_drawing) {
    g_real_record = gdiplus_api().RecordMetafile;
    gdiplus_api().RecordMetafile = record_with_device;
    auto image = rectangle(40, 20);
    const std::unique_ptr<MetafileImage> resized(image->Resized(80, 60));
    image.reset();
    ASSERT_NE(resized, nullptr);
    EXPECT_EQ(resized->width(), 80u);
    EXPECT_EQ(resized->height(), 60u);
    make(page, 20, 20);
    EXPECT_TRUE(resized->Draw(page, 0, 0, 20, 20));
}

TEST_F(GdiplusDrawing, A_page_with_a_drawing_flattens_and_a_failed_resize_keeps_it) {
    Slide page;
    page.AddLayer(new Layer(rectangle(30, 30).release()));
    page.SetSize(60, 60);
    page.LayerAt(0).left = page.LayerAt(0).top = 10;
    gdiplus_api().RecordMetafile = note_recording;
    EXPECT_EQ(page.Stretch(120, 120, 1, false, false), IERR);
    EXPECT_EQ(page.width(), 60u);
    ASSERT_EQ(page.Flatten(), RCOK);
    EXPECT_FALSE(page.LayerAt(0).is_vector());
    std::vector<RGB32> row(60);
    page.LayerAt(0).raster().ReadRow(25, row.data());
    EXPECT_EQ(row[25].alpha, 255);
    EXPECT_NEAR(level(row[25]), 40, 3);
    EXPECT_EQ(row[5].alpha, 0);
}

} // namespace
} // namespace glib
