// The loops that run on every processor, and the choice of a set: made once, by asking the processor.
#include "compose/base64_kernels.h"

#include <stdint.h>
#include <string.h>

#include "compose/base64_codec.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a pair of characters is stored as one 16-bit number");

namespace base64 {

namespace {

// The two characters of each 12-bit number. One look-up for two characters is half the work of one for each, and 8 KB
// still leave most of a first-level cache to the data. Made when first needed, which takes microseconds: few processors
// need it, and all would carry it. Threads that race here write the same.
uint16_t pairs[4096];
bool pairs_made;

void make_pairs() {
    for (unsigned i = 0; i < 4096; ++i)
        pairs[i] = static_cast<uint16_t>(kAlphabet[i >> 6] | kAlphabet[i & 63] << 8);
    __atomic_store_n(&pairs_made, true, __ATOMIC_RELEASE);
}

uint32_t load_big_endian(const unsigned char* bytes) {
    uint32_t word;
    memcpy(&word, bytes, sizeof(word));
    return __builtin_bswap32(word);
}

// The group in the upper 24 bits.
void store_group(uint32_t bits, char* text) {
    memcpy(text, &pairs[bits >> 20], 2);
    memcpy(text + 2, &pairs[bits >> 8 & 0xFFF], 2);
}

bool always() {
    return true;
}

} // namespace

const Kernels kKernelSets[] = {
#if defined(__i386__) || defined(__x86_64__)
    {"ssse3", ssse3::available, ssse3::encode, ssse3::decode},
#endif
    {"plain", always, plain::encode, plain::decode},
};
const unsigned kKernelSetCount = sizeof(kKernelSets) / sizeof(kKernelSets[0]);

const Kernels& fastest_kernels() {
    // Kept, because a virtual machine may take tens of microseconds to answer what its processor has. Threads that race
    // here find the same.
    static const Kernels* fastest;
    const Kernels* found = __atomic_load_n(&fastest, __ATOMIC_RELAXED);
    if (!found) {
        for (found = kKernelSets; !found->available();)
            ++found;
        __atomic_store_n(&fastest, found, __ATOMIC_RELAXED);
    }
    return *found;
}

void plain::encode(const unsigned char* data, unsigned groups, char* text) {
    if (!__atomic_load_n(&pairs_made, __ATOMIC_ACQUIRE))
        make_pairs();
    // Four bytes are read for the three that are used, so the last group goes byte by byte.
    for (; groups >= 5; groups -= 4, data += 12, text += 16) {
        store_group(load_big_endian(data), text);
        store_group(load_big_endian(data + 3), text + 4);
        store_group(load_big_endian(data + 6), text + 8);
        store_group(load_big_endian(data + 9), text + 12);
    }
    for (; groups > 0; --groups, data += 3, text += 4)
        store_group(static_cast<uint32_t>(data[0]) << 24 | data[1] << 16 | data[2] << 8, text);
}

unsigned plain::decode(const unsigned char* text, unsigned groups, unsigned char* bytes) {
    return decode_by_table(kDecodeTable.values, text, groups, bytes);
}

unsigned decode_by_table(const unsigned char table[256], const unsigned char* text, unsigned groups,
                         unsigned char* bytes) {
    unsigned done = 0;
    for (; done < groups; ++done, text += 4, bytes += 3) {
        const uint32_t a = table[text[0]], b = table[text[1]], c = table[text[2]], d = table[text[3]];
        if ((a | b | c | d) > 63)
            break;
        const uint32_t word = __builtin_bswap32(a << 26 | b << 20 | c << 14 | d << 8);
        memcpy(bytes, &word, sizeof(word));
    }
    return done;
}

} // namespace base64
