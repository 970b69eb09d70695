// The module's entries as an imaging layer calls them, with a host that stands in.
#include "companions/fall/entries.h"

#include <gtest/gtest.h>

#include "testing/cxx/fake_host.h"

extern "C" void GLIB_CALL GetFilterInfo(std::uint32_t request_kind, glib::FilterInfoRequest* request);

namespace {

using namespace fall;
using fall_test::Bytes;
using fall_test::Image;
using fall_test::Stream;

constexpr ImageFormat kLossless[] = {image_png, image_bmp, image_psd, image_ppm, image_pic, image_tga};

// A pixel counted from the upper left corner, as 0xRRGGBB or 0xAARRGGBB.
std::uint32_t pixel(const Image& image, unsigned x, unsigned y, unsigned page = 0) {
    const glib::IDEPage& record = image.pages[page].record;
    const std::uint8_t* row = record.pixels + (record.height - 1 - y) * record.row_bytes;
    if (record.bits_per_pixel == 8) {
        const glib::RGB32& colour = record.palette[row[x]];
        return colour.red << 16 | colour.green << 8 | colour.blue;
    }
    const std::uint8_t* bytes = row + x * record.bits_per_pixel / 8;
    const std::uint32_t colour = bytes[2] << 16 | bytes[1] << 8 | bytes[0];
    return record.bits_per_pixel == 32 ? static_cast<std::uint32_t>(bytes[3]) << 24 | colour : colour;
}

void expect_sample(const Image& image, unsigned page = 0) {
    ASSERT_GT(image.pages.size(), page);
    EXPECT_EQ(image.pages[page].record.width, 3u);
    EXPECT_EQ(image.pages[page].record.height, 2u);
    EXPECT_EQ(image.pages[page].record.bits_per_pixel, 24u);
    const std::uint32_t expected[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF, 0x000000, 0x804020};
    for (unsigned i = 0; i < 6; ++i)
        EXPECT_EQ(pixel(image, i % 3, i / 3, page), expected[i]) << "pixel " << i;
}

Image loaded(ImageFormat format, const Bytes& file, int page = -1) {
    Image image;
    EXPECT_EQ(fall_test::load(format, file, image, page), glib::RCOK);
    return image;
}

Image loaded(ImageFormat format) {
    return loaded(format, fall_test::sample(format));
}

Image picture(unsigned width, unsigned height, unsigned bits = 24) {
    Image image;
    fall_test::add_picture(image, width, height, bits);
    return image;
}

// A page of two pixels with these indices.
Image indices(std::uint8_t left, std::uint8_t right, int transparent) {
    Image image;
    glib::IDEPage* const page = image.add(2, 1, 8);
    page->transparent_index = transparent;
    page->pixels[0] = left;
    page->pixels[1] = right;
    return image;
}

glib::JPGSave options_of(std::uint32_t bits, bool keep_alpha) {
    glib::JPGSave options;
    options.bits_per_pixel = bits;
    options.keep_alpha = keep_alpha;
    return options;
}

Bytes saved(ImageFormat format, Image& image, const glib::JPGSave& options = glib::JPGSave()) {
    Stream stream;
    EXPECT_EQ(fall_test::save(format, image, stream, options), glib::RCOK);
    return stream.bytes;
}

Image reloaded(ImageFormat format, Image& image, const glib::JPGSave& options = glib::JPGSave()) {
    return loaded(format, saved(format, image, options));
}

bool same_pixels(const Image& a, const Image& b) {
    const glib::IDEPage &x = a.pages[0].record, &y = b.pages[0].record;
    if (x.width != y.width || x.height != y.height || x.bits_per_pixel != y.bits_per_pixel)
        return false;
    const std::size_t used = std::size_t{x.width} * x.bits_per_pixel / 8;
    for (unsigned row = 0; row < x.height; ++row)
        if (std::memcmp(x.pixels + row * x.row_bytes, y.pixels + row * y.row_bytes, used) != 0)
            return false;
    return true;
}

double mean_error(const Image& a, const Image& b) {
    const glib::IDEPage &x = a.pages[0].record, &y = b.pages[0].record;
    double sum = 0;
    for (unsigned row = 0; row < x.height; ++row)
        for (unsigned i = 0; i < 3 * x.width; ++i)
            sum += std::abs(x.pixels[row * x.row_bytes + i] - y.pixels[row * y.row_bytes + i]);
    return sum / (3.0 * x.width * x.height);
}

struct JpegFacts {
    bool jfif = false, baseline = false;
    unsigned width = 0, height = 0, components = 0;
    Bytes luminance_steps; // as stored, in zigzag order
};

// Walks the segments up to the pixels.
JpegFacts jpeg_facts(const Bytes& file) {
    JpegFacts facts;
    for (std::size_t at = 2; at + 4 < file.size() && file[at] == 0xFF && file[at + 1] != 0xDA;
         at += 2 + file[at + 2] * 256u + file[at + 3]) {
        const std::uint8_t* body = file.data() + at + 4;
        if (file[at + 1] == 0xE0)
            facts.jfif = std::memcmp(body, "JFIF", 5) == 0;
        if (file[at + 1] == 0xDB)
            facts.luminance_steps.assign(body + 1, body + 65);
        if (file[at + 1] == 0xC0 || file[at + 1] == 0xC2) {
            facts.baseline = file[at + 1] == 0xC0;
            facts.height = body[1] * 256u + body[2];
            facts.width = body[3] * 256u + body[4];
            facts.components = body[5];
        }
    }
    return facts;
}

TEST(Fall, Reads_rows_and_colours_in_the_order_of_a_page) {
    for (ImageFormat format : kLossless) {
        SCOPED_TRACE(format);
        const Image image = loaded(format);
        EXPECT_EQ(image.pages.size(), 1u);
        expect_sample(image);
    }
}

TEST(Fall, Reads_grey_as_a_page_with_a_grey_palette) {
    const Image image = loaded(image_pgm);
    EXPECT_EQ(image.pages[0].record.bits_per_pixel, 8u);
    const std::uint32_t expected[] = {0x000000, 0x323232, 0x646464, 0x969696, 0xC8C8C8, 0xFFFFFF};
    for (unsigned i = 0; i < 6; ++i)
        EXPECT_EQ(pixel(image, i % 3, i / 3), expected[i]);
}

TEST(Fall, Reads_the_high_bytes_of_sixteen_bits) {
    const std::string file("P5 3 1 65535\n\x12\xFF\xAB\x00\xFF\x01", 19);
    const Image image = loaded(image_pgm, Bytes(file.begin(), file.end()));
    EXPECT_EQ(pixel(image, 0, 0), 0x121212u);
    EXPECT_EQ(pixel(image, 1, 0), 0xABABABu);
    EXPECT_EQ(pixel(image, 2, 0), 0xFFFFFFu);
}

Bytes pnm(const std::string& header, std::initializer_list<int> samples) {
    Bytes file(header.begin(), header.end());
    for (const int sample : samples)
        file.push_back(static_cast<std::uint8_t>(sample));
    return file;
}

// Samples were taken as parts of 255 or 65535 whatever the file names as white: most came out too dark.
TEST(Fall, White_is_what_a_pgm_or_ppm_names_as_its_maximum) {
    const struct {
        ImageFormat format;
        Bytes file;
        std::uint32_t colours[3];
    } cases[] = {
        {image_pgm, pnm("P5 3 1 1\n", {0, 1, 1}), {0, 0xFFFFFF, 0xFFFFFF}},
        {image_pgm, pnm("P5 # a word\n3 1 # 255\n100\n", {50, 100, 0}), {0x808080, 0xFFFFFF, 0}},
        {image_pgm, pnm("P5 3 1 100\n", {200, 99, 1}), {0xFFFFFF, 0xFCFCFC, 0x030303}}, // beyond it is white, too
        {image_pgm, pnm("P5 3 1 1023\n", {3, 255, 2, 0, 0, 3}), {0xFFFFFF, 0x808080, 0x010101}},
        {image_pgm, pnm("P5 3 1 256\n", {1, 0, 0, 128, 0, 0}), {0xFFFFFF, 0x808080, 0}},
        {image_ppm, pnm("P6 3 1 15\n", {15, 0, 3, 0, 5, 0, 1, 2, 4}), {0xFF0033, 0x005500, 0x112244}},
        {image_ppm,
         pnm("P6 3 1 4095\n", {15, 255, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2, 0, 4, 0}),
         {0xFF0080, 0, 0x102040}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.file.begin(), c.file.begin() + 12));
        const Image image = loaded(c.format, c.file);
        for (unsigned x = 0; x < 3; ++x)
            EXPECT_EQ(pixel(image, x, 0), c.colours[x]) << x;
    }
    Image image;
    EXPECT_EQ(fall_test::load(image_pgm, pnm("P5 3 1 0\n", {0, 0, 0}), image), glib::BADI) << "without any white";
    EXPECT_EQ(fall_test::load(image_pgm, pnm("P5 3 1 65536\n", {0, 0, 0, 0, 0, 0}), image), glib::BADI);
    // As an int it wraps to -1, which the codec took for at most 255: of its bytes twice as many were read.
    EXPECT_EQ(fall_test::load(image_pgm, pnm("P5 3 1 4294967295\n", {0, 0, 0}), image), glib::BADI);
}

