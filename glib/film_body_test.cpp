#include "glib/film_body.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/drawing_period.h"
#include "testing/cxx/fake_loader.h"
#include "glib/mem_stream.h"

namespace glib {
namespace {

// A module of one format, whose files are the letters P (a page of 8 x 6 of 24 bits), T (one with alpha) and D (damage
// from here on). It writes pages as their measures and the first pixel.
const ModuleServices* g_services;
ResultCode g_thumbnail_answer = NSUP;
int g_thumbnail_calls;

void GLIB_CALL describe(uint32_t, FilterInfoRequest* request) {
    static const uint32_t kFormats[] = {EFormat_JPG};
    g_services = request->services;
    request->interface_version = GLIB_INTERFACE_VERSION;
    request->format_count = 1;
    request->formats = kFormats;
}

ResultCode GLIB_CALL load(ImageDataExchange* image, VStream* stream, int32_t wanted) {
    char letter;
    for (int32_t page = 0; g_services->Read(stream, &letter, 1) == 1; ++page) {
        if (letter != 'P' && letter != 'T')
            return letter == 'D' ? (g_services->PageCount(image) ? OKAF : BADI) : BADT;
        if (wanted >= 0 && wanted != page)
            continue;
        IDEPage* made = g_services->AddPage(image, 8, 6, letter == 'P' ? 24 : 32);
        if (!made)
            return OMEM;
        made->pixels[0] = static_cast<uint8_t>(page + 1);
        made->resolution_x = made->resolution_y = 72.0;
        made->delay = 50;
        if (!g_services->Progress(image, static_cast<uint32_t>(page + 1), 9))
            return USRA;
    }
    return g_services->PageCount(image) ? RCOK : MISS;
}

ResultCode GLIB_CALL info(VStream* stream, ImageFileInfo* info) {
    char letter = 0;
    g_services->Read(stream, &letter, 1);
    info->width = 8;
    return letter == 'P' || letter == 'T' || letter == 'D' ? RCOK : BADT;
}

ResultCode GLIB_CALL thumbnail(ImageDataExchange* image, VStream* stream, uint32_t width, uint32_t height) {
    char letter;
    g_services->Read(stream, &letter, 1);
    ++g_thumbnail_calls;
    if (g_thumbnail_answer == RCOK)
        g_services->AddPage(image, width, height, 24);
    return g_thumbnail_answer;
}

ResultCode GLIB_CALL save(ImageDataExchange* image, VStream* stream, const BaseFormatDesc* options) {
    for (uint32_t i = 0; i < g_services->PageCount(image); ++i) {
        const IDEPage* page = g_services->Page(image, i);
        char text[64];
        const int length = snprintf(text, sizeof(text), "%ux%ux%u:%d ", page->width, page->height, page->bits_per_pixel,
                                    page->pixels[0]);
        g_services->Write(stream, text, static_cast<uint32_t>(length));
        if (!g_services->Progress(image, i + 1, g_services->PageCount(image)))
            return USRA;
    }
    return options->compression == 13 ? IERR : RCOK;
}

struct Heard {
    std::vector<std::string> calls;
    int stop_at = 1000; // the call that answers with 0, from 0
};

uint8_t hear(void* context, const FilmProgress* progress) {
    Heard& heard = *static_cast<Heard*>(context);
    heard.calls.push_back(std::string(progress->text.c_str()) + " " + std::to_string(progress->step) + "/" +
                          std::to_string(progress->total));
    EXPECT_EQ(progress->can_stop, 1);
    return static_cast<int>(heard.calls.size()) - 1 != heard.stop_at;
}

class FilmBodyTest : public testing::Test {
protected:
    FilmBodyTest() : m_manager(m_loader) {
        g_thumbnail_answer = NSUP;
        g_thumbnail_calls = 0;
        m_loader.modules["fall.dll"]
            .with("GetFilterInfo", describe)
            .with_format("JPG", load, info)
            .with("LoadJPGImageThumbnail", thumbnail)
            .with("SaveJPGImageData", save);
    }
    ResultCode load_text(const char* text, LoadRequest request = {}) {
        VMemStream stream(static_cast<const void*>(text), static_cast<uint32_t>(strlen(text)));
        return m_film.Load(m_manager, stream, request);
    }
    std::string saved(const JPGSave& options = JPGSave()) {
        VMemStream stream;
        m_last_code = m_film.Save(m_manager, stream, options);
        return std::string(reinterpret_cast<const char*>(stream.data()), static_cast<size_t>(stream.Size()));
    }
    void add_page(uint32_t width, uint32_t height, int count = 1) {
        for (; count > 0; --count) {
            Raster raster;
            ASSERT_TRUE(raster.Create(width, height, 24));
            m_film.AppendPage()->AddLayer(new Layer(static_cast<Raster&&>(raster)));
        }
    }
    std::vector<uint32_t> widths() {
        std::vector<uint32_t> all;
        for (unsigned i = 0; i < m_film.pages().size(); ++i)
            all.push_back(m_film.pages()[i]->width());
        return all;
    }
    int first_pixel(unsigned page) { return m_film.pages()[page]->LayerAt(0).raster().pixels()[0]; }
    void listen(int stop_at = 1000) {
        m_heard = Heard();
        m_heard.stop_at = stop_at;
        m_film.SetProgress(hear, &m_heard);
    }

