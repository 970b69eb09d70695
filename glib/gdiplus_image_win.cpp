// GDI+ draws straight into a canvas's pixels, through a bitmap laid over them. An image knows the run of GDI+ that it
// was made in, and is not touched after it.
#include "glib/gdiplus_image.h"

#include "glib/gdiplus_api.h"
#include "glib/gdiplus_init.h"
#include "win/handle.h"

namespace glib {

namespace {

constexpr Gdiplus::PixelFormat kFormat32bppArgb = 0x26200A;

// Owns the graphics object that draws on an image.
class Graphics {
public:
    explicit Graphics(const GdiplusImage& image) {
        if (image.native() && gdiplus_api().GetImageGraphicsContext(image.native(), &m_graphics) != Gdiplus::Ok)
            m_graphics = nullptr;
    }
    Graphics(const Graphics&) = delete;
    Graphics& operator=(const Graphics&) = delete;
    ~Graphics() {
        if (m_graphics)
            win::nothrow(gdiplus_api().DeleteGraphics)(m_graphics);
    }
    Gdiplus::GpGraphics* get() const { return m_graphics; }

private:
    Gdiplus::GpGraphics* m_graphics = nullptr;
};

// GDI+'s view of the canvas, over the same pixels.
bool wrap(Canvas& canvas, GdiplusImage& image) {
    const int32_t width = static_cast<int32_t>(canvas.width()), height = static_cast<int32_t>(canvas.height());
    Gdiplus::GpBitmap* bitmap = nullptr;
    if (!gdiplus_period() || !width ||
        gdiplus_api().CreateBitmapFromScan0(width, height, width * 4, kFormat32bppArgb,
                                            reinterpret_cast<BYTE*>(canvas.row(0)), &bitmap) != Gdiplus::Ok)
        return false;
    return image.Take(bitmap);
}

} // namespace

bool GdiplusImage::Take(Gdiplus::GpImage* native) {
    Reset();
    if (!native || !gdiplus_period())
        return false;
    m_record = static_cast<Record*>(gdiplus_api().Alloc(sizeof(Record)));
    if (!m_record) {
        gdiplus_api().DisposeImage(native);
        return false;
    }
    m_record->native = native;
    m_period = gdiplus_period();
    return true;
}

bool GdiplusImage::TakeCloneOf(const GdiplusImage& other) {
    Gdiplus::GpImage* copy = nullptr;
    return other.native() && gdiplus_api().CloneImage(other.native(), &copy) == Gdiplus::Ok && Take(copy);
}

void GdiplusImage::Reset() noexcept {
    if (Gdiplus::GpImage* image = native()) {
        win::nothrow(gdiplus_api().DisposeImage)(image);
        win::nothrow(gdiplus_api().Free)(m_record);
    }
    m_record = nullptr;
}

Gdiplus::GpImage* GdiplusImage::native() const noexcept {
    return m_record && m_period == gdiplus_period() ? m_record->native : nullptr;
}

bool set_drawing_modes(Gdiplus::GpGraphics* graphics) {
    const GdiplusApi& api = gdiplus_api();
    return api.SetInterpolationMode(graphics, Gdiplus::InterpolationModeHighQualityBicubic) == Gdiplus::Ok &&
           api.SetSmoothingMode(graphics, Gdiplus::SmoothingModeAntiAlias) == Gdiplus::Ok &&
           api.SetTextRenderingHint(graphics, Gdiplus::TextRenderingHintAntiAlias) == Gdiplus::Ok;
}

bool draw_image(Canvas& target, const GdiplusImage& image, const PixelRect& rect) {
    GdiplusImage view;
    if (!image.native() || !wrap(target, view))
        return false;
    const Graphics graphics(view);
    Gdiplus::GpRectF bounds;
    Gdiplus::GpUnit unit;
    return graphics.get() && set_drawing_modes(graphics.get()) &&
           gdiplus_api().GetImageBounds(image.native(), &bounds, &unit) == Gdiplus::Ok &&
           gdiplus_api().DrawImageRectRect(graphics.get(), image.native(), static_cast<float>(rect.left),
                                           static_cast<float>(rect.top), static_cast<float>(rect.width),
                                           static_cast<float>(rect.height), bounds.X, bounds.Y, bounds.Width,
                                           bounds.Height, unit, nullptr, nullptr, nullptr) == Gdiplus::Ok;
}

bool draw_image_to_scale(const GdiplusImage& target, const GdiplusImage& image, const PixelRect& rect,
                         const PixelRect& source) {
    const Graphics graphics(target);
    return image.native() && graphics.get() && set_drawing_modes(graphics.get()) &&
           gdiplus_api().DrawImageRectRectI(graphics.get(), image.native(), rect.left, rect.top, rect.width,
                                            rect.height, source.left, source.top, source.width, source.height,
                                            Gdiplus::UnitPixel, nullptr, nullptr, nullptr) == Gdiplus::Ok;
}

bool draw_picture(Canvas& target, const Canvas& picture, int32_t left, int32_t top) {
    GdiplusImage view, source;
    // GDI+ takes pixels without a const, but only reads those of a source.
    if (!wrap(target, view) || !wrap(const_cast<Canvas&>(picture), source))
        return false;
    const int32_t width = static_cast<int32_t>(picture.width()), height = static_cast<int32_t>(picture.height());
    return draw_image_to_scale(view, source, {left, top, width, height}, {0, 0, width, height});
}

} // namespace glib
