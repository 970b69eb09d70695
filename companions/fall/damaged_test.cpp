// Damaged and hostile files, and hosts in trouble: a result code each time, and never more memory than is allowed.
#include <gtest/gtest.h>

#include <cstdlib>

#include "testing/cxx/fake_host.h"

namespace {

using namespace fall;
using fall_test::Bytes;
using fall_test::Image;
using fall_test::Stream;
using glib::ResultCode;

constexpr ImageFormat kWritten[] = {image_jpg, image_png, image_bmp, image_tga, image_hdr};

bool is_refusal(ResultCode code) {
    return code == glib::BADI || code == glib::BADT || code == glib::OMEM;
}

Bytes changed(Bytes data, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(at));
    return data;
}

// Counts what the module takes, and fails at one of its calls.
unsigned long g_calls, g_failing_call;
std::size_t g_largest;
void* counted_realloc(void* block, std::size_t bytes) {
    g_largest = std::max(g_largest, bytes);
    return ++g_calls == g_failing_call ? nullptr : std::realloc(block, bytes);
}

class Allocations {
public:
    explicit Allocations(unsigned long failing_call = 0) {
        g_calls = 0;
        g_largest = 0;
        g_failing_call = failing_call;
        operation_realloc = counted_realloc;
    }
    ~Allocations() { operation_realloc = std::realloc; }
};

ResultCode load(ImageFormat format, const Bytes& data) {
    Image image;
    const ResultCode code = fall_test::load(format, data, image);
    EXPECT_TRUE(!glib::succeeded(code) || !image.pages.empty());
    EXPECT_EQ(memory_held(), 0u);
    return code;
}

TEST(Damaged, A_file_cut_off_anywhere_is_no_success) {
    for (ImageFormat format : fall_test::kFormats) {
        const Bytes whole = fall_test::sample(format);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const Bytes file(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            const ResultCode code = load(format, file);
            // The last row's padding of a bitmap, and the checksums at the end of a PNG, carry no pixels.
            if (!is_refusal(code) && code != glib::OKAF) {
                EXPECT_TRUE(format == image_bmp || format == image_png) << format << " cut at " << length;
                EXPECT_GE(length + 8, whole.size()) << format;
            }
            glib::ImageFileInfo info;
            fall_test::info(format, file, info);
        }
    }
}

TEST(Damaged, Any_byte_may_be_wrong) {
    for (ImageFormat format : fall_test::kFormats) {
        const Bytes whole = fall_test::sample(format);
        for (std::size_t at = 0; at < whole.size(); ++at)
            for (int byte : {0x00, 0x7F, 0x80, 0xFF, whole[at] ^ 1})
                load(format, changed(whole, at, {static_cast<std::uint8_t>(byte)}));
    }
}

struct Hostile {
    const char* name;
    ImageFormat format;
    std::size_t at; // where the size stands
    Bytes size;
    ResultCode code;
};

