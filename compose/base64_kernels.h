// The inner loops of the base64 codec over whole groups: three bytes on one side, four characters on the other. One set
// of them per kind of processor; all give identical results.
#pragma once

namespace base64 {

inline constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Kernels {
    const char* name;
    bool (*available)(); // whether this processor, and the system on it, have what the loops need

    // Reads 3 * groups bytes and writes 4 * groups characters, not one beyond either.
    void (*encode)(const unsigned char* data, unsigned groups, char* text);

    // Decodes groups from the start until one holds anything but characters of the alphabet, and returns how many it
    // decoded. It may write one byte more than three for each group given. The bytes may begin where the text does.
    unsigned (*decode)(const unsigned char* text, unsigned groups, unsigned char* bytes);
};

// Every set that was built, the fastest first; the last one, "plain", runs everywhere.
extern const Kernels kKernelSets[];
extern const unsigned kKernelSetCount;

// The first set that is available. Found out at the first call; any thread may call it.
const Kernels& fastest_kernels();

// As Kernels::decode, but with the values (0..63, anything above stops) of a table of the caller's.
unsigned decode_by_table(const unsigned char table[256], const unsigned char* text, unsigned groups,
                         unsigned char* bytes);

namespace plain {
void encode(const unsigned char* data, unsigned groups, char* text);
unsigned decode(const unsigned char* text, unsigned groups, unsigned char* bytes);
} // namespace plain

// 16 bytes at a time: any x86 processor since 2006 (2011 for AMD's). It stays because it decodes four times as fast as
// the libraries that others use, where plain code is as fast as they. A loop of 32 bytes saved no report a hundredth of
// its time.
namespace ssse3 {
bool available();
void encode(const unsigned char* data, unsigned groups, char* text);
unsigned decode(const unsigned char* text, unsigned groups, unsigned char* bytes);
} // namespace ssse3

} // namespace base64