// The user was told that a good file is damaged.
TEST(Fall, A_good_file_of_a_kind_that_is_not_read_is_not_called_damaged) {
    const auto refusal = [](ImageFormat format, std::initializer_list<std::pair<std::size_t, int>> places) {
        Bytes file = fall_test::sample(format);
        for (const auto& [at, byte] : places)
            file.at(at) = static_cast<std::uint8_t>(byte);
        Image image;
        return fall_test::load(format, file, image);
    };
    for (const int compression : {1, 2, 4, 5, 6, 11, 12, 13})
        EXPECT_EQ(refusal(image_bmp, {{30, compression}}), glib::NSUP) << compression;
    EXPECT_EQ(refusal(image_bmp, {{30, 99}}), glib::BADI) << "there is no such compression";
    EXPECT_EQ(refusal(image_bmp, {{14, 64}}), glib::BADT) << "nor is a header of OS/2 taken for one";
    EXPECT_EQ(refusal(image_psd, {{23, 16}, {39, 1}}), glib::NSUP) << "runs of 16 bits";
    EXPECT_EQ(refusal(image_psd, {{39, 2}}), glib::NSUP) << "deflated";
    EXPECT_EQ(refusal(image_psd, {{39, 3}}), glib::NSUP);
    EXPECT_EQ(refusal(image_psd, {{39, 4}}), glib::BADI);
    for (const int mode : {0, 1, 2, 4, 7, 8, 9})
        EXPECT_EQ(refusal(image_psd, {{25, mode}}), glib::NSUP) << mode;
    EXPECT_EQ(refusal(image_psd, {{25, 5}}), glib::BADI);
    EXPECT_EQ(refusal(image_psd, {{23, 32}}), glib::NSUP);
    EXPECT_EQ(refusal(image_psd, {{23, 1}, {25, 0}}), glib::NSUP);
    EXPECT_EQ(refusal(image_psd, {{23, 16}, {25, 4}}), glib::NSUP) << "CMYK of 16 bits";
    EXPECT_EQ(refusal(image_psd, {{23, 16}, {39, 9}}), glib::BADI) << "of 16 bits, as they are read, but damaged";
    EXPECT_EQ(refusal(image_psd, {{23, 7}}), glib::BADI);
    EXPECT_EQ(refusal(image_psd, {{5, 2}}), glib::NSUP) << "a large document";
    EXPECT_EQ(refusal(image_psd, {{5, 3}}), glib::BADI);

    glib::ImageFileInfo info;
    Bytes runs = fall_test::sample(image_bmp);
    runs[30] = 1;
    EXPECT_EQ(fall_test::info(image_bmp, runs, info), glib::NSUP);
}

