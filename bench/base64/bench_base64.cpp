// bench_base64 [ROUNDS]: the base64 codec beside a plain copy of the same bytes and, where they are built in, beside
// the codecs of OpenSSL and GLib.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#ifdef WENDAX_BENCH_PEERS
#include <glib.h>
#include <openssl/evp.h>
#endif

#include "bench/measure.h"
#include "compose/base64_codec.h"
#include "compose/base64_kernels.h"

namespace {

constexpr unsigned kMostBytes = 64u << 20;

unsigned char* data; // whole groups of three bytes
char* text;          // what they encode to
char* output;
unsigned size;
unsigned text_length;
bool moving;     // whether each run takes the next piece of the data, so that it comes from memory
unsigned offset; // of the piece

unsigned piece() {
    if (moving)
        offset = offset + 2 * size > kMostBytes ? 0 : offset + size;
    return offset;
}

void ours_encode() {
    const unsigned at = piece();
    base64::encode(data + at, size, base64::LineBreak::once, output + at);
}
void plain_encode() {
    const unsigned at = piece();
    base64::plain::encode(data + at, size / 3, output + at);
}
void copy() {
    const unsigned at = piece();
    memcpy(output + at, data + at, size);
}
void ours_decode() {
    base64::decode(base64::kDecodeTable.values, reinterpret_cast<unsigned char*>(text), text_length,
                   reinterpret_cast<unsigned char*>(output));
}
void plain_decode() {
    base64::plain::decode(reinterpret_cast<unsigned char*>(text), size / 3, reinterpret_cast<unsigned char*>(output));
}
void copy_text() {
    memcpy(output, text, text_length);
}

#ifdef WENDAX_BENCH_PEERS
void openssl_encode() {
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(output), data, static_cast<int>(size));
}
void openssl_decode() {
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(output), reinterpret_cast<unsigned char*>(text),
                    static_cast<int>(text_length));
}
void glib_encode() {
    int state = 0, save = 0;
    g_base64_encode_step(data, size, FALSE, output, &state, &save);
}
void glib_decode() {
    int state = 0;
    unsigned save = 0;
    g_base64_decode_step(text, text_length, reinterpret_cast<unsigned char*>(output), &state, &save);
}
constexpr bench::Contestant kEncoders[] = {{"ours", ours_encode},
                                           {"ours, plain", plain_encode},
                                           {"OpenSSL", openssl_encode},
                                           {"GLib", glib_encode},
                                           {"copy", copy}};
constexpr bench::Contestant kDecoders[] = {{"ours", ours_decode},
                                           {"ours, plain", plain_decode},
                                           {"OpenSSL", openssl_decode},
                                           {"GLib", glib_decode},
                                           {"copy", copy_text}};
#define ROW(what) "base64 " what ", 64 bits"
#else
constexpr bench::Contestant kEncoders[] = {{"ours", ours_encode}, {"ours, plain", plain_encode}, {"copy", copy}};
constexpr bench::Contestant kDecoders[] = {{"ours", ours_decode}, {"ours, plain", plain_decode}, {"copy", copy_text}};
#define ROW(what) "base64 " what
#endif

} // namespace

int main(int argc, char** argv) {
    const unsigned rounds = bench::rounds_of(argc, argv);
    const unsigned most_text = kMostBytes / 3 * 4 + 16;
    data = static_cast<unsigned char*>(malloc(kMostBytes));
    text = static_cast<char*>(malloc(most_text));
    output = static_cast<char*>(malloc(most_text));
    if (!data || !text || !output)
        return 1;
    for (unsigned i = 0; i < kMostBytes; ++i)
        data[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
    memset(output, 0, most_text);
    constexpr unsigned kSizes[] = {48 << 10, 480 << 10, 4800 << 10, kMostBytes};
    for (const unsigned bytes : kSizes) {
        size = bytes / 3 * 3;
        text_length = size / 3 * 4;
        base64::fastest_kernels().encode(data, size / 3, text);
        const unsigned repeats = bytes < 1 << 20 ? (8 << 20) / bytes : 1;
        bench::compare(ROW("encode"), bytes, kEncoders, sizeof kEncoders / sizeof *kEncoders, rounds, repeats);
        bench::compare(ROW("decode"), bytes, kDecoders, sizeof kDecoders / sizeof *kDecoders, rounds, repeats);
    }
#ifdef _WIN32
    size = 48 << 10;
    moving = true;
    bench::compare("base64 encode, from memory", size, kEncoders, sizeof kEncoders / sizeof *kEncoders, rounds,
                   (8 << 20) / size);
#endif
    free(data);
    free(text);
    free(output);
    return 0;
}