    FakeLoader m_loader;
    FilterManager m_manager;
    FilmBody m_film;
    Heard m_heard;
    ResultCode m_last_code = IERR;
};

using Calls = std::vector<std::string>;

TEST_F(FilmBodyTest, Begins_empty_and_without_a_current_page) {
    EXPECT_EQ(m_film.pages().size(), 0u);
    EXPECT_EQ(m_film.current_page(), -1);
    EXPECT_EQ(m_film.AppendPage()->current_page(), -1);
    m_film.SetCurrentPage(0);
    EXPECT_EQ(m_film.pages()[0]->current_page(), 0);
}

TEST_F(FilmBodyTest, A_picture_goes_to_the_page_of_its_index_or_to_a_new_one) {
    bool is_new = false;
    Slide* first = m_film.TargetPage(5, &is_new);
    EXPECT_TRUE(is_new) << "whatever the index, in an empty document";
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(m_film.TargetPage(0, &is_new), first);
    EXPECT_FALSE(is_new);
    EXPECT_EQ(m_film.TargetPage(1, &is_new), nullptr) << "the page count itself is past the end";
    EXPECT_EQ(m_film.TargetPage(5, &is_new), nullptr);
    EXPECT_EQ(m_film.pages().size(), 1u);
    EXPECT_NE(m_film.TargetPage(~0u, &is_new), nullptr);
    EXPECT_TRUE(is_new);
    EXPECT_EQ(m_film.pages().size(), 2u);
}

TEST_F(FilmBodyTest, Stretching_nothing_answers_0_and_tells_nobody) {
    listen();
    EXPECT_EQ(m_film.Stretch(10, 10, 1, true, 0, ~0u, false), 0u);
    add_page(20, 20);
    EXPECT_EQ(m_film.Stretch(10, 10, 1, true, 1, ~0u, false), 0u) << "past the last page";
    EXPECT_EQ(m_heard.calls, Calls{});
}

TEST_F(FilmBodyTest, Stretching_tells_every_page_and_the_end) {
    add_page(20, 10, 4);
    listen();
    EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 1, 2, false), 1u);
    EXPECT_EQ(m_heard.calls, (Calls{"stretch... 0/4", "stretch... 2/4", "stretch... 3/4", "stretch... -2/4"}));
    EXPECT_EQ(widths(), (std::vector<uint32_t>{20, 5, 5, 20}));
    EXPECT_EQ(m_film.pages()[2]->height(), 6u);
}

