#include "glib/film.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "base/genlib_error.h"
#include "glib/filter_manager.h"
#include "glib/gdiplus_init.h"
#include "glib/recorded_boxes.h"
#include "glib/slide.h"

namespace glib {
namespace {

constexpr uint32_t kXbm = 0x0058424D;

// A section of any depth; rows are written as the test wants to see them, from the top.
class Section {
public:
    Section(int width, int height, int bits, bool top_down, const std::vector<uint32_t>& masks_or_palette = {})
        : height_(height), top_down_(top_down) {
        struct {
            BITMAPINFOHEADER header;
            uint32_t colours[256];
        } info = {};
        info.header.biSize = sizeof(info.header);
        info.header.biWidth = width;
        info.header.biHeight = top_down ? -height : height;
        info.header.biPlanes = 1;
        info.header.biBitCount = static_cast<WORD>(bits);
        info.header.biCompression = bits == 16 && !masks_or_palette.empty() ? BI_BITFIELDS : BI_RGB;
        for (size_t i = 0; i < masks_or_palette.size(); ++i)
            info.colours[i] = masks_or_palette[i];
        void* bits_of_section = nullptr;
        handle = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &bits_of_section,
                                  nullptr, 0);
        bits_ = static_cast<uint8_t*>(bits_of_section);
        row_bytes_ = static_cast<int>(row_length(static_cast<uint32_t>(bits), static_cast<uint32_t>(width)));
    }
    ~Section() { DeleteObject(handle); }
    uint8_t* row(int y) { return bits_ + (top_down_ ? y : height_ - 1 - y) * row_bytes_; }

    HBITMAP handle;

private:
    uint8_t* bits_;
    int height_, row_bytes_;
    bool top_down_;
};

uint32_t colour_at(Film& film, unsigned page, uint32_t x, uint32_t y) {
    const Raster& raster = film.Page(page).LayerAt(0).raster();
    std::vector<RGB32> row(raster.width());
    raster.ReadRow(y, row.data());
    return static_cast<uint32_t>(row[x].alpha) << 24 | row[x].red << 16 | row[x].green << 8 | row[x].blue;
}

class FilmTest : public testing::Test {
protected:
    void SetUp() override {
        char path[MAX_PATH];
        GetModuleFileNameA(nullptr, path, MAX_PATH);
        folder_of_modules = std::string(path).substr(0, std::string(path).rfind('\\'));
        filter_manager().SetUp(folder_of_modules.c_str(), "xbm\n");
        GetTempPathA(MAX_PATH, path);
        temp = path;
        GetTempFileNameA(path, "flm", 0, path);
        file = path;
        DeleteFileA(file.c_str());
        clear_recorded_boxes();
    }
    void TearDown() override {
        DeleteFileA(file.c_str());
        filter_manager().SetUp(nullptr, "fall\n");
    }
    std::string on_disk() {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }
    bool exists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

    std::string folder_of_modules, temp, file;
};

TEST_F(FilmTest, A_bitmap_on_an_empty_document_is_page_0_whatever_the_index) {
    Section section(3, 2, 24, true);
    for (unsigned index : {0u, 5u, ~0u}) {
        Film film;
        EXPECT_EQ(film.SetSlideBitmap(index, section.handle), 1u);
        EXPECT_EQ(film.PageCount(), 1u);
        EXPECT_EQ(film.PageWidth(0), 3u);
        EXPECT_EQ(film.PageHeight(0), 2u);
        EXPECT_EQ(film.PageDepth(0), 24u);
        EXPECT_EQ(film.PageLayers(0), 1u);
        EXPECT_STREQ(film.Page(0).LayerAt(0).name.c_str(), "Layer 1");
        EXPECT_TRUE(film.Page(0).LayerAt(0).scales);
    }
}

TEST_F(FilmTest, An_index_past_the_end_adds_nothing_and_minus_one_appends) {
    Section small(3, 2, 24, true), big(5, 5, 24, true);
    Film film;
    film.SetSlideBitmap(~0u, small.handle);
    film.SetSlideBitmap(~0u, small.handle);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.SetSlideBitmap(5, big.handle), 0u);
    EXPECT_EQ(film.SetSlideBitmap(2, big.handle), 0u);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.SetSlideBitmap(1, big.handle), 1u);
    EXPECT_EQ(film.PageCount(), 2u);
    EXPECT_EQ(film.PageWidth(1), 5u);
    EXPECT_EQ(film.PageLayers(1), 1u) << "emptied first";
    EXPECT_EQ(film.PageWidth(0), 3u);
}