// Files of a few bytes that promise more pixels than are read, or none.
TEST(Damaged, Sizes_are_checked_before_pixels_are_made) {
    const Hostile files[] = {
        {"jpg 65000 x 65000", image_jpg, 0, {}, glib::OMEM},
        {"png 65000 x 65000", image_png, 16, {0, 0, 0xFD, 0xE8, 0, 0, 0xFD, 0xE8}, glib::BADI},
        {"png 3 x 0x80000000", image_png, 20, {0x80, 0, 0, 0}, glib::BADI},
        {"png 0 x 2", image_png, 16, {0, 0, 0, 0}, glib::BADI},
        {"bmp 30000 x 30000", image_bmp, 18, {0x30, 0x75, 0, 0, 0x30, 0x75, 0, 0}, glib::OMEM},
        {"bmp 0 x 2", image_bmp, 18, {0, 0, 0, 0}, glib::BADI},
        {"bmp of the least height", image_bmp, 22, {0, 0, 0, 0x80}, glib::BADI},
        {"gif 65535 x 1000", image_gif, 6, {0xFF, 0xFF, 0xE8, 3}, glib::BADI},
        {"gif 8192 x 8192", image_gif, 6, {0, 0x20, 0, 0x20}, glib::OMEM},
        {"gif 0 x 0", image_gif, 6, {0, 0, 0, 0}, glib::BADI},
        {"psd 30000 x 30000", image_psd, 14, {0, 0, 0x75, 0x30, 0, 0, 0x75, 0x30}, glib::OMEM},
        {"psd 2 x 0", image_psd, 18, {0, 0, 0, 0}, glib::BADI},
        {"pic 65000 x 65000", image_pic, 92, {0xFD, 0xE8, 0xFD, 0xE8}, glib::BADI},
        {"pic 0 x 2", image_pic, 92, {0, 0}, glib::BADI},
        {"tga 65000 x 65000", image_tga, 12, {0xE8, 0xFD, 0xE8, 0xFD}, glib::OMEM},
        {"tga 0 x 2", image_tga, 12, {0, 0}, glib::BADT},
    };
    for (const Hostile& file : files) {
        Bytes data = fall_test::sample(file.format);
        if (file.format == image_jpg) {
            for (std::size_t i = 0; i + 9 < data.size(); ++i)
                if (data[i] == 0xFF && data[i + 1] == 0xC0)
                    data = changed(data, i + 5, {0xFD, 0xE8, 0xFD, 0xE8});
        } else {
            data = changed(data, file.at, file.size);
        }
        const Allocations allocations;
        const ResultCode code = load(file.format, data);
        EXPECT_EQ(code, file.code) << file.name;
        EXPECT_LT(g_largest, file.format == image_gif ? FALL_MAX_MEMORY + 100 : 0x40000u) << file.name;
    }
    const std::string ppm = "P6 60000 60000 255\n", endless = "P6 99999999999999999999 2 255\n";
    EXPECT_EQ(load(image_ppm, Bytes(ppm.begin(), ppm.end())), glib::OMEM);
    EXPECT_TRUE(is_refusal(load(image_ppm, Bytes(endless.begin(), endless.end()))));
}

TEST(Damaged, A_jpeg_of_endless_passes_is_refused) {
    Bytes file = fall_test::sample(image_jpg);
    std::size_t scan = 0;
    while (file[scan] != 0xFF || file[scan + 1] != 0xDA)
        ++scan;
    const Bytes pass(file.begin() + static_cast<std::ptrdiff_t>(scan), file.end() - 2);
    file.resize(scan);
    for (int passes = 1; passes <= 200; ++passes) {
        file.insert(file.end(), pass.begin(), pass.end());
        Bytes ended = file;
        ended.insert(ended.end(), {0xFF, 0xD9});
        EXPECT_EQ(load(image_jpg, ended), passes <= 100 ? glib::RCOK : glib::BADI) << passes;
    }
}

TEST(Damaged, A_gif_that_ends_early_gives_what_it_has) {
    const Bytes whole = fall_test::sample(image_gif);
    Image image;
    EXPECT_EQ(fall_test::load(image_gif, Bytes(whole.begin(), whole.end() - 1), image), glib::OKAF);
    EXPECT_EQ(image.pages.size(), 2u);
}

TEST(Damaged, A_gif_without_a_picture_is_refused) {
    const Bytes whole = fall_test::sample(image_gif);
    const std::size_t header = 13 + 3 * (2u << (whole[10] & 7));
    Bytes file(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(header));
    file.push_back(';');
    Image image;
    EXPECT_EQ(fall_test::load(image_gif, file, image), glib::BADI);
    EXPECT_EQ(fall_test::load(image_gif, file, image, 0), glib::MISS);
}

TEST(Damaged, A_gif_of_endless_pictures_is_refused) {
    const Bytes whole = fall_test::sample(image_gif);
    Bytes picture(whole.end() - 1 - 15, whole.end() - 1), file(whole.begin(), whole.end() - 1);
    ASSERT_EQ(picture[0], ',');
    for (unsigned i = 0; i < GLIB_MAX_PAGES; ++i)
        file.insert(file.end(), picture.begin(), picture.end());
    Image image;
    EXPECT_EQ(fall_test::load(image_gif, file, image, 5000), glib::OMEM);
    EXPECT_EQ(fall_test::load(image_gif, file, image), glib::OMEM);
}

TEST(Damaged, An_hdr_that_ends_in_a_run_of_no_pixels_is_refused) {
    std::string file = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 8\n";
    file += {2, 2, 0, 8, 0};
    EXPECT_EQ(load(image_hdr, Bytes(file.begin(), file.end())), glib::BADI);
}

