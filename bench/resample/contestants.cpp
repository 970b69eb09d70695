// Our own loops, GDI+ and stb_image_resize.
#include "bench/resample/contestants.h"

#include <windows.h>
#include <objidl.h>
#include <gdiplus.h>
#include <emmintrin.h>

#include "companions/kobrtl/resample.h"

extern "C" int stbir_resize_uint8(const unsigned char* input_pixels, int input_w, int input_h,
                                  int input_stride_in_bytes, unsigned char* output_pixels, int output_w, int output_h,
                                  int output_stride_in_bytes, int num_channels);

namespace bench {

namespace {

using namespace Gdiplus;
using namespace Gdiplus::DllExports;

ULONG_PTR gdiplus_token;

bool ours(const Task& task, const kobrtl::RowKernels* kernels) {
    if (!kernels)
        return false;
    const kobrtl::Picture source = {
        task.source, static_cast<ptrdiff_t>(task.width * task.bpp / 8), task.width, task.height, task.bpp, nullptr, 0};
    const kobrtl::Canvas canvas = {task.result, static_cast<ptrdiff_t>(task.to_width * task.bpp / 8), task.to_width,
                                   task.to_height};
    return kobrtl::resample(source, canvas, {kobrtl::mitchell(), kobrtl::catmull_rom()}, *kernels);
}

bool ours_avx2(const Task& task) {
    return ours(task, kobrtl::avx2_kernels());
}
bool ours_sse2(const Task& task) {
    return ours(task, kobrtl::sse2_kernels());
}
bool ours_plain(const Task& task) {
    return ours(task, &kobrtl::plain_kernels());
}

// The library's own choice of filters.
bool stb(const Task& task) {
    return stbir_resize_uint8(task.source, static_cast<int>(task.width), static_cast<int>(task.height), 0, task.result,
                              static_cast<int>(task.to_width), static_cast<int>(task.to_height), 0,
                              static_cast<int>(task.bpp / 8)) == 1;
}

bool gdiplus(const Task& task) {
    const PixelFormat format = task.bpp == 24 ? PixelFormat24bppRGB : PixelFormat32bppARGB;
    const INT bytes = static_cast<INT>(task.bpp / 8);
    const INT width = static_cast<INT>(task.width), height = static_cast<INT>(task.height);
    const INT to_width = static_cast<INT>(task.to_width), to_height = static_cast<INT>(task.to_height);
    GpBitmap* from = nullptr;
    GpBitmap* to = nullptr;
    GpGraphics* graphics = nullptr;
    const bool done =
        GdipCreateBitmapFromScan0(width, height, width * bytes, format, const_cast<BYTE*>(task.source), &from) == Ok &&
        GdipCreateBitmapFromScan0(to_width, to_height, to_width * bytes, format, task.result, &to) == Ok &&
        GdipGetImageGraphicsContext(to, &graphics) == Ok &&
        GdipSetInterpolationMode(graphics, InterpolationModeHighQualityBicubic) == Ok &&
        GdipSetPixelOffsetMode(graphics, PixelOffsetModeHalf) == Ok &&
        GdipDrawImageRectRectI(graphics, from, 0, 0, to_width, to_height, 0, 0, width, height, UnitPixel, nullptr,
                               nullptr, nullptr) == Ok;
    if (graphics)
        GdipDeleteGraphics(graphics);
    if (to)
        GdipDisposeImage(to);
    if (from)
        GdipDisposeImage(from);
    return done;
}

// What nobody can beat: every byte of the source is looked at once.
bool read_once(const Task& task) {
    const size_t length = static_cast<size_t>(task.width) * task.height * (task.bpp / 8);
    __m128i sums[4] = {};
    const __m128i* at = reinterpret_cast<const __m128i*>(task.source);
    for (const __m128i* end = at + length / 64 * 4; at != end; at += 4)
        for (int i = 0; i < 4; ++i)
            sums[i] = _mm_add_epi8(sums[i], _mm_loadu_si128(at + i));
    const __m128i all = _mm_add_epi8(_mm_add_epi8(sums[0], sums[1]), _mm_add_epi8(sums[2], sums[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(task.result), all);
    return true;
}

} // namespace

const Scaler kScalers[] = {{"ours, AVX2", ours_avx2, true},   {"ours, SSE2", ours_sse2, true},
                           {"ours, plain", ours_plain, true}, {"stb_image_resize", stb, true},
                           {"GDI+ bicubic", gdiplus, true},   {"reading once", read_once, false}};
const unsigned kScalerCount = sizeof kScalers / sizeof *kScalers;

bool start_gdiplus() {
    GdiplusStartupInput input = {};
    input.GdiplusVersion = 1;
    return GdiplusStartup(&gdiplus_token, &input, nullptr) == Ok;
}

void stop_gdiplus() {
    GdiplusShutdown(gdiplus_token);
}

} // namespace bench
