// The operations of SSE2 from which vector_kernels.h makes the loops. Compiled for SSE2 whatever the rest is compiled
// for: call nothing of it before asking the processor.
#include "companions/kobrtl/row_kernels.h"

#if defined(__i386__) || defined(__x86_64__)

#include <emmintrin.h>
#include <string.h>

#include "companions/kobrtl/processor.h"

WENDAX_TARGET_BEGIN("sse2")

namespace kobrtl {

namespace {

struct Sse2 {
    static constexpr unsigned kLanes = 4;
    using Ints = __m128i;
    using Floats = __m128;

    static Ints zero() { return _mm_setzero_si128(); }
    static Ints all_ones() { return _mm_set1_epi32(-1); }
    static Ints load(const uint8_t* bytes) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)); }
    using Pairs = const __m128i*;
    static Pairs pairs(const int16_t* weights) { return reinterpret_cast<const __m128i*>(weights); }
    static Ints interleave_low(Ints a, Ints b) { return _mm_unpacklo_epi16(a, b); }
    static Ints interleave_high(Ints a, Ints b) { return _mm_unpackhi_epi16(a, b); }
    static Ints even_bytes(Ints a) { return _mm_and_si128(a, _mm_set1_epi16(0xFF)); }
    static Ints odd_bytes(Ints a) { return _mm_srli_epi16(a, 8); }
    // sum + each pair of words times a pair of weights.
    static Ints add_products(Ints sum, Ints a, Pairs weights) {
#if defined(__i386__)
        // Said outright that the weights stay in memory: with eight registers the compiler would rather move sums
        // there.
        __asm__("pmaddwd %1, %0" : "+x"(a) : "m"(*weights));
#else
        a = _mm_madd_epi16(a, *weights);
#endif
        return _mm_add_epi32(sum, a);
    }
    static Ints both(Ints a, Ints b) { return _mm_and_si128(a, b); }
    static bool high_bytes_set(Ints a) {
        return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_or_si128(a, _mm_set1_epi32(0xFFFFFF)), all_ones())) == 0xFFFF;
    }

    static Floats all(float value) { return _mm_set1_ps(value); }
    static Floats load(const float* values) { return _mm_loadu_ps(values); }
    static void store(float* out, Floats values) { _mm_storeu_ps(out, values); }
    static Floats to_floats(Ints a) { return _mm_cvtepi32_ps(a); }
    static Floats multiply(Floats a, Floats b) { return _mm_mul_ps(a, b); }
    static Floats multiply_add(Floats a, Floats b, Floats sum) { return _mm_add_ps(sum, _mm_mul_ps(a, b)); }
    // a / b where b is above least, 0 elsewhere.
    static Floats divide_or_0(Floats a, Floats b, Floats least) {
        return _mm_and_ps(_mm_div_ps(a, b), _mm_cmpgt_ps(b, least));
    }

    // Four columns of four rows.
    static void transpose(const float* rows, size_t stride, float* out, size_t gap) {
        __m128 a = load(rows), b = load(rows + stride), c = load(rows + 2 * stride), d = load(rows + 3 * stride);
        _MM_TRANSPOSE4_PS(a, b, c, d);
        store(out, a);
        store(out + gap, b);
        store(out + 2 * gap, c);
        store(out + 3 * gap, d);
    }

    // One channel in each argument, one pixel in each lane: rounds, clamps and puts the bytes of a pixel together.
    static void to_pixels(Floats a, Floats b, Floats c, Floats d, int32_t* pixels) {
        const __m128i ab = _mm_packs_epi32(_mm_cvtps_epi32(a), _mm_cvtps_epi32(b));
        const __m128i cd = _mm_packs_epi32(_mm_cvtps_epi32(c), _mm_cvtps_epi32(d));
        const __m128i bytes = _mm_packus_epi16(ab, cd); // four of a, four of b, ...
        const __m128i ac_bd = _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), _mm_unpacklo_epi8(ac_bd, _mm_srli_si128(ac_bd, 8)));
    }

    static void prefetch(const uint8_t* address) { _mm_prefetch(reinterpret_cast<const char*>(address), _MM_HINT_T1); }
};

#include "companions/kobrtl/vector_kernels.h"

} // namespace

const RowKernels* sse2_kernels() {
    static const RowKernels kKernels = kernels_of<Sse2>("SSE2", plain_kernels().leave);
    constexpr bool kEveryProcessorHasIt = sizeof(void*) == 8; // seen by the compiler, which then links no plain version
    return kEveryProcessorHasIt || processor().sse2 ? &kKernels : nullptr;
}

} // namespace kobrtl

WENDAX_TARGET_END

#else

namespace kobrtl {

const RowKernels* sse2_kernels() {
    return nullptr;
}

} // namespace kobrtl

#endif
