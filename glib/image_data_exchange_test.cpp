#include "glib/image_data_exchange.h"

#include <gtest/gtest.h>

#include "glib/mem_stream.h"

namespace glib {
namespace {

const ModuleServices& g_services = module_services();

TEST(ModuleServices, Say_their_size_and_version) {
    EXPECT_EQ(g_services.size, sizeof(ModuleServices));
    EXPECT_EQ(g_services.version, 0x800u);
}

TEST(ModuleServices, A_page_comes_empty_and_described) {
    ImageDataExchange image;
    IDEPage* page = g_services.AddPage(&image, 9, 2, 4);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->row_bytes, 8u);
    EXPECT_EQ(page->palette_count, 16u);
    EXPECT_EQ(page->palette[15].red, 255);
    EXPECT_EQ(page->palette[1].green, 17);
    EXPECT_EQ(page->palette[0].alpha, 255);
    EXPECT_EQ(page->transparent_index, -1);
    EXPECT_EQ(page->resolution_x, 0.0);
    for (uint32_t i = 0; i < page->row_bytes * page->height; ++i)
        EXPECT_EQ(page->pixels[i], 0);
    EXPECT_EQ(g_services.PageCount(&image), 1u);
    EXPECT_EQ(g_services.Page(&image, 0), page);
    EXPECT_EQ(g_services.Page(&image, 1), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, 1, 1, 32)->palette, nullptr);
}

TEST(ModuleServices, Bad_pages_are_refused) {
    ImageDataExchange image;
    for (uint32_t bits : {0u, 2u, 7u, 16u, 31u, 33u, 64u, 0xFFFFFFFFu})
        EXPECT_EQ(g_services.AddPage(&image, 10, 10, bits), nullptr) << bits;
    EXPECT_EQ(g_services.AddPage(&image, 0, 10, 24), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, 10, 0, 24), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, GLIB_MAX_PAGE_SIDE + 1, 1, 1), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, 1, GLIB_MAX_PAGE_SIDE + 1, 1), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, 0xFFFFFFFF, 0xFFFFFFFF, 32), nullptr);
    EXPECT_EQ(g_services.AddPage(&image, 20000, 20000, 32), nullptr) << "1.6 GB";
    EXPECT_EQ(g_services.AddPage(nullptr, 1, 1, 1), nullptr);
    EXPECT_EQ(g_services.PageCount(&image), 0u);
}

TEST(ModuleServices, The_pages_of_one_load_have_a_limit_together) {
    ImageDataExchange image;
    image.bytes = GLIB_MAX_PAGE_BYTES - 100;
    EXPECT_EQ(g_services.AddPage(&image, 26, 1, 32), nullptr);
    EXPECT_NE(g_services.AddPage(&image, 25, 1, 32), nullptr);
    ImageDataExchange many;
    for (uint32_t i = 0; i < GLIB_MAX_PAGES; ++i)
        ASSERT_NE(g_services.AddPage(&many, 1, 1, 24), nullptr);
    EXPECT_EQ(g_services.AddPage(&many, 1, 1, 24), nullptr);
}

TEST(ModuleServices, A_palette_index_may_be_declared_transparent) {
    ImageDataExchange image;
    g_services.AddPage(&image, 1, 1, 8)->transparent_index = 5;
    g_services.AddPage(&image, 1, 1, 8)->transparent_index = 256;
    g_services.AddPage(&image, 1, 1, 24)->transparent_index = 0;
    EXPECT_EQ(image.TakeRaster(0).transparent_index(), 5);
    EXPECT_EQ(image.TakeRaster(1).transparent_index(), -1) << "there is no such index";
    EXPECT_EQ(image.TakeRaster(2).transparent_index(), -1) << "there is no palette";
}

TEST(ModuleServices, Reach_the_stream) {
    VMemStream stream;
    EXPECT_EQ(g_services.Write(&stream, "hello", 5), 5u);
    EXPECT_EQ(g_services.Seek(&stream, -2, 2), 1u);
    EXPECT_EQ(g_services.Seek(&stream, 0, 9), 0u);
    EXPECT_EQ(g_services.Tell(&stream), 3u);
    EXPECT_EQ(g_services.Size(&stream), 5u);
    char bytes[4] = {};
    EXPECT_EQ(g_services.Read(&stream, bytes, 4), 2u);
    EXPECT_STREQ(bytes, "lo");
}

struct Sink : ProgressSink {
    bool OnModuleProgress(uint32_t step, uint32_t total) override {
        last = {step, total};
        return answer;
    }
    std::pair<uint32_t, uint32_t> last;
    bool answer = true;
};

TEST(ModuleServices, Progress_reaches_the_document_and_its_answer_the_module) {
    Sink sink;
    ImageDataExchange image(&sink), without;
    EXPECT_EQ(g_services.Progress(&image, 3, 9), 1u);
    EXPECT_EQ(sink.last, (std::pair<uint32_t, uint32_t>{3, 9}));
    sink.answer = false;
    EXPECT_EQ(g_services.Progress(&image, 4, 9), 0u);
    EXPECT_EQ(g_services.Progress(&without, 1, 2), 1u) << "nobody wants to stop";
}

TEST(ModuleServices, Of_nothing_answer_nothing) {
    EXPECT_EQ(g_services.PageCount(nullptr), 0u);
    EXPECT_EQ(g_services.Page(nullptr, 0), nullptr);
    EXPECT_EQ(g_services.Progress(nullptr, 1, 2), 1u) << "nobody wants to stop";
    char byte;
    EXPECT_EQ(g_services.Read(nullptr, &byte, 1), 0u);
    EXPECT_EQ(g_services.Write(nullptr, &byte, 1), 0u);
    EXPECT_EQ(g_services.Seek(nullptr, 0, 0), 0u);
    EXPECT_EQ(g_services.Tell(nullptr), 0u);
    EXPECT_EQ(g_services.Size(nullptr), 0u);
}

} // namespace
} // namespace glib