// A PSD holds colours mixed with white; one darker than its alpha allows once became a bright one.
TEST(Fall, Takes_a_colour_below_the_white_matte_of_a_psd_for_black) {
    Bytes file = fall_test::sample(image_psd);
    file[13] = 4;                     // channels
    file.insert(file.end(), 6, 0x33); // alpha of 0.2
    file[40] = 0;                     // red of the first pixel, which must be 204 at least
    const Image image = loaded(image_psd, file);
    EXPECT_EQ(pixel(image, 0, 0), 0x33000000u);
    EXPECT_EQ(pixel(image, 0, 1), 0x33FFFFFFu);
}

TEST(Fall, Reads_a_jpeg) {
    const std::uint32_t colour = pixel(loaded(image_jpg), 7, 7);
    EXPECT_NEAR(colour >> 16, 200, 3);
    EXPECT_NEAR(colour >> 8 & 255, 100, 3);
    EXPECT_NEAR(colour & 255, 50, 3);
}

TEST(Fall, Reads_light_with_a_gamma_of_2_2) {
    const Image image = loaded(image_hdr);
    EXPECT_EQ(pixel(image, 0, 0), 0xFF0000u);
    EXPECT_EQ(pixel(image, 0, 1), 0xFFFFFFu);
    EXPECT_EQ(pixel(image, 1, 1), 0u);
    EXPECT_EQ(pixel(image, 2, 1), 0xBABABAu); // 255 * 0.5 ^ (1 / 2.2) = 186.1
}

