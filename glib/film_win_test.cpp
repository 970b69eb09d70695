#include "glib/film.h"

#include <string>

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/cxx/failures.h"
#include "testing/cxx/film_fixture.h"
#include "glib/gdiplus_init.h"

namespace glib {
namespace {

using FilmTest = FilmFixture;

TEST_F(FilmTest, Page_queries_past_the_end_throw_index_and_count) {
    Film film;
    Section section(3, 2, 24, true);
    film.SetSlideBitmap(0, section.handle);
    film.SetSlideBitmap(~0u, section.handle);
    const auto check = [](auto call) { expect_out_of_range(2, 2, call); };
    check([&] { film.PageWidth(2); });
    check([&] { film.PageHeight(2); });
    check([&] { film.PageDepth(2); });
    check([&] { film.PageLayers(2); });
    check([&] { film.RemovePage(2); });
    check([&] { film.Page(2); });
    film.SetCurrentPage(1);
    film.RemovePage(0);
    EXPECT_EQ(film.PageCount(), 1u);
    EXPECT_EQ(film.CurrentPage(), 0);
    film.RemovePage(0);
    EXPECT_EQ(film.CurrentPage(), -1);
}

TEST_F(FilmTest, A_clone_lives_on_its_own) {
    Film* film = new Film;
    ASSERT_EQ(film->LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    film->SetTitle("title", true);
    film->SetTitle("another", true);
    Film* clone = film->Clone();
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(live_documents(), 2);
    delete film;
    EXPECT_EQ(colour_at(*clone, 0, 0, 0), 0xFF000000u);
    EXPECT_STREQ(clone->Title(), "title");
    EXPECT_EQ(clone->SourceFormat(), kXbm);
    clone->SetTitle(nullptr, false);
    EXPECT_STREQ(clone->Title(), "");
    clone->Reset();
    EXPECT_EQ(clone->PageCount(), 0u);
    EXPECT_EQ(clone->SourceFormat(), 0u);
    delete clone;
    EXPECT_EQ(live_documents(), 0);
}

TEST_F(FilmTest, A_clone_without_memory_is_null_wherever_memory_ends) {
    Film film;
    ASSERT_EQ(film.LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    film.SetTitle("a title that needs memory of its own", false);
    for (EachAllocation each(4); each.next();) {
        each.run([&] {
            Film* const clone = film.Clone();
            delete clone;
            return clone != nullptr;
        });
        EXPECT_EQ(live_documents(), 1);
    }
}

TEST_F(FilmTest, The_current_page_stays_when_one_before_it_goes) {
    Film film;
    for (int i = 0; i < 5; ++i)
        film.AddPage();
    film.SetCurrentPage(2);
    film.RemovePage(4);
    EXPECT_EQ(film.CurrentPage(), 2) << "the one removed lay behind it";
    film.RemovePage(0);
    EXPECT_EQ(film.CurrentPage(), 1);
    EXPECT_EQ(film.Page(0).current_page(), 1) << "every page is told";
    film.SetCurrentPage(0);
    film.RemovePage(0);
    EXPECT_EQ(film.CurrentPage(), 0) << "the next one takes its place";
    film.SetCurrentPage(-1);
    film.RemovePage(0);
    EXPECT_EQ(film.CurrentPage(), -1);
}

uint8_t note(void* context, const FilmProgress* progress) {
    *static_cast<std::string*>(context) += std::string(progress->text.c_str()) + std::to_string(progress->step) + ";";
    return 1;
}

TEST_F(FilmTest, The_end_of_a_document_is_told) {
    std::string heard;
    {
        Film film;
        film.SetProgress(note, &heard);
    }
    EXPECT_EQ(heard, "-2;");
}

} // namespace
} // namespace glib
