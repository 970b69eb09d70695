// Documents saved and loaded in files, through modules that are truly loaded.
#include "glib/film.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/cxx/failures.h"
#include "testing/cxx/film_fixture.h"
#include "testing/cxx/recorded_boxes.h"

namespace glib {
namespace {

using FilmFile = FilmFixture;
using Names = std::vector<std::string>;

TEST_F(FilmFile, Saves_and_loads_through_a_module_of_another_compiler) {
    Film film;
    ASSERT_EQ(film.LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    EXPECT_EQ(film.SourceFormat(), kXbm);
    EXPECT_EQ(film.PageDepth(0), 1u);
    EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFF000000u);
    EXPECT_EQ(colour_at(film, 0, 1, 0), 0xFFFFFFFFu);
    EXPECT_EQ(colour_at(film, 0, 8, 0), 0xFF000000u);
    EXPECT_EQ(colour_at(film, 0, 7, 1), 0xFF000000u);
    const ImageSave options(kXbm);
    ASSERT_EQ(film.Save(file.c_str(), &options), RCOK);
    EXPECT_EQ(on_disk(), kXbmFile);

    Film again;
    EXPECT_EQ(again.Load(file.c_str(), 0, 0), RCOK);
    EXPECT_EQ(again.Append(file.c_str(), 0, 0), RCOK);
    EXPECT_EQ(again.AppendDamaged(file.c_str(), 0, 0), RCOK);
    EXPECT_EQ(again.AppendAs(file.c_str(), kXbm, 0, 0), RCOK);
    EXPECT_EQ(again.AppendMemory(kXbmFile, sizeof(kXbmFile) - 1, kXbm), RCOK);
    EXPECT_EQ(again.PageCount(), 5u);
    EXPECT_EQ(again.LoadDamaged(file.c_str(), 0, 0), RCOK);
    EXPECT_EQ(again.PageCount(), 1u);
    EXPECT_EQ(again.LoadPage(file.c_str(), 0, 0, 0), RCOK);
    EXPECT_EQ(again.LoadDamagedPage(file.c_str(), 0, 0, 0), RCOK);
    EXPECT_EQ(again.LoadAs(file.c_str(), kXbm, 0, 0), RCOK);
    EXPECT_EQ(again.LoadPageAs(file.c_str(), kXbm, 0, 0, 0), RCOK);
    EXPECT_EQ(again.LoadMemoryPage(kXbmFile, sizeof(kXbmFile) - 1, kXbm, 0), RCOK);
    EXPECT_EQ(again.LoadPage(file.c_str(), 0, 0, 1), MISS);
    EXPECT_EQ(again.LoadMemoryPage(kXbmFile, sizeof(kXbmFile) - 1, kXbm, 1), MISS);
    EXPECT_EQ(again.Load(file.c_str(), 4, 4), RCOK) << "the module has no thumbnails";
    EXPECT_EQ(again.PageWidth(0), 4u);
    EXPECT_EQ(again.PageHeight(0), 1u);
}

TEST_F(FilmFile, Information_comes_from_file_and_memory) {
    folder.add("film", kXbmFile);
    Film film;
    ImageFileInfo info = {};
    ASSERT_EQ(film.FileInfo(file.c_str(), &info), RCOK);
    EXPECT_EQ(info.format, kXbm);
    EXPECT_EQ(info.width, 9u);
    EXPECT_EQ(info.height, 2u);
    EXPECT_EQ(info.page_count, 1u);
    info = {};
    EXPECT_EQ(film.FileInfoAs(file.c_str(), kXbm, &info), RCOK);
    EXPECT_EQ(info.width, 9u);
    EXPECT_EQ(film.FileInfoAs(file.c_str(), EFormat_JPG, &info), UNSF);
    info = {};
    EXPECT_EQ(film.MemoryInfo(kXbmFile, sizeof(kXbmFile) - 1, &info), RCOK);
    EXPECT_EQ(info.width, 9u);
    EXPECT_EQ(film.FileInfo(file.c_str(), nullptr), BADA);
    EXPECT_EQ(film.FileInfo(nullptr, &info), BADA);
    EXPECT_EQ(film.MemoryInfo(nullptr, 5, &info), BADA);
    EXPECT_EQ(film.FileInfo("C:\\no such file", &info), IERR);
}

TEST_F(FilmFile, What_cant_be_loaded_leaves_the_document_as_it_was) {
    Film film;
    ASSERT_EQ(film.LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    EXPECT_EQ(film.Load("C:\\no such file", 0, 0), IERR);
    EXPECT_EQ(film.Load(nullptr, 0, 0), BADA);
    EXPECT_EQ(film.LoadMemory(nullptr, 10, 0), BADA);
    EXPECT_EQ(film.LoadMemory("x", 0, 0), BADA);
    EXPECT_EQ(film.LoadMemory("something else", 14, 0), UNSF);
    EXPECT_EQ(film.LoadMemory(kXbmFile, 60, 0), BADI) << "cut off";
    EXPECT_EQ(film.LoadResource(GetModuleHandleA(nullptr), "no such", "thing"), MISS);
    EXPECT_EQ(film.PageCount(), 1u);
    EXPECT_EQ(film.SourceFormat(), kXbm);
}

TEST_F(FilmFile, A_format_that_nobody_serves_leaves_no_file) {
    Section section(3, 2, 24, true);
    Film film;
    film.SetSlideBitmap(0, section.handle);
    const JPGSave jpg;
    EXPECT_EQ(film.Save(file.c_str(), &jpg), UNSF);
    EXPECT_EQ(files(), Names());
    const ImageSave xbm(kXbm);
    Film empty;
    EXPECT_EQ(empty.Save(file.c_str(), &xbm), BADA);
    EXPECT_EQ(files(), Names());
    EXPECT_EQ(film.Save(nullptr, &xbm), BADA);
    EXPECT_EQ(film.Save(file.c_str(), nullptr), BADA);
    EXPECT_EQ(film.Save("C:\\no such folder\\file", &xbm), IERR);
    EXPECT_EQ(recorded_boxes().size(), 0u);
}

uint8_t stop(void*, const FilmProgress*) {
    return 0;
}

TEST_F(FilmFile, A_save_that_is_not_finished_leaves_no_file_and_a_safe_one_the_old) {
    Section section(3, 2, 24, true);
    Film film;
    film.SetSlideBitmap(0, section.handle);
    film.SetProgress(stop, nullptr);
    const ImageSave xbm(kXbm);
    folder.add("film", "old");
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), USRA);
    EXPECT_EQ(on_disk(), "old");
    EXPECT_EQ(film.Save(file.c_str(), &xbm), USRA);
    EXPECT_EQ(files(), Names());
    film.SetProgress(nullptr, nullptr);
    folder.add("film", "old");
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), RCOK);
    EXPECT_EQ(on_disk().substr(0, 20), "#define image_width ");
    EXPECT_EQ(files(), Names{"film"});
}

