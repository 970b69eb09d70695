// Encodes and decodes the input with every set of loops that this processor has and with the plain reference, and
// decodes it by a table that it changes itself; it ends the program at the first difference.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "compose/base64_kernels.h"
#include "testing/cxx/base64_reference.h"

namespace {

void compare_decoded(const base64_reference::Bytes& input, const unsigned char table[256],
                     const base64_reference::Outcome& expected) {
    base64_reference::Bytes bytes(base64::decoded_capacity(input.size()));
    const base64::Decoded result = base64::decode(table, input.data(), input.size(), bytes.data());
    if (result.end != expected.end || std::string(bytes.begin(), bytes.begin() + result.size) != expected.bytes)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const base64_reference::Bytes input(data, data + size);
    const std::string expected = base64_reference::encoded(input, base64::LineBreak::once);
    std::string text(base64::encoded_length(size, base64::LineBreak::once), '\0');
    base64::encode(input.data(), size, base64::LineBreak::once, text.data());
    if (text != expected)
        std::abort();

    const std::string characters(input.begin(), input.end());
    compare_decoded(input, base64::kDecodeTable.values, base64_reference::decoded(characters));
    unsigned char table[256];
    std::memcpy(table, base64::kDecodeTable.values, sizeof(table));
    for (std::size_t i = 0; i + 1 < size && i < 16; i += 2)
        table[data[i]] = data[i + 1];
    compare_decoded(input, table, base64_reference::decoded(characters, table));

    for (unsigned i = 0; i < base64::kKernelSetCount && base64::kKernelSets[i].available(); ++i) {
        std::string groups(size / 3 * 4, '\0');
        base64::kKernelSets[i].encode(input.data(), size / 3, groups.data());
        const std::string unbroken = base64_reference::encoded(input, base64::LineBreak::none);
        if (unbroken.compare(0, groups.size(), groups) != 0)
            std::abort();
    }
    return 0;
}
