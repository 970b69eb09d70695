// Built with SSE2 switched on; run only where the processor has it. See row_kernels.h for what the loops compute.
#include "companions/kobrtl/row_kernels.h"

#if defined(__SSE2__)

#include <cpuid.h>
#include <emmintrin.h>
#include <string.h>

#include "companions/kobrtl/pixel_end.h"

namespace kobrtl {

namespace {

__m128i load(const void* address) {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}
__m128i load_aligned(const void* address) {
    return _mm_load_si128(static_cast<const __m128i*>(address));
}
void store(void* address, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

// The columns that don't fill a vector.
void vertical_rest(const VerticalRun& run, size_t done, size_t sample_size, void (*plain)(const VerticalRun&)) {
    if (done == run.count)
        return;
    const void* rows[kMostRows];
    for (unsigned i = 0; i < 2 * run.pairs; ++i)
        rows[i] = static_cast<const uint8_t*>(run.rows[i]) + done * sample_size;
    VerticalRun rest = run;
    rest.rows = rows;
    rest.count -= done;
    rest.sums = run.sums ? run.sums + done : nullptr;
    rest.out += done;
    plain(rest);
}

// 16 columns at a time. Two rows are interleaved byte pair by byte pair; the even and the odd columns are then cut out
// as words, which puts the two rows of a column side by side, as the multiplication wants them.
void vertical_bytes(const VerticalRun& run) {
    const __m128i low_bytes = _mm_set1_epi16(0xFF);
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(run.shift));
    const uint8_t* const* rows = reinterpret_cast<const uint8_t* const*>(run.rows);
    const size_t whole = run.count & ~size_t(15);
    for (size_t x = 0; x < whole; x += 16) {
        __m128i sum0, sum1, sum2, sum3; // columns 0 2 4 6, 1 3 5 7, 8 10 12 14, 9 11 13 15
        if (run.first) {
            sum0 = sum1 = sum2 = sum3 = _mm_set1_epi32(run.start);
        } else {
            sum0 = load(run.sums + x);
            sum1 = load(run.sums + x + 4);
            sum2 = load(run.sums + x + 8);
            sum3 = load(run.sums + x + 12);
        }
        const int16_t* weight = run.weights;
        for (unsigned row = 0; row < 2 * run.pairs; row += 2, weight += 2 * AxisWeights::kLanes) {
            const __m128i a = load(rows[row] + x);
            const __m128i b = load(rows[row + 1] + x);
            const __m128i weights = load_aligned(weight);
            const __m128i low = _mm_unpacklo_epi16(a, b);
            const __m128i high = _mm_unpackhi_epi16(a, b);
            sum0 = _mm_add_epi32(sum0, _mm_madd_epi16(_mm_and_si128(low, low_bytes), weights));
            sum1 = _mm_add_epi32(sum1, _mm_madd_epi16(_mm_srli_epi16(low, 8), weights));
            sum2 = _mm_add_epi32(sum2, _mm_madd_epi16(_mm_and_si128(high, low_bytes), weights));
            sum3 = _mm_add_epi32(sum3, _mm_madd_epi16(_mm_srli_epi16(high, 8), weights));
        }
        if (run.last) {
            const __m128i even = _mm_packs_epi32(_mm_sra_epi32(sum0, shift), _mm_sra_epi32(sum2, shift));
            const __m128i odd = _mm_packs_epi32(_mm_sra_epi32(sum1, shift), _mm_sra_epi32(sum3, shift));
            store(run.out + x, _mm_unpacklo_epi16(even, odd));
            store(run.out + x + 8, _mm_unpackhi_epi16(even, odd));
        } else {
            store(run.sums + x, sum0);
            store(run.sums + x + 4, sum1);
            store(run.sums + x + 8, sum2);
            store(run.sums + x + 12, sum3);
        }
    }
    vertical_rest(run, whole, 1, plain_kernels().vertical_bytes);
}

void vertical_samples(const VerticalRun& run) {
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(run.shift));
    const int16_t* const* rows = reinterpret_cast<const int16_t* const*>(run.rows);
    const size_t whole = run.count & ~size_t(7);
    for (size_t x = 0; x < whole; x += 8) {
        __m128i sum0 = run.first ? _mm_set1_epi32(run.start) : load(run.sums + x);
        __m128i sum1 = run.first ? sum0 : load(run.sums + x + 4);
        const int16_t* weight = run.weights;
        for (unsigned row = 0; row < 2 * run.pairs; row += 2, weight += 2 * AxisWeights::kLanes) {
            const __m128i a = load(rows[row] + x);
            const __m128i b = load(rows[row + 1] + x);
            const __m128i weights = load_aligned(weight);
            sum0 = _mm_add_epi32(sum0, _mm_madd_epi16(_mm_unpacklo_epi16(a, b), weights));
            sum1 = _mm_add_epi32(sum1, _mm_madd_epi16(_mm_unpackhi_epi16(a, b), weights));
        }
        if (run.last) {
            store(run.out + x, _mm_packs_epi32(_mm_sra_epi32(sum0, shift), _mm_sra_epi32(sum1, shift)));
        } else {
            store(run.sums + x, sum0);
            store(run.sums + x + 4, sum1);
        }
    }
    vertical_rest(run, whole, 2, plain_kernels().vertical_samples);
}

// Two neighbouring pixels, sample by sample side by side.
template <unsigned Channels>
__m128i pixel_pair(const int16_t* sample) {
    return _mm_unpacklo_epi16(load(sample), load(sample + Channels));
}

template <>
__m128i pixel_pair<1>(const int16_t* sample) {
    int both;
    memcpy(&both, sample, sizeof both);
    return _mm_cvtsi32_si128(both);
}

// The sums of one pixel, one channel in each lane; the lanes that are left over are of no use.
template <unsigned Channels>
__m128i pixel_sums(const HorizontalRun& run, const AxisWeights::Taps& taps, __m128i start) {
    const int16_t* sample = run.samples + taps.first * static_cast<ptrdiff_t>(Channels);
    const int16_t* weight = run.weights->weights(taps);
    __m128i sum = start;
    for (unsigned pair = 0; pair < taps.pairs; ++pair, weight += 2 * AxisWeights::kLanes, sample += 2 * Channels)
        sum = _mm_add_epi32(sum, _mm_madd_epi16(pixel_pair<Channels>(sample), load_aligned(weight)));
    return sum;
}

template <unsigned Channels>
void horizontal_plain(const HorizontalRun& run, uint8_t* out) {
    const unsigned all = run.weights->shift() + kMiddleBits;
    const __m128i start = _mm_set1_epi32(1 << (all - 1));
    const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(all));
    const __m128i centre = _mm_set1_epi16(kCentre);
    for (unsigned x = 0; x < run.width; ++x, out += Channels) {
        const __m128i sums = _mm_sra_epi32(pixel_sums<Channels>(run, run.weights->taps(x), start), shift);
        const __m128i values = _mm_add_epi16(_mm_packs_epi32(sums, sums), centre);
        const int pixel = _mm_cvtsi128_si32(_mm_packus_epi16(values, values));
        memcpy(out, &pixel, Channels);
    }
}