TEST_F(FilmBodyTest, A_count_beyond_the_end_is_cut_and_never_wraps) {
    add_page(20, 10, 3);
    for (unsigned count : {~0u, ~0u - 1, 3u, 2u}) {
        listen();
        EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 1, count, false), 1u);
        EXPECT_EQ(m_heard.calls.size(), 4u) << count;
    }
    listen();
    EXPECT_EQ(m_film.Stretch(7, 7, 1, true, 1, 0, false), 1u) << "nothing to do";
    EXPECT_EQ(m_film.pages()[1]->width(), 5u);
    EXPECT_EQ(m_heard.calls, (Calls{"stretch... 0/3", "stretch... -2/3"}));
}

TEST_F(FilmBodyTest, A_stop_leaves_the_pages_done_so_far) {
    add_page(20, 10, 3);
    listen(2);
    EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 0, ~0u, false), 0u);
    EXPECT_EQ(m_heard.calls, (Calls{"stretch... 0/3", "stretch... 1/3", "stretch... 2/3", "stretch... -2/3"}));
    EXPECT_EQ(widths(), (std::vector<uint32_t>{5, 20, 20}));
    listen(0);
    EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 0, ~0u, false), 1u) << "the answer before the first page doesn't count";
    listen(4);
    EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 0, ~0u, false), 1u) << "nor that after the last";
}

TEST_F(FilmBodyTest, A_page_that_cant_be_stretched_ends_it) {
    add_page(20, 10);
    m_film.AppendPage();
    add_page(20, 10);
    listen();
    EXPECT_EQ(m_film.Stretch(5, 6, 1, true, 0, ~0u, false), 0u);
    EXPECT_EQ(m_heard.calls.back(), "stretch... -2/3");
    EXPECT_EQ(m_film.pages()[0]->width(), 5u);
    EXPECT_EQ(m_film.pages()[2]->width(), 20u);
}

TEST_F(FilmBodyTest, A_load_replaces_the_pages) {
    add_page(1, 1);
    ASSERT_EQ(load_text("PTP"), RCOK);
    ASSERT_EQ(m_film.pages().size(), 3u);
    EXPECT_EQ(m_film.pages()[1]->BitsPerPixel(), 32u);
    EXPECT_EQ(first_pixel(2), 3);
    EXPECT_EQ(m_film.pages()[0]->resolution_x, 72.0);
    EXPECT_EQ(m_film.pages()[0]->delay, 50u);
    EXPECT_EQ(m_film.current_page(), 0);
    EXPECT_EQ(m_film.pages()[2]->current_page(), 0);
    EXPECT_EQ(m_film.source_format, EFormat_JPG);
}

TEST_F(FilmBodyTest, An_append_puts_the_pages_behind_and_keeps_the_current_one) {
    add_page(1, 1);
    ASSERT_EQ(load_text("PP", {.append = true}), RCOK);
    EXPECT_EQ(widths(), (std::vector<uint32_t>{1, 8, 8}));
    EXPECT_EQ(first_pixel(1), 1);
    EXPECT_EQ(first_pixel(2), 2);
    EXPECT_EQ(m_film.current_page(), -1);
}

TEST_F(FilmBodyTest, One_page_may_be_asked_for) {
    ASSERT_EQ(load_text("PPP", {.page = 1}), RCOK);
    ASSERT_EQ(m_film.pages().size(), 1u);
    EXPECT_EQ(first_pixel(0), 2);
    EXPECT_EQ(load_text("PPP", {.page = 7}), MISS);
    EXPECT_EQ(load_text("PPP", {.page = -2}), BADA);
    EXPECT_EQ(m_film.pages().size(), 1u);
}

TEST_F(FilmBodyTest, Damage_is_refused_unless_tolerated) {
    add_page(1, 1);
    EXPECT_EQ(load_text("PD"), BADI);
    EXPECT_EQ(m_film.pages()[0]->width(), 1u) << "as it was";
    EXPECT_EQ(load_text("PD", {.tolerant = true}), OKAF);
    EXPECT_EQ(m_film.pages()[0]->width(), 8u);
    EXPECT_EQ(load_text("D", {.tolerant = true}), BADI) << "nothing good in it";
}

