// Save records of any content: whatever a host puts in, the module gets it unchanged, with pages that the contract
// allows, and exactly those that the record chooses.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "glib/film_body.h"
#include "glib/mem_stream.h"
#include "testing/cxx/fake_loader.h"
#include "testing/cxx/require.h"

namespace {

const glib::ModuleServices* g_services;
std::uint32_t g_pages;
std::uint8_t g_received[sizeof(glib::JPGSave)];

void GLIB_CALL describe(std::uint32_t, glib::FilterInfoRequest* request) {
    static const std::uint32_t kFormats[] = {glib::EFormat_JPG};
    g_services = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}
glib::ResultCode GLIB_CALL load(glib::ImageDataExchange*, VStream*, std::int32_t) {
    return glib::BADT;
}
glib::ResultCode GLIB_CALL info(VStream*, glib::ImageFileInfo*) {
    return glib::BADT;
}
glib::ResultCode GLIB_CALL save(glib::ImageDataExchange* image, VStream*, const glib::BaseFormatDesc* options) {
    g_pages = g_services->PageCount(image);
    std::memcpy(g_received, static_cast<const void*>(options), sizeof(g_received));
    for (std::uint32_t i = 0; i < g_pages; ++i) {
        const glib::IDEPage* page = g_services->Page(image, i);
        require(page->width && page->height && page->row_bytes % 4 == 0 && page->pixels);
        require(options->keep_alpha || (page->bits_per_pixel != 32 && page->transparent_index < 0));
        volatile std::uint8_t last = page->pixels[page->row_bytes * page->height - 1];
        (void)last;
    }
    return glib::RCOK;
}

void add_page(glib::FilmBody& film, std::uint32_t bits) {
    glib::Raster raster;
    require(raster.Create(3 + bits % 3, 2, bits));
    raster.SetTransparentIndex(bits == 4 ? 1 : -1);
    film.AppendPage()->AddLayer(new glib::Layer(static_cast<glib::Raster&&>(raster)));
}

} // namespace

// The bytes of a record from offset 8; what is missing keeps its default.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static glib::FakeLoader loader;
    loader.modules["fall.dll"]
        .with("GetFilterInfo", describe)
        .with("LoadJPGImageData", load)
        .with("GetJPGFileInfo", info)
        .with("SaveJPGImageData", save);
    static glib::FilterManager& manager = *new glib::FilterManager(loader);

    glib::JPGSave record;
    std::memcpy(reinterpret_cast<std::uint8_t*>(&record) + 8, data, std::min<std::size_t>(size, sizeof(record) - 8));
    glib::FilmBody film;
    for (std::uint32_t bits : {1u, 4u, 8u, 24u, 32u})
        add_page(film, bits);
    VMemStream stream;
    const glib::ResultCode code = film.Save(manager, stream, record);
    if (record.first_page >= 5) {
        require(code == glib::BADA);
    } else if (!glib::same_format(static_cast<glib::EFormat>(record.format), glib::EFormat_JPG)) {
        require(code == glib::UNSF);
    } else {
        const std::uint32_t left = 5 - record.first_page;
        require(code == glib::RCOK && std::memcmp(static_cast<const void*>(&record), g_received, sizeof(record)) == 0);
        require(g_pages == (record.page_count ? std::min(record.page_count, left) : left));
    }
    return 0;
}