TEST_F(FilmFile, A_safe_save_without_memory_leaves_the_old_file_and_none_beside_it_wherever_memory_ends) {
    Film film;
    ASSERT_EQ(film.LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    const ImageSave xbm(kXbm);
    for (EachAllocation each(2); each.next();) {
        folder.add("film", "old");
        each.run([&] { return film.SaveSafely(file.c_str(), &xbm) == RCOK; });
        EXPECT_EQ(on_disk(), each.failed() ? "old" : kXbmFile);
        ASSERT_EQ(files(), Names{"film"});
    }
}

TEST_F(FilmFile, A_safe_save_leaves_the_files_beside_it_alone) {
    Section section(3, 2, 24, true);
    Film film;
    film.SetSlideBitmap(0, section.handle);
    const ImageSave xbm(kXbm);
    folder.add("film.new", "mine");
    folder.add("film.new1", "mine too");
    film.SetProgress(stop, nullptr);
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), USRA);
    EXPECT_EQ(files().size(), 2u);
    film.SetProgress(nullptr, nullptr);
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), RCOK);
    EXPECT_EQ(on_disk().substr(0, 20), "#define image_width ");
    EXPECT_EQ(folder.read("film.new"), "mine");
    EXPECT_EQ(folder.read("film.new1"), "mine too");
    EXPECT_EQ(files().size(), 3u) << "what was made is gone";
    EXPECT_EQ(film.SaveSafely("C:\\no such folder\\file", &xbm), IERR);
}

TEST_F(FilmFile, Saves_with_settings_of_ones_own) {
    Section section(3, 2, 24, true);
    Film film;
    for (int i = 0; i < 3; ++i)
        film.SetSlideBitmap(~0u, section.handle);
    const ImageSave xbm(kXbm);
    EXPECT_EQ(film.SaveWith(file.c_str(), kXbm, 1, 0.0, 0.0, nullptr, 1, 1), RCOK);
    EXPECT_EQ(film.SaveWith(file.c_str(), kXbm, 1, 96.0, 96.0, &xbm, 0, 0), RCOK);
    EXPECT_EQ(film.SaveWith(file.c_str(), kXbm, 1, 0.0, 0.0, nullptr, 3, 1), BADA) << "no such page";
    EXPECT_EQ(film.SaveWith(file.c_str(), EFormat_JPG, 24, 0.0, 0.0, &xbm, 0, 0), BADA) << "another format's record";
    EXPECT_EQ(film.SaveWith(file.c_str(), EFormat_JPG, 24, 0.0, 0.0, nullptr, 0, 0), UNSF);
}

TEST_F(FilmFile, Saves_to_memory) {
    Film film;
    ASSERT_EQ(film.LoadMemory(kXbmFile, sizeof(kXbmFile) - 1, 0), RCOK);
    void* buffer = reinterpret_cast<void*>(1);
    uint32_t length = 77;
    const JPGSave jpg;
    EXPECT_EQ(film.SaveMemory(&jpg, &buffer, &length), UNSF);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0u);
    const ImageSave xbm(kXbm);
    ASSERT_EQ(film.SaveMemory(&xbm, &buffer, &length), RCOK);
    EXPECT_EQ(std::string(static_cast<char*>(buffer), length), kXbmFile);
    Film::FreeMemory(buffer);
    Film::FreeMemory(nullptr);
    EXPECT_EQ(film.SaveMemory(&xbm, nullptr, &length), BADA);
    EXPECT_EQ(film.SaveMemory(nullptr, &buffer, &length), BADA);
}

} // namespace
} // namespace glib