TEST_F(FilmBodyTest, Unknown_data_is_an_unsupported_format) {
    EXPECT_EQ(load_text("?"), UNSF);
    EXPECT_EQ(load_text("?", {.format = EFormat_JPG}), BADT) << "the format was given";
    EXPECT_EQ(load_text("P", {.format = format_from_name("XYZ")}), UNSF);
}

TEST_F(FilmBodyTest, A_load_reports_its_progress_and_can_be_stopped) {
    listen();
    ASSERT_EQ(load_text("PP"), RCOK);
    EXPECT_EQ(m_heard.calls, (Calls{"load... 1/9", "load... 2/9"}));
    listen(1);
    EXPECT_EQ(load_text("PPP"), USRA);
    EXPECT_EQ(m_film.pages().size(), 2u) << "as it was";
}

TEST_F(FilmBodyTest, A_thumbnail_is_the_modules_or_the_picture_made_to_fit) {
    LoadRequest request;
    request.max_width = request.max_height = 4;
    ASSERT_EQ(load_text("P", request), RCOK) << "the module has none";
    EXPECT_EQ(m_film.pages()[0]->width(), 4u);
    EXPECT_EQ(m_film.pages()[0]->height(), 3u);
    g_thumbnail_answer = TMNS;
    ASSERT_EQ(load_text("P", request), RCOK) << "the file has none";
    EXPECT_EQ(m_film.pages()[0]->height(), 3u);
    g_thumbnail_answer = RCOK;
    ASSERT_EQ(load_text("P", request), RCOK);
    EXPECT_EQ(m_film.pages()[0]->height(), 4u);
    EXPECT_EQ(g_thumbnail_calls, 3);
    g_thumbnail_answer = BADI;
    EXPECT_EQ(load_text("P", request), BADI);
    g_thumbnail_answer = NSUP;
    request.max_width = request.max_height = 100;
    ASSERT_EQ(load_text("P", request), RCOK);
    EXPECT_EQ(m_film.pages()[0]->width(), 8u) << "never made larger";
    request.max_height = 5;
    ASSERT_EQ(load_text("P", request), RCOK);
    EXPECT_EQ(m_film.pages()[0]->height(), 5u) << "too high alone";
    g_thumbnail_answer = RCOK;
    g_thumbnail_calls = 0;
    request.page = 1;
    ASSERT_EQ(load_text("PP", request), RCOK);
    EXPECT_EQ(m_film.pages()[0]->height(), 5u);
    EXPECT_EQ(g_thumbnail_calls, 0) << "a thumbnail is that of the first page";
    request.max_height = 0;
    EXPECT_EQ(load_text("P", request), BADA);
}

TEST_F(FilmBodyTest, Progress_of_a_module_beyond_what_the_callback_can_be_told_is_the_most) {
    m_loader.modules["fall.dll"].with(
        "LoadJPGImageData", +[](ImageDataExchange* image, VStream*, int32_t) -> ResultCode {
            g_services->Progress(image, 0xFFFFFFFF, 9);
            return USRA;
        });
    listen();
    EXPECT_EQ(load_text("P"), USRA);
    EXPECT_EQ(m_heard.calls, Calls{"load... 2147483647/9"});
}

TEST_F(FilmBodyTest, A_page_larger_than_modules_take_is_not_given_to_them) {
    Raster raster;
    ASSERT_TRUE(raster.CreateUnbounded(GLIB_MAX_PAGE_SIDE + 1, 1, 1));
    m_film.AppendPage()->AddLayer(new Layer(static_cast<Raster&&>(raster)));
    EXPECT_EQ(saved(), "");
    EXPECT_EQ(m_last_code, OMEM);
}