void horizontal_any(const HorizontalRun& run, uint8_t* out) {
    if (run.channels == 1)
        horizontal_plain<1>(run, out);
    else if (run.channels == 3)
        horizontal_plain<3>(run, out);
    else
        horizontal_plain<4>(run, out);
}

void horizontal_weighted(const HorizontalRun& run, uint8_t* out) {
    for (unsigned x = 0; x < run.width; ++x, out += 4) {
        alignas(16) int32_t sums[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(sums),
                        pixel_sums<4>(run, run.weights->taps(x), _mm_setzero_si128()));
        unweighted_pixel(sums, run.weights->shift(), out);
    }
}

bool opaque(const uint8_t* row, size_t pixels) {
    const size_t whole = pixels & ~size_t(15);
    __m128i all = _mm_set1_epi32(-1);
    for (size_t x = 0; x < whole; x += 16)
        all = _mm_and_si128(all, _mm_and_si128(_mm_and_si128(load(row + 4 * x), load(row + 4 * x + 16)),
                                               _mm_and_si128(load(row + 4 * x + 32), load(row + 4 * x + 48))));
    const __m128i set = _mm_cmpeq_epi32(_mm_or_si128(all, _mm_set1_epi32(0xFFFFFF)), _mm_set1_epi32(-1));
    return _mm_movemask_epi8(set) == 0xFFFF && plain_kernels().opaque(row + 4 * whole, pixels - whole);
}

bool processor_has_sse2() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid(1, &a, &b, &c, &d) && (d & bit_SSE2);
}

} // namespace

const RowKernels* sse2_kernels() {
    static const RowKernels kernels = {vertical_bytes, vertical_samples, horizontal_any, horizontal_weighted, opaque};
    static const bool usable = processor_has_sse2();
    return usable ? &kernels : nullptr;
}

} // namespace kobrtl

#else

namespace kobrtl {

const RowKernels* sse2_kernels() {
    return nullptr;
}

} // namespace kobrtl

#endif
