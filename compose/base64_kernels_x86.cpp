// The loops with SSSE3: twelve bytes or sixteen characters a step, by shuffles and multiplications instead of table
// look-ups. Each leaves the last groups to the plain loop.
#include "compose/base64_kernels.h"

#if defined(__i386__) || defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

namespace base64 {

namespace {

__attribute__((target("sse2"))) inline __m128i load(const void* bytes) {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

__attribute__((target("sse2"))) inline void store(void* bytes, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(bytes), value);
}

} // namespace

bool ssse3::available() {
    unsigned eax, ebx, ecx, edx;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) && ecx & bit_SSSE3;
}

// A lane of 32 bits takes the bytes a b c of a group in an order that gives one 16-bit half "a b", which holds the
// first two 6-bit values, and the other "b c", which holds the last two. A multiplication by a power of two of its own
// in each half then moves the values to the bottom of their bytes: the upper half of the product for the first and
// third, the lower for the second and fourth. A value becomes its character by adding an offset that depends on its
// range. The ranges are numbered by saturated subtraction of 51, plus one from 26 on: 0..25 is 0, 26..51 is 1, the
// digits are 2 to 11, "+" is 12 and "/" is 13.
__attribute__((target("ssse3"))) void ssse3::encode(const unsigned char* data, unsigned groups, char* text) {
    const __m128i spread = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    const char digit = '0' - 52;
    const __m128i offsets = _mm_setr_epi8('A', 'a' - 26, digit, digit, digit, digit, digit, digit, digit, digit, digit,
                                          digit, '+' - 62, '/' - 63, 0, 0);
    // Sixteen bytes are read for the twelve that are used, so the last two groups don't go this way.
    for (; groups >= 6; groups -= 4, data += 12, text += 16) {
        const __m128i bytes = _mm_shuffle_epi8(load(data), spread);
        const __m128i first_third =
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
        const __m128i second_fourth =
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
        const __m128i values = _mm_or_si128(first_third, second_fourth);
        const __m128i from_26 = _mm_cmpgt_epi8(values, _mm_set1_epi8(25)); // -1 where true
        const __m128i ranges = _mm_sub_epi8(_mm_subs_epu8(values, _mm_set1_epi8(51)), from_26);
        store(text, _mm_add_epi8(values, _mm_shuffle_epi8(offsets, ranges)));
    }
    plain::encode(data, groups, text);
}

// Both halves of a character index a table of flags; a character is foreign if a flag is in both. The flags stand for
// the upper half being 2 (1), 3 (2), 4 or 6 (4), 5 or 7 (8), anything else (16), and a lower half carries each flag of
// which it makes a foreign character. The upper half also gives the offset from character to value, with "/" moved
// away from "+" to index 1.
__attribute__((target("ssse3"))) unsigned ssse3::decode(const unsigned char* text, unsigned groups,
                                                        unsigned char* bytes) {
    const __m128i upper_flags = _mm_setr_epi8(16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16);
    const __m128i lower_flags = _mm_setr_epi8(21, 17, 17, 17, 17, 17, 17, 17, 17, 17, 19, 26, 27, 27, 27, 26);
    const __m128i offsets =
        _mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i gather = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m128i half = _mm_set1_epi8(15);
    unsigned done = 0;
    // Sixteen bytes are written for the twelve that count, which must stay within what the groups to come will fill.
    for (; groups - done >= 6; done += 4, text += 16, bytes += 12) {
        const __m128i characters = load(text);
        const __m128i upper = _mm_and_si128(_mm_srli_epi32(characters, 4), half);
        const __m128i lower = _mm_and_si128(characters, half);
        const __m128i foreign =
            _mm_and_si128(_mm_shuffle_epi8(upper_flags, upper), _mm_shuffle_epi8(lower_flags, lower));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(foreign, _mm_setzero_si128())) != 0xFFFF)
            break;
        const __m128i slash = _mm_cmpeq_epi8(characters, _mm_set1_epi8('/'));
        const __m128i values = _mm_add_epi8(characters, _mm_shuffle_epi8(offsets, _mm_add_epi8(upper, slash)));
        const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140)); // 12 bits in each half of a lane
        const __m128i triples = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));   // 24 bits in each lane
        store(bytes, _mm_shuffle_epi8(triples, gather));
    }
    return done + plain::decode(text, groups - done, bytes);
}

} // namespace base64

#endif