TEST(Fall, Reads_the_pictures_of_a_gif_as_they_are_seen_one_after_the_other) {
    const Image image = loaded(image_gif);
    ASSERT_EQ(image.pages.size(), 2u);
    expect_sample(image, 0);
    EXPECT_EQ(image.pages[0].record.delay, 100u);
    EXPECT_EQ(image.pages[1].record.delay, 200u);
    EXPECT_EQ(pixel(image, 1, 0, 1), 0xFFFFFFu);
    EXPECT_EQ(pixel(image, 0, 0, 1), 0xFF0000u);
    EXPECT_EQ(pixel(image, 1, 1, 1), 0u);
    const Image second = loaded(image_gif, fall_test::sample(image_gif), 1);
    ASSERT_EQ(second.pages.size(), 1u) << "alone";
    EXPECT_EQ(pixel(second, 1, 0), 0xFFFFFFu);
}

TEST(Fall, Misses_a_page_behind_the_last) {
    for (ImageFormat format : fall_test::kFormats) {
        Image image;
        EXPECT_EQ(fall_test::load(format, fall_test::sample(format), image, format == image_gif ? 2 : 1), glib::MISS)
            << format;
    }
}

TEST(Fall, Reads_from_where_the_stream_stands) {
    for (ImageFormat format : kLossless) {
        SCOPED_TRACE(format);
        fall_test::lend_services();
        Stream stream{Bytes(1000, 0xFF)};
        const Bytes data = fall_test::sample(format);
        stream.bytes.insert(stream.bytes.end(), data.begin(), data.end());
        stream.position = 1000;
        Image image;
        EXPECT_EQ(load_image(format, image.handle(), stream.handle(), 0), glib::RCOK);
        expect_sample(image);
    }
}

TEST(Fall, Tells_size_and_pages_without_decoding) {
    for (ImageFormat format : fall_test::kFormats) {
        SCOPED_TRACE(format);
        glib::ImageFileInfo info;
        ASSERT_EQ(fall_test::info(format, fall_test::sample(format), info), glib::RCOK);
        EXPECT_EQ(info.format, kFormatCodes[format]);
        EXPECT_EQ(info.width, format == image_jpg ? 8u : 3u);
        EXPECT_EQ(info.height, format == image_jpg ? 8u : 2u);
        EXPECT_EQ(info.page_count, format == image_gif ? 2u : 1u);
        EXPECT_EQ(info.has_alpha, format == image_gif ? 1u : 0u);
        EXPECT_EQ(info.has_thumbnail, 0u);
    }
}

TEST(Fall, Knows_data_of_another_format) {
    for (ImageFormat data : fall_test::kFormats)
        for (ImageFormat format : fall_test::kFormats) {
            Image image;
            EXPECT_EQ(fall_test::load(format, fall_test::sample(data), image), data == format ? glib::RCOK : glib::BADT)
                << data << format;
            EXPECT_EQ(image.pages.empty(), data != format);
        }
}

