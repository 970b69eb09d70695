// Every operation of a document that allocates, with every one of its allocations failing in turn.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"
#include "testing/cxx/drawing_period.h"
#include "testing/cxx/fake_loader.h"
#include "glib/film_body.h"
#include "glib/mem_stream.h"

namespace glib {
namespace {

const ModuleServices* g_services;

void GLIB_CALL describe(uint32_t, FilterInfoRequest* request) {
    static const uint32_t kFormats[] = {EFormat_JPG, 0x24504E47};
    g_services = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 2;
    request->formats = kFormats;
}
ResultCode GLIB_CALL load(ImageDataExchange* image, VStream*, int32_t) {
    for (uint32_t bits : {24u, 8u, 32u})
        if (!g_services->AddPage(image, 20, 10, bits))
            return OMEM;
    return RCOK;
}
ResultCode GLIB_CALL info(VStream*, ImageFileInfo*) {
    return RCOK;
}
ResultCode GLIB_CALL save(ImageDataExchange* image, VStream*, const BaseFormatDesc*) {
    return g_services->Page(image, 0) ? RCOK : BADA;
}

Layer* layer(uint32_t width, uint32_t height, uint32_t bits) {
    Raster raster;
    EXPECT_TRUE(raster.Create(width, height, bits));
    raster.pixels()[0] = 77;
    return new Layer(static_cast<Raster&&>(raster));
}

// What there is to see of a document.
std::string look(const FilmBody& film) {
    std::string seen = std::string(film.title.c_str()) + " " + std::to_string(film.current_page());
    for (unsigned i = 0; i < film.pages().size(); ++i) {
        const Slide& page = *film.pages()[i];
        seen += " page " + std::to_string(page.width()) + "x" + std::to_string(page.height());
        for (unsigned k = 0; k < page.LayerCount(); ++k) {
            const Layer& one = page.LayerAt(k);
            seen += " " + std::string(one.name.c_str()) + " " + std::to_string(one.width()) + "x" +
                    std::to_string(one.height()) + "x" + std::to_string(one.bits_per_pixel()) + ":" +
                    std::to_string(one.raster().pixels()[0]);
        }
    }
    return seen;
}

class Document {
public:
    Document() : manager(loader) {
        loader.modules["fall.dll"]
            .with("GetFilterInfo", describe)
            .with_format("JPG", load, info)
            .with("SaveJPGImageData", save)
            .with_format("PNG", load, info);
        film.title = "title";
        Slide* page = film.AppendPage();
        page->AddLayer(layer(30, 20, 24));
        page->AddLayer(layer(10, 10, 4));
        page->LayerAt(1).blend_mode = blend_diss;
        film.AppendPage()->AddLayer(layer(5, 4, 32));
    }

    FakeLoader loader;
    FilterManager manager;
    FilmBody film;
    VMemStream stream;
};

ResultCode load_into(Document& document, bool append, uint32_t max_size) {
    LoadRequest request;
    request.append = append;
    request.max_width = request.max_height = max_size;
    return document.film.Load(document.manager, document.stream, request);
}

uint8_t keep_going(void*, const FilmProgress*) {
    return 1;
}

struct Operation {
    const char* name;
    unsigned least_allocations;
    std::function<bool(Document&)> run; // whether it succeeded
};

const Operation kOperations[] = {
    {"load", 30, [](Document& d) { return load_into(d, false, 0) == RCOK; }},
    {"append", 30, [](Document& d) { return load_into(d, true, 0) == RCOK; }},
    {"load_small", 30, [](Document& d) { return load_into(d, false, 5) == RCOK; }},
    {"save", 12, [](Document& d) { return d.film.Save(d.manager, d.stream, JPGSave()) == RCOK; }},
    {"save_transparent", 12,
     [](Document& d) {
         JPGSave options;
         options.first_page = 1;
         return d.film.Save(d.manager, d.stream, options) == RCOK;
     }},
    {"save_with_alpha", 12,
     [](Document& d) {
         JPGSave options;
         options.keep_alpha = 1;
         return d.film.Save(d.manager, d.stream, options) == RCOK;
     }},
    {"stretch", 10, [](Document& d) { return d.film.Stretch(15, 15, 1, true, 0, 1, false) == 1; }},
    {"stretch_and_tell", 10,
     [](Document& d) {
         d.film.SetProgress(keep_going, nullptr);
         return d.film.Stretch(15, 15, 0, true, 0, 1, false) == 1;
     }},
    {"flatten", 2, [](Document& d) { return d.film.pages()[0]->Flatten() == RCOK; }},
    {"add_page", 2, [](Document& d) { return d.film.AppendPage() != nullptr; }},
    {"copy", 8,
     [](Document& d) {
         FilmBody other;
         return other.CopyFrom(d.film);
     }},
    {"copy_over", 2,
     [](Document& d) {
         FilmBody other;
         other.title = "other";
         return d.film.CopyFrom(other);
     }},
    {"clone_page", 8,
     [](Document& d) {
         Slide* clone = d.film.pages()[0]->Clone();
         delete clone;
         return clone != nullptr;
     }},
};

TEST(FilmFailure, Out_of_memory_at_any_allocation_leaves_the_document_as_it_was) {
    const DrawingPeriod drawing;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        for (EachAllocation each(operation.least_allocations - 1); each.next();) {
            Document document;
            const std::string before = look(document.film);
            each.run([&] { return operation.run(document); });
            if (each.failed()) {
                ASSERT_EQ(look(document.film), before);
            }
            document.manager.SetUp(nullptr, "");
            ASSERT_EQ(document.loader.loaded, 0);
        }
    }
}

} // namespace
} // namespace glib
