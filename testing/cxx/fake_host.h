// A host for the tests: streams in memory and a list of pages, both of which can be made to fail.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "companions/fall/entries.h"

namespace fall_test {

using Bytes = std::vector<std::uint8_t>;

struct Stream {
    Bytes bytes;
    std::uint64_t position = 0;
    std::uint64_t write_limit = UINT64_MAX; // a write that would end behind it moves only what fits
    bool seeks = true;

    VStream* handle() { return reinterpret_cast<VStream*>(this); }
    static Stream& of(VStream* stream) { return *reinterpret_cast<Stream*>(stream); }
};

struct Image {
    struct Page {
        glib::IDEPage record = {};
        std::unique_ptr<std::uint8_t[]> pixels; // exactly as large as the page, for AddressSanitizer to guard
        std::vector<glib::RGB32> palette;
    };

    std::deque<Page> pages;
    unsigned page_limit = GLIB_MAX_PAGES;
    unsigned progress_calls = 0;
    unsigned stop_at_call = 0; // 0: never

    glib::ImageDataExchange* handle() { return reinterpret_cast<glib::ImageDataExchange*>(this); }
    static Image& of(glib::ImageDataExchange* image) { return *reinterpret_cast<Image*>(image); }
    static const Image& of(const glib::ImageDataExchange* image) { return *reinterpret_cast<const Image*>(image); }

    glib::IDEPage* add(std::uint32_t width, std::uint32_t height, std::uint32_t bits) {
        const std::uint64_t row_bytes = (std::uint64_t{bits} * width + 31) / 8 & ~std::uint64_t{3};
        if (!width || !height || width > GLIB_MAX_PAGE_SIDE || height > GLIB_MAX_PAGE_SIDE ||
            row_bytes * height > GLIB_MAX_PAGE_BYTES || pages.size() >= page_limit)
            return nullptr;
        Page& page = pages.emplace_back();
        page.pixels = std::make_unique<std::uint8_t[]>(row_bytes * height);
        if (bits <= 8) {
            const unsigned last = (1u << bits) - 1;
            for (unsigned i = 0; i <= last; ++i) {
                const auto level = static_cast<std::uint8_t>(i * 255 / last);
                page.palette.push_back({level, level, level, 255});
            }
        }
        page.record.width = width;
        page.record.height = height;
        page.record.bits_per_pixel = bits;
        page.record.row_bytes = static_cast<std::uint32_t>(row_bytes);
        page.record.pixels = page.pixels.get();
        page.record.palette = page.palette.empty() ? nullptr : page.palette.data();
        page.record.palette_count = static_cast<std::uint32_t>(page.palette.size());
        page.record.transparent_index = -1;
        return &page.record;
    }
};

inline const glib::ModuleServices kServices = {
    sizeof(glib::ModuleServices),
    GLIB_INTERFACE_VERSION,
    [](glib::ImageDataExchange* image, std::uint32_t width, std::uint32_t height, std::uint32_t bits) {
        return Image::of(image).add(width, height, bits);
    },
    [](const glib::ImageDataExchange* image) { return static_cast<std::uint32_t>(Image::of(image).pages.size()); },
    [](glib::ImageDataExchange* image, std::uint32_t index) {
        Image& self = Image::of(image);
        return index < self.pages.size() ? &self.pages[index].record : nullptr;
    },
    [](glib::ImageDataExchange* image, std::uint32_t, std::uint32_t) -> std::uint32_t {
        Image& self = Image::of(image);
        return ++self.progress_calls != self.stop_at_call;
    },
    [](VStream* stream, void* buffer, std::uint32_t bytes) {
        Stream& self = Stream::of(stream);
        const std::uint64_t left = self.position < self.bytes.size() ? self.bytes.size() - self.position : 0;
        const auto count = static_cast<std::uint32_t>(left < bytes ? left : bytes);
        if (count)
            std::memcpy(buffer, self.bytes.data() + self.position, count);
        self.position += count;
        return count;
    },
    [](VStream* stream, const void* buffer, std::uint32_t bytes) {
        Stream& self = Stream::of(stream);
        const std::uint64_t left = self.position < self.write_limit ? self.write_limit - self.position : 0;
        const auto count = static_cast<std::uint32_t>(left < bytes ? left : bytes);
        if (self.bytes.size() < self.position + count)
            self.bytes.resize(self.position + count);
        if (count)
            std::memcpy(self.bytes.data() + self.position, buffer, count);
        self.position += count;
        return count;
    },
    [](VStream* stream, std::int64_t offset, std::int32_t origin) -> std::uint32_t {
        Stream& self = Stream::of(stream);
        if (!self.seeks || origin != 0 || offset < 0)
            return 0;
        self.position = static_cast<std::uint64_t>(offset);
        return 1;
    },
    [](VStream* stream) { return Stream::of(stream).position; },
    [](VStream* stream) { return static_cast<std::uint64_t>(Stream::of(stream).bytes.size()); },
};

// What every test begins with.
inline void lend_services() {
    fall::host = &kServices;
}

inline glib::ResultCode load(fall::ImageFormat format, const Bytes& data, Image& image, int page = -1) {
    lend_services();
    Stream stream{data};
    return fall::load_image(format, image.handle(), stream.handle(), page);
}

inline glib::ResultCode info(fall::ImageFormat format, const Bytes& data, glib::ImageFileInfo& info) {
    lend_services();
    Stream stream{data};
    info = {};
    return fall::image_info(format, stream.handle(), &info);
}

inline glib::ResultCode save(fall::ImageFormat format, Image& image, Stream& stream, const glib::JPGSave& options) {
    lend_services();
    return fall::save_image(format, image.handle(), stream.handle(), &options);
}

// A picture with edges, ramps and noise: 24 or 32 bits.
void add_picture(Image& image, unsigned width, unsigned height, unsigned bits);

inline constexpr fall::ImageFormat kFormats[] = {fall::image_jpg, fall::image_png, fall::image_bmp, fall::image_gif,
                                                 fall::image_psd, fall::image_hdr, fall::image_pgm, fall::image_ppm,
                                                 fall::image_pic, fall::image_tga};

// A small file of each format, as the module or a hand made it.
Bytes sample(fall::ImageFormat format);

} // namespace fall_test