TEST(Fall, Has_no_thumbnail_to_show) {
    fall_test::lend_services();
    Stream stream{fall_test::sample(image_png)};
    Image image;
    EXPECT_EQ(load_thumbnail(image_png, image.handle(), stream.handle(), 128, 96), glib::TMNS);
    stream.position = 0;
    EXPECT_EQ(load_thumbnail(image_bmp, image.handle(), stream.handle(), 128, 96), glib::BADT);
}

TEST(Fall, Writes_a_screenshot_as_a_baseline_jpeg_of_the_asked_quality) {
    Image image = picture(512, 512);
    const JpegFacts facts = jpeg_facts(saved(image_jpg, image));
    EXPECT_TRUE(facts.jfif);
    EXPECT_TRUE(facts.baseline);
    EXPECT_EQ(facts.width, 512u);
    EXPECT_EQ(facts.height, 512u);
    EXPECT_EQ(facts.components, 3u);
    // The standard's table 16 11 12 14 12 10 16 14 ... halved and rounded, which is what 75 stands for.
    const Bytes first = {8, 6, 6, 7, 6, 5, 8, 7};
    ASSERT_EQ(facts.luminance_steps.size(), 64u);
    EXPECT_EQ(Bytes(facts.luminance_steps.begin(), facts.luminance_steps.begin() + 8), first);
}

TEST(Fall, Takes_a_quality_out_of_range_for_the_nearest) {
    Image image = picture(16, 16);
    EXPECT_EQ(saved(image_jpg, image, glib::JPGSave(0)), saved(image_jpg, image, glib::JPGSave(1)));
    EXPECT_EQ(saved(image_jpg, image, glib::JPGSave(255)), saved(image_jpg, image, glib::JPGSave(100)));
    EXPECT_NE(saved(image_jpg, image, glib::JPGSave(1)), saved(image_jpg, image, glib::JPGSave(100)));
}

TEST(Fall, Takes_an_effort_for_png_out_of_range_for_the_nearest_and_none_for_the_usual) {
    Image image = picture(300, 200);
    const auto with_effort = [&](std::uint32_t effort) {
        glib::JPGSave options;
        options.compression = effort;
        return saved(image_png, image, options);
    };
    EXPECT_EQ(with_effort(0), with_effort(8));
    EXPECT_EQ(with_effort(10), with_effort(9));
    EXPECT_EQ(with_effort(1000000), with_effort(9));
    EXPECT_EQ(with_effort(0x7FFFFFFF), with_effort(9));
    EXPECT_EQ(with_effort(0x80000000), with_effort(8));
    EXPECT_NE(with_effort(1), with_effort(9));
}

TEST(Fall, A_jpeg_comes_back_upright_and_close) {
    for (unsigned side : {1u, 7u, 16u, 33u, 100u}) {
        Image image = picture(side, side + 3);
        EXPECT_LT(mean_error(image, reloaded(image_jpg, image, glib::JPGSave(95))), 4.0) << side;
    }
}

TEST(Fall, Writes_a_grey_jpeg_for_eight_bits) {
    Image image = picture(20, 20);
    glib::JPGSave options(100);
    options.bits_per_pixel = 8;
    const Image again = reloaded(image_jpg, image, options);
    for (unsigned i = 0; i < 20; ++i) {
        const std::uint32_t colour = pixel(again, i, 19 - i), was = pixel(image, i, 19 - i);
        EXPECT_EQ(colour >> 16, colour & 255);
        EXPECT_NEAR(colour & 255, 0.299 * (was >> 16) + 0.587 * (was >> 8 & 255) + 0.114 * (was & 255), 4.0);
    }
}

TEST(Fall, What_was_written_without_loss_comes_back_the_same) {
    for (ImageFormat format : {image_png, image_bmp, image_tga}) {
        for (unsigned bits : {24u, 32u}) {
            SCOPED_TRACE(testing::Message() << format << ", " << bits << " bits");
            Image image = picture(37, 21, bits);
            EXPECT_TRUE(same_pixels(image, reloaded(format, image, options_of(24, bits == 32))));
        }
    }
}