TEST_F(FilmBodyTest, Saving_writes_the_chosen_pages) {
    for (uint32_t i = 1; i <= 3; ++i)
        add_page(i, i);
    EXPECT_EQ(saved(), "1x1x24:0 2x2x24:0 3x3x24:0 ");
    EXPECT_EQ(m_last_code, RCOK);
    JPGSave options;
    options.first_page = 1;
    EXPECT_EQ(saved(options), "2x2x24:0 3x3x24:0 ");
    options.page_count = 1;
    EXPECT_EQ(saved(options), "2x2x24:0 ");
    options.page_count = 0xFFFFFFFF;
    EXPECT_EQ(saved(options), "2x2x24:0 3x3x24:0 ");
    options.first_page = 3;
    EXPECT_EQ(saved(options), "");
    EXPECT_EQ(m_last_code, BADA);
}

TEST_F(FilmBodyTest, Saving_flattens_pages_and_puts_transparency_on_white) {
    const DrawingPeriod drawing;
    ASSERT_EQ(load_text("T"), RCOK);
    EXPECT_EQ(saved(), "8x6x24:255 ");
    JPGSave options;
    options.keep_alpha = 1;
    EXPECT_EQ(saved(options), "8x6x32:1 ");
    Raster mark;
    ASSERT_TRUE(mark.Create(8, 6, 24));
    mark.pixels()[0] = 77;
    m_film.pages()[0]->AddLayer(new Layer(static_cast<Raster&&>(mark)));
    EXPECT_EQ(saved(), "8x6x24:77 ");
    EXPECT_EQ(m_film.pages()[0]->LayerCount(), 2u) << "in the document they stay apart";
}

TEST_F(FilmBodyTest, What_speaks_against_saving_is_said_before) {
    EXPECT_EQ(m_film.CanSave(m_manager, JPGSave()), BADA) << "no page";
    add_page(1, 1);
    EXPECT_EQ(m_film.CanSave(m_manager, JPGSave()), RCOK);
    EXPECT_EQ(m_film.CanSave(m_manager, ImageSave(0x24504E47)), UNSF);
    EXPECT_EQ(saved(), "1x1x24:0 ");
    listen(0);
    saved();
    EXPECT_EQ(m_last_code, USRA);
    EXPECT_EQ(m_heard.calls, Calls{"save... 1/1"});
    JPGSave failing;
    failing.compression = 13;
    listen();
    saved(failing);
    EXPECT_EQ(m_last_code, IERR);
}

TEST_F(FilmBodyTest, Information_comes_without_loading) {
    ImageFileInfo found;
    VMemStream stream(static_cast<const void*>("PPP"), 3);
    EXPECT_EQ(m_film.Info(m_manager, stream, "a.jpg", EFormat_none, found), RCOK);
    EXPECT_EQ(found.width, 8u);
    EXPECT_EQ(m_film.pages().size(), 0u);
    EXPECT_EQ(m_film.Info(m_manager, stream, nullptr, format_from_name("XYZ"), found), UNSF);
    VMemStream unknown(static_cast<const void*>("?"), 1);
    EXPECT_EQ(m_film.Info(m_manager, unknown, "a.jpg", EFormat_none, found), UNSF);
}

TEST_F(FilmBodyTest, A_copy_shares_nothing) {
    ASSERT_EQ(load_text("PT"), RCOK);
    m_film.title = "title";
    FilmBody copy;
    ASSERT_TRUE(copy.CopyFrom(m_film));
    m_film.Reset();
    EXPECT_EQ(m_film.pages().size(), 0u);
    EXPECT_EQ(m_film.current_page(), -1);
    EXPECT_EQ(m_film.source_format, EFormat_none);
    EXPECT_TRUE(m_film.title.empty());
    EXPECT_EQ(copy.pages().size(), 2u);
    EXPECT_EQ(copy.pages()[1]->LayerAt(0).raster().pixels()[0], 2);
    EXPECT_STREQ(copy.title.c_str(), "title");
    EXPECT_EQ(copy.source_format, EFormat_JPG);
}

} // namespace
} // namespace glib
