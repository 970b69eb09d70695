// A drawing is resized by playing it into a new metafile. A handle comes from a copy, as GDI+ gives it only by making
// the metafile useless.
#include "glib/metafile_image.h"

#include <new>

#include "base/owner.h"
#include "glib/gdiplus_api.h"
#include "glib/gdiplus_init.h"

namespace glib {

namespace {

Gdiplus::GpMetafile* metafile(const GdiplusImage& image) {
    return static_cast<Gdiplus::GpMetafile*>(image.native());
}

} // namespace

bool MetafileImage::read_header() {
    Gdiplus::MetafileHeader header;
    if (!m_image.native() || gdiplus_api().GetMetafileHeaderFromMetafile(metafile(m_image), &header) != Gdiplus::Ok)
        return false;
    if (header.Width <= 0 || header.Height <= 0)
        return false;
    m_bounds = {header.X, header.Y, header.Width, header.Height};
    m_width = static_cast<uint32_t>(header.Width);
    m_height = static_cast<uint32_t>(header.Height);
    m_resolution_x = static_cast<double>(header.DpiX);
    m_resolution_y = static_cast<double>(header.DpiY);
    return true;
}

MetafileImage* MetafileImage::FromHandle(HENHMETAFILE handle) {
    gen::Owner<MetafileImage> image(gdiplus_period() && handle ? new (std::nothrow) MetafileImage : nullptr);
    Gdiplus::GpMetafile* native = nullptr;
    if (!image || gdiplus_api().CreateMetafileFromEmf(handle, TRUE, &native) != Gdiplus::Ok) {
        if (handle)
            DeleteEnhMetaFile(handle);
        return nullptr;
    }
    // From here on the handle goes with the metafile.
    return image->m_image.Take(native) && image->read_header() ? image.release() : nullptr;
}

MetafileImage* MetafileImage::Clone() const {
    gen::Owner<MetafileImage> copy(new (std::nothrow) MetafileImage);
    if (!copy || !copy->m_image.TakeCloneOf(m_image))
        return nullptr;
    copy->m_bounds = m_bounds;
    copy->m_width = m_width;
    copy->m_height = m_height;
    copy->m_resolution_x = m_resolution_x;
    copy->m_resolution_y = m_resolution_y;
    return copy.release();
}

MetafileImage* MetafileImage::Resized(uint32_t width, uint32_t height) const {
    gen::Owner<MetafileImage> resized(m_image.native() ? new (std::nothrow) MetafileImage : nullptr);
    if (!resized || !width || !height || width > GLIB_MAX_PAGE_SIDE || height > GLIB_MAX_PAGE_SIDE)
        return nullptr;
    // No reference device and no frame: the frame is the bounds of what is drawn. Some platforms refuse that.
    Gdiplus::GpMetafile* native = nullptr;
    if (gdiplus_api().RecordMetafile(nullptr, Gdiplus::EmfTypeEmfPlusDual, nullptr, Gdiplus::MetafileFrameUnitGdi,
                                     nullptr, &native) != Gdiplus::Ok ||
        !resized->m_image.Take(native))
        return nullptr;
    const PixelRect whole = {0, 0, static_cast<int32_t>(width), static_cast<int32_t>(height)};
    if (!draw_image_to_scale(resized->m_image, m_image, whole, m_bounds) || !resized->read_header())
        return nullptr;
    resized->m_width = width;
    resized->m_height = height;
    return resized.release();
}

bool MetafileImage::Draw(Canvas& canvas, int32_t left, int32_t top, uint32_t width, uint32_t height) const {
    return draw_image(canvas, m_image, {left, top, static_cast<int32_t>(width), static_cast<int32_t>(height)});
}

HENHMETAFILE MetafileImage::CopyHandle() const {
    // GDI+ gives the handle only by making the metafile useless.
    GdiplusImage copy;
    HENHMETAFILE handle = nullptr;
    if (!copy.TakeCloneOf(m_image) || gdiplus_api().GetHemfFromMetafile(metafile(copy), &handle) != Gdiplus::Ok)
        return nullptr;
    return handle;
}

} // namespace glib