TEST(Fall, Leaves_alpha_out_unless_it_is_to_be_kept) {
    Image image = picture(5, 5, 32);
    EXPECT_EQ(reloaded(image_png, image).pages[0].record.bits_per_pixel, 24u);
}

TEST(Fall, Writes_pages_of_few_colours_through_their_palette) {
    for (unsigned bits : {1u, 4u, 8u}) {
        Image image;
        glib::IDEPage* page = image.add(9, 2, bits);
        page->palette[0] = {1, 2, 3, 255};
        page->palette[1] = {30, 20, 10, 255};
        // The second pixel of the upper row has index 1, the others 0.
        page->pixels[page->row_bytes + bits / 8] = bits == 1 ? 0x40 : 0x01;
        const Image again = reloaded(image_png, image);
        EXPECT_EQ(pixel(again, 0, 0), 0x030201u) << bits;
        EXPECT_EQ(pixel(again, 1, 0), 0x0A141Eu) << bits;
        EXPECT_EQ(pixel(again, 1, 1), 0x030201u) << bits;
    }
}

TEST(Fall, Writes_the_transparent_colour_of_a_palette_as_transparent_where_alpha_is_kept) {
    Image image = indices(0, 1, 1);
    const Image again = reloaded(image_png, image, options_of(24, true));
    ASSERT_EQ(again.pages[0].record.bits_per_pixel, 32u);
    EXPECT_EQ(pixel(again, 0, 0) >> 24, 255u);
    EXPECT_EQ(pixel(again, 1, 0) >> 24, 0u);
}

TEST(Fall, Writes_a_grey_page_as_grey_where_eight_bits_are_asked) {
    Image image;
    image.add(4, 4, 8)->pixels[5] = 77;
    const Image again = reloaded(image_png, image, options_of(8, false));
    EXPECT_EQ(again.pages[0].record.bits_per_pixel, 8u);
    EXPECT_TRUE(same_pixels(image, again));
}

TEST(Fall, Writes_a_grey_page_with_a_transparent_colour_as_grey_and_alpha) {
    Image image = indices(77, 1, 1);
    const Bytes file = saved(image_png, image, options_of(8, true));
    EXPECT_EQ(file.at(25), 4) << "the kind of colour in the header";
    const Image again = loaded(image_png, file);
    EXPECT_EQ(pixel(again, 0, 0), 0xFF4D4D4Du);
    EXPECT_EQ(pixel(again, 1, 0) >> 24, 0u);
}

TEST(Fall, Writes_a_page_in_colour_where_its_palette_has_some_whatever_bits_are_asked) {
    const glib::RGB32 colours[] = {{1, 1, 2, 255}, {2, 1, 1, 255}, {1, 2, 1, 255}};
    for (const glib::RGB32& colour : colours) {
        Image image;
        image.add(2, 1, 8)->palette[0] = colour;
        const Image again = reloaded(image_png, image, options_of(8, false));
        ASSERT_EQ(again.pages[0].record.bits_per_pixel, 24u);
        EXPECT_EQ(pixel(again, 0, 0), static_cast<std::uint32_t>(colour.red << 16 | colour.green << 8 | colour.blue));
    }
    for (unsigned more_than_few : {0u, 9u, 24u}) { // 0: not asked
        Image image;
        image.add(2, 1, 8);
        const Image again = reloaded(image_png, image, options_of(more_than_few, false));
        EXPECT_EQ(again.pages[0].record.bits_per_pixel, 24u) << more_than_few;
    }
}

TEST(Fall, Keeps_no_alpha_of_a_page_that_has_none) {
    Image image = picture(5, 5);
    EXPECT_EQ(saved(image_png, image, options_of(24, true)).at(25), 2) << "the kind of colour in the header";
}

TEST(Fall, Without_options_saving_is_a_bad_argument) {
    Image image = picture(5, 5);
    Stream stream;
    fall_test::lend_services();
    EXPECT_EQ(save_image(image_jpg, image.handle(), stream.handle(), nullptr), glib::BADA);
    EXPECT_TRUE(stream.bytes.empty());
}

