// The pages that modules make, within the limits of the contract, and the functions that modules call: no exception may
// pass out of these into a module.
#include "glib/image_data_exchange.h"

#include <new>

#include "base/owner.h"
#include "glib/stream.h"

namespace glib {

IDEPage* ImageDataExchange::AddPage(uint32_t width, uint32_t height, uint32_t bits_per_pixel) {
    if (pages.size() >= GLIB_MAX_PAGES)
        return nullptr;
    // Each factor is looked at beside the product, which only they keep from wrapping around.
    const uint64_t more = row_length(bits_per_pixel, width) * height;
    if (width > GLIB_MAX_PAGE_SIDE || height > GLIB_MAX_PAGE_SIDE || bits_per_pixel > 32 ||
        more > GLIB_MAX_PAGE_BYTES - bytes)
        return nullptr;
    gen::Owner<Raster> raster(new (std::nothrow) Raster);
    if (!raster || !raster->Create(width, height, bits_per_pixel))
        return nullptr;
    gen::Owner<IDEPage> page(new (std::nothrow) IDEPage(raster->AsPage()));
    if (!page)
        return nullptr;
    rasters.grow(pages.size() + 1); // so that of the two additions none fails alone
    IDEPage* const added = pages.add(gen::move(page));
    rasters.add(gen::move(raster));
    bytes += more;
    return added;
}

void ImageDataExchange::AddView(Raster& raster) {
    gen::Owner<IDEPage> page(new (std::nothrow) IDEPage(raster.AsPage()));
    if (!page)
        gen::throw_out_of_memory();
    pages.add(gen::move(page));
}

void ImageDataExchange::Clear() {
    pages.clear();
    rasters.clear();
    bytes = 0;
}

Raster ImageDataExchange::TakeRaster(unsigned i) {
    Raster& raster = *rasters[i];
    const int32_t transparent = pages[i]->transparent_index;
    if (transparent >= 0 && static_cast<uint32_t>(transparent) < raster.palette().size())
        raster.SetTransparentIndex(transparent);
    return static_cast<Raster&&>(raster);
}

// What modules call. Null in place of an image or a stream gets the answer of a failure: a module may pass on what it
// never looked at.
namespace {

IDEPage* GLIB_CALL add_page(ImageDataExchange* image, uint32_t width, uint32_t height, uint32_t bits_per_pixel) {
    try {
        return image ? image->AddPage(width, height, bits_per_pixel) : nullptr;
    } catch (gen::genlib_error&) {
        return nullptr;
    }
}

uint32_t GLIB_CALL page_count(const ImageDataExchange* image) {
    return image ? image->pages.size() : 0;
}

IDEPage* GLIB_CALL page(ImageDataExchange* image, uint32_t index) {
    return image && index < image->pages.size() ? image->pages[index] : nullptr;
}

uint32_t GLIB_CALL progress(ImageDataExchange* image, uint32_t step, uint32_t total) {
    return !image || !image->progress || image->progress->OnModuleProgress(step, total);
}

uint32_t GLIB_CALL read(VStream* stream, void* buffer, uint32_t bytes) {
    return stream ? stream->Read(buffer, 1, bytes) : 0;
}

uint32_t GLIB_CALL write(VStream* stream, const void* buffer, uint32_t bytes) {
    return stream ? stream->Write(buffer, 1, bytes) : 0;
}

uint32_t GLIB_CALL seek(VStream* stream, int64_t offset, int32_t origin) {
    return stream ? stream->Seek(offset, origin) : 0;
}

uint64_t GLIB_CALL tell(VStream* stream) {
    return stream ? stream->Tell() : 0;
}

uint64_t GLIB_CALL size(VStream* stream) {
    return stream ? stream->Size() : 0;
}

const ModuleServices kServices = {sizeof(ModuleServices),
                                  GLIB_INTERFACE_VERSION,
                                  add_page,
                                  page_count,
                                  page,
                                  progress,
                                  read,
                                  write,
                                  seek,
                                  tell,
                                  size};

} // namespace

const ModuleServices& module_services() {
    return kServices;
}

} // namespace glib