TEST_F(FilmTest, What_is_no_bitmap_is_refused) {
    Film film;
    EXPECT_EQ(film.SetSlideBitmap(0, nullptr), 0u);
    HBRUSH brush = CreateSolidBrush(0);
    EXPECT_EQ(film.SetSlideBitmap(0, reinterpret_cast<HBITMAP>(brush)), 0u);
    DeleteObject(brush);
    EXPECT_EQ(film.PageCount(), 0u);
    Section section(3, 2, 24, true);
    film.SetSlideBitmap(0, section.handle);
    EXPECT_EQ(film.SetSlideBitmap(0, nullptr), 0u);
    EXPECT_EQ(film.PageLayers(0), 1u) << "a null bitmap changes nothing";
}

TEST_F(FilmTest, Both_row_orders_come_in_upright) {
    for (bool top_down : {true, false}) {
        Section section(2, 3, 24, top_down);
        for (int y = 0; y < 3; ++y)
            section.row(y)[3] = static_cast<uint8_t>(10 + y); // blue of the second pixel
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
        for (uint32_t y = 0; y < 3; ++y)
            EXPECT_EQ(colour_at(film, 0, 1, y), 0xFF00000Au + y) << top_down;
        EXPECT_EQ(film.Page(0).LayerAt(0).raster().pixels()[3], 12) << "rows from the bottom";
    }
}

TEST_F(FilmTest, Palettes_come_in_with_their_bitmaps) {
    for (int bits : {1, 4, 8}) {
        Section section(9, 2, bits, true, {0x00112233, 0x00445566});
        section.row(1)[0] = bits == 1 ? 0x80 : bits == 4 ? 0x10 : 0x01;
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u) << bits;
        EXPECT_EQ(film.PageDepth(0), static_cast<uint32_t>(bits));
        EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFF112233u) << bits;
        EXPECT_EQ(colour_at(film, 0, 0, 1), 0xFF445566u) << bits;
        EXPECT_EQ(colour_at(film, 0, 1, 1), 0xFF112233u) << bits;
    }
}

TEST_F(FilmTest, Sixteen_bits_become_24_by_their_masks) {
    const struct {
        std::vector<uint32_t> masks;
        uint16_t red, green, blue;
    } cases[] = {{{}, 0x7C00, 0x03E0, 0x001F},
                 {{0x7C00, 0x03E0, 0x001F}, 0x7C00, 0x03E0, 0x001F},
                 {{0xF800, 0x07E0, 0x001F}, 0xF800, 0x07E0, 0x001F}};
    for (const auto& c : cases) {
        Section section(3, 1, 16, true, c.masks);
        const uint16_t pixels[] = {c.red, c.green, c.blue};
        memcpy(section.row(0), pixels, sizeof(pixels));
        Film film;
        ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
        EXPECT_EQ(film.PageDepth(0), 24u);
        EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFFFF0000u);
        EXPECT_EQ(colour_at(film, 0, 1, 0), 0xFF00FF00u);
        EXPECT_EQ(colour_at(film, 0, 2, 0), 0xFF0000FFu);
    }
}

TEST_F(FilmTest, Thirty_two_bits_become_opaque) {
    Section section(1, 1, 32, true);
    const uint8_t pixel[] = {1, 2, 3, 0};
    memcpy(section.row(0), pixel, 4);
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
    EXPECT_EQ(film.PageDepth(0), 32u);
    EXPECT_EQ(colour_at(film, 0, 0, 0), 0xFF030201u);
    EXPECT_EQ(section.row(0)[3], 0) << "the caller's bitmap stays as it is";
}

