// A loop of SSE code is timed right behind the work, and again with nothing before it.
#include "bench/resample/sse_afterwards.h"

#include <emmintrin.h>
#include <windows.h>

#include "bench/measure.h"

namespace bench {

namespace {

alignas(16) unsigned short values[8192];

// Every register is filled anew in each step. Where a processor thinks that it must keep the register's upper half, it
// waits for the step before.
__attribute__((target("sse2"))) void sse_code() {
    const __m128i factor = _mm_set1_epi16(3), summand = _mm_set1_epi16(7);
    for (unsigned pass = 0; pass < 20; ++pass)
        for (unsigned i = 0; i < sizeof values / sizeof *values; i += 8) {
            __m128i* const at = reinterpret_cast<__m128i*>(values + i);
            const __m128i value = _mm_load_si128(at);
            const __m128i product = _mm_mullo_epi16(_mm_xor_si128(value, summand), factor);
            _mm_store_si128(at, _mm_add_epi16(_mm_srli_epi16(product, 3), summand));
        }
}

double time_of_sse_code() {
    const double start = now();
    sse_code();
    return now() - start;
}

} // namespace

void measure_sse_afterwards(const char* row, double amount, void (*work)(), unsigned rounds) {
    static double afterwards[kMostRounds], undisturbed[kMostRounds];
    for (unsigned round = 0; round < rounds; ++round) {
        Sleep(2); // another thread's turn ends what there was before
        undisturbed[round] = time_of_sse_code();
        Sleep(2);
        work();
        afterwards[round] = time_of_sse_code();
    }
    const double middle = median(afterwards, rounds), middle_undisturbed = median(undisturbed, rounds);
    print_line(row, amount, "afterwards", middle, afterwards[0]);
    print_line(row, amount, "undisturbed", middle_undisturbed, undisturbed[0]);
}

} // namespace bench