TEST(Fall, Formats_that_it_only_reads_are_not_supported_for_writing) {
    for (ImageFormat format : {image_gif, image_psd, image_pgm, image_ppm, image_pic}) {
        Image image = picture(5, 5);
        Stream stream;
        EXPECT_EQ(fall_test::save(format, image, stream, glib::JPGSave()), glib::NSUP) << format;
        EXPECT_TRUE(stream.bytes.empty());
    }
}

TEST(Fall, A_page_that_needs_more_memory_than_an_operation_may_have_is_out_of_memory) {
    Image image = picture(1, 1);
    glib::IDEPage& page = image.pages[0].record; // its pixels are not looked at
    page.width = page.height = 65500;
    Stream stream;
    EXPECT_EQ(fall_test::save(image_png, image, stream, glib::JPGSave()), glib::OMEM);
    page.width = 65500; // 393 MB as bytes, four times that as light
    page.height = 2000;
    static Picture large;
    large = {65500, 2000, 3, nullptr};
    EXPECT_EQ(run_operation([](void*) { encode_picture(image_hdr, &large, {75, 0}, nullptr); }, nullptr), glib::OMEM);
}

TEST(Fall, What_the_codec_cant_encode_is_an_error) {
    static Picture nothing;
    nothing = {0, 0, 3, nullptr};
    EXPECT_EQ(run_operation([](void*) { encode_picture(image_jpg, &nothing, {75, 0}, nullptr); }, nullptr), glib::IERR);
}

TEST(Fall, Says_which_formats_it_has_when_asked_for_them_and_nothing_else) {
    glib::FilterInfoRequest request = {&fall_test::kServices, sizeof(request), 0, 0, nullptr};
    GetFilterInfo(1, &request);
    EXPECT_EQ(request.interface_version, 0u);
    EXPECT_EQ(request.formats, nullptr);
    GetFilterInfo(0, &request);
    EXPECT_EQ(request.interface_version, static_cast<uint32_t>(GLIB_INTERFACE_VERSION));
    EXPECT_EQ(request.format_count, static_cast<uint32_t>(image_format_count));
    EXPECT_EQ(request.formats, kFormatCodes);
}

// The encoder fills the sink's buffer in pieces of its own; here all of it is one.
TEST(Fall, An_image_of_just_so_many_buffers_is_written_once) {
    fall_test::lend_services();
    static Image image;
    static Stream stream;
    stream = Stream();
    EXPECT_EQ(run_operation(
                  [](void*) {
                      ByteSink* sink = open_sink(stream.handle(), image.handle());
                      const Bytes bytes(2 * sizeof(sink->bytes), 7);
                      write_sink(sink, bytes.data(), static_cast<uint32_t>(bytes.size()));
                      finish_sink(sink);
                  },
                  nullptr),
              glib::RCOK);
    EXPECT_EQ(stream.bytes, Bytes(2 * 8192, 7));
}

TEST(Fall, Light_comes_back_close) {
    Image image = picture(40, 10);
    EXPECT_LT(mean_error(image, reloaded(image_hdr, image)), 3.0);
}

TEST(Fall, Writes_behind_what_the_stream_holds) {
    Image image = picture(8, 8);
    Stream stream;
    stream.bytes.assign(10, 0xAA);
    stream.position = 10;
    ASSERT_EQ(fall_test::save(image_jpg, image, stream, glib::JPGSave()), glib::RCOK);
    EXPECT_EQ(stream.bytes[9], 0xAA);
    EXPECT_EQ(stream.bytes[10], 0xFF);
    EXPECT_EQ(stream.bytes[11], 0xD8);
    EXPECT_EQ(stream.bytes.back(), 0xD9);
}

TEST(Fall, A_document_without_pages_is_a_bad_argument) {
    Image image;
    Stream stream;
    EXPECT_EQ(fall_test::save(image_jpg, image, stream, glib::JPGSave()), glib::BADA);
    EXPECT_TRUE(stream.bytes.empty());
}

} // namespace