TEST_F(FilmTest, A_screens_worth_of_pixels_shrinks_to_512_by_512) {
    Section section(1024, 768, 24, true);
    for (int y = 0; y < 768; ++y)
        memset(section.row(y), y < 384 ? 40 : 200, 1024 * 3);
    Film film;
    ASSERT_EQ(film.SetSlideBitmap(0, section.handle), 1u);
    ASSERT_EQ(film.Stretch(512, 512, 1, true, 0, ~0u, false), 1u);
    EXPECT_EQ(film.PageWidth(0), 512u);
    EXPECT_EQ(film.PageHeight(0), 512u);
    EXPECT_EQ(film.PageDepth(0), 24u);
    EXPECT_EQ(colour_at(film, 0, 100, 10), 0xFF282828u);
    EXPECT_EQ(colour_at(film, 0, 100, 500), 0xFFC8C8C8u);
}

TEST_F(FilmTest, Page_queries_past_the_end_throw_index_and_count) {
    Film film;
    Section section(3, 2, 24, true);
    film.SetSlideBitmap(0, section.handle);
    film.SetSlideBitmap(~0u, section.handle);
    const auto check = [](auto call) {
        try {
            call();
            ADD_FAILURE();
        } catch (const gen::genlib_out_of_range& error) {
            EXPECT_EQ(error.index, 2u);
            EXPECT_EQ(error.size, 2u);
        }
    };
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

const char kXbmFile[] = "#define image_width 9\n#define image_height 2\nstatic unsigned char image_bits[] = {\n"
                        "0x01, 0x01,\n0x80, 0x00};\n";

TEST_F(FilmTest, Saves_and_loads_through_a_module_of_another_compiler) {
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

TEST_F(FilmTest, Information_comes_from_file_and_memory) {
    std::ofstream(file, std::ios::binary) << kXbmFile;
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

TEST_F(FilmTest, What_cant_be_loaded_leaves_the_document_as_it_was) {
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

TEST_F(FilmTest, A_format_that_nobody_serves_leaves_no_file) {
    Section section(3, 2, 24, true);
    Film film;
    film.SetSlideBitmap(0, section.handle);
    const JPGSave jpg;
    EXPECT_EQ(film.Save(file.c_str(), &jpg), UNSF);
    EXPECT_FALSE(exists(file));
    const ImageSave xbm(kXbm);
    Film empty;
    EXPECT_EQ(empty.Save(file.c_str(), &xbm), BADA);
    EXPECT_FALSE(exists(file));
    EXPECT_EQ(film.Save(nullptr, &xbm), BADA);
    EXPECT_EQ(film.Save(file.c_str(), nullptr), BADA);
    EXPECT_EQ(film.Save("C:\\no such folder\\file", &xbm), IERR);
    EXPECT_EQ(recorded_boxes().size(), 0u);
}

uint8_t stop(void*, const FilmProgress*) {
    return 0;
}

TEST_F(FilmTest, A_save_that_is_not_finished_leaves_no_file_and_a_safe_one_the_old) {
    Section section(3, 2, 24, true);
    Film film;
    film.SetSlideBitmap(0, section.handle);
    film.SetProgress(stop, nullptr);
    const ImageSave xbm(kXbm);
    std::ofstream(file) << "old";
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), USRA);
    EXPECT_EQ(on_disk(), "old");
    EXPECT_EQ(film.Save(file.c_str(), &xbm), USRA);
    EXPECT_FALSE(exists(file));
    film.SetProgress(nullptr, nullptr);
    std::ofstream(file) << "old";
    EXPECT_EQ(film.SaveSafely(file.c_str(), &xbm), RCOK);
    EXPECT_EQ(on_disk().substr(0, 20), "#define image_width ");
    EXPECT_FALSE(exists(file + ".new"));
}

TEST_F(FilmTest, Saves_with_settings_of_ones_own) {
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

TEST_F(FilmTest, Saves_to_memory) {
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
