// Reads the input as an image of every format that knows it. What comes of it must be a result that there is, within
// the limits, and nothing may be left behind; a small picture is written as PNG and must come back the same.
#include "testing/cxx/fake_host.h"
#include "testing/cxx/require.h"

namespace {

void check_round_trip(fall_test::Image& image) {
    const glib::IDEPage& page = image.pages[0].record;
    if (page.bits_per_pixel != 24 || page.width > 64 || page.height > 64)
        return;
    fall_test::Stream stream;
    fall_test::Image again;
    require(fall_test::save(fall::image_png, image, stream, glib::JPGSave()) == glib::RCOK);
    require(fall_test::load(fall::image_png, stream.bytes, again) == glib::RCOK);
    const glib::IDEPage& other = again.pages[0].record;
    require(other.width == page.width && other.height == page.height && other.bits_per_pixel == 24);
    for (unsigned y = 0; y < page.height; ++y)
        require(std::memcmp(page.pixels + y * page.row_bytes, other.pixels + y * page.row_bytes, 3 * page.width) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fall_test::Bytes bytes(data, data + size);
    for (int i = 0; i < fall::image_format_count; ++i) {
        const auto format = static_cast<fall::ImageFormat>(i);
        glib::ImageFileInfo info;
        const glib::ResultCode measured = fall_test::info(format, bytes, info);
        if (measured == glib::BADT)
            continue;
        // Large pictures are legal but take long under sanitizers.
        if (measured == glib::RCOK && std::uint64_t{info.width} * info.height * info.page_count > 1u << 20)
            continue;
        fall_test::Image image;
        const glib::ResultCode loaded = fall_test::load(format, bytes, image);
        const bool has_unread_kinds = format == fall::image_bmp || format == fall::image_psd;
        require(loaded == glib::RCOK || loaded == glib::OKAF || loaded == glib::BADI || loaded == glib::OMEM ||
                (loaded == glib::NSUP && has_unread_kinds));
        require(fall::memory_held() == 0);
        if (!glib::succeeded(loaded))
            continue;
        require(!image.pages.empty() && measured == glib::RCOK);
        require(image.pages[0].record.width == info.width && image.pages[0].record.height == info.height);
        check_round_trip(image);
    }
    return 0;
}