TEST(Damaged, Every_allocation_may_fail) {
    for (ImageFormat format : fall_test::kFormats) {
        unsigned long calls;
        {
            const Allocations allocations;
            EXPECT_EQ(load(format, fall_test::sample(format)), glib::RCOK);
            calls = g_calls;
        }
        ASSERT_GT(calls, 1u);
        for (unsigned long failing = 1; failing <= calls; ++failing) {
            const Allocations allocations(failing);
            EXPECT_EQ(load(format, fall_test::sample(format)), glib::OMEM) << format << ", allocation " << failing;
        }
    }
}

TEST(Damaged, Every_allocation_of_a_save_may_fail) {
    for (ImageFormat format : kWritten) {
        for (unsigned long failing = 1;; ++failing) {
            Image image;
            fall_test::add_picture(image, 20, 20, 24);
            Stream stream;
            const Allocations allocations(failing);
            const ResultCode code = fall_test::save(format, image, stream, glib::JPGSave());
            EXPECT_EQ(memory_held(), 0u);
            if (g_calls < failing) {
                EXPECT_EQ(code, glib::RCOK);
                EXPECT_GT(failing, 2u);
                break;
            }
            EXPECT_EQ(code, glib::OMEM) << format << ", allocation " << failing;
        }
    }
}

TEST(Damaged, A_document_that_takes_no_page_ends_the_load) {
    for (ImageFormat format : fall_test::kFormats) {
        Image image;
        image.page_limit = 0;
        EXPECT_EQ(fall_test::load(format, fall_test::sample(format), image), glib::OMEM);
    }
}

TEST(Damaged, A_stream_that_fails_anywhere_ends_the_save) {
    for (ImageFormat format : kWritten) {
        Image image;
        fall_test::add_picture(image, 24, 24, 24);
        Stream whole;
        ASSERT_EQ(fall_test::save(format, image, whole, glib::JPGSave()), glib::RCOK);
        for (std::uint64_t limit = 0; limit < whole.bytes.size(); limit += 7) {
            Stream stream;
            stream.write_limit = limit;
            EXPECT_EQ(fall_test::save(format, image, stream, glib::JPGSave()), glib::IERR) << format << ", " << limit;
        }
        Stream last_byte;
        last_byte.write_limit = whole.bytes.size() - 1;
        EXPECT_EQ(fall_test::save(format, image, last_byte, glib::JPGSave()), glib::IERR);
    }
}

TEST(Damaged, A_stream_that_cannot_seek_is_an_error) {
    fall_test::lend_services();
    Stream stream{fall_test::sample(image_png)};
    stream.seeks = false;
    Image image;
    EXPECT_EQ(load_image(image_png, image.handle(), stream.handle(), 0), glib::IERR);
}

TEST(Damaged, The_user_can_stop_a_load_at_every_report) {
    for (ImageFormat format : fall_test::kFormats) {
        Image whole;
        ASSERT_EQ(fall_test::load(format, fall_test::sample(format), whole), glib::RCOK);
        ASSERT_GT(whole.progress_calls, 1u);
        for (unsigned call = 1; call <= whole.progress_calls; ++call) {
            Image image;
            image.stop_at_call = call;
            EXPECT_EQ(fall_test::load(format, fall_test::sample(format), image), glib::USRA) << format << ", " << call;
            EXPECT_EQ(memory_held(), 0u);
        }
    }
}

TEST(Damaged, The_user_can_stop_a_save_at_every_report) {
    for (ImageFormat format : kWritten) {
        Image whole;
        fall_test::add_picture(whole, 100, 100, 24);
        Stream stream;
        ASSERT_EQ(fall_test::save(format, whole, stream, glib::JPGSave()), glib::RCOK);
        ASSERT_GT(whole.progress_calls, 1u);
        for (unsigned call = 1; call <= whole.progress_calls; ++call) {
            Image image;
            fall_test::add_picture(image, 100, 100, 24);
            image.stop_at_call = call;
            EXPECT_EQ(fall_test::save(format, image, stream, glib::JPGSave()), glib::USRA);
        }
    }
}

} // namespace
