// The extended leaves are asked first, then the descriptors of leaf 2, then leaf 4 if a descriptor refers to it. Each
// fills in only what those before it left unknown.
#include "sysinfo/processor_caches.h"

#include <limits.h>

namespace sysinfo {

namespace {

enum class Level : uint8_t { l1_instruction, l1_data, l2, l3 };

struct DescriptorRow {
    uint8_t descriptor;
    Level level;
    uint16_t kilobytes;
};

// The cache descriptors of "Encoding of CPUID Leaf 2 Descriptors" in Intel 64 and IA-32 Architectures Software
// Developer's Manual, volume 2A, instruction CPUID. The bytes that this table lacks are those for translation
// look-aside buffers, prefetching and trace caches, and unused ones. Kept: other makers' leaf 2 is read by it too. 0x39
// to 0x3E are in no later edition of the manual, but in Intel's application note 485.
constexpr DescriptorRow kDescriptors[] = {
    {0x06, Level::l1_instruction, 8},
    {0x08, Level::l1_instruction, 16},
    {0x09, Level::l1_instruction, 32},
    {0x0A, Level::l1_data, 8},
    {0x0C, Level::l1_data, 16},
    {0x0D, Level::l1_data, 16},
    {0x0E, Level::l1_data, 24},
    {0x1D, Level::l2, 128},
    {0x21, Level::l2, 256},
    {0x22, Level::l3, 512},
    {0x23, Level::l3, 1024},
    {0x24, Level::l2, 1024},
    {0x25, Level::l3, 2048},
    {0x29, Level::l3, 4096},
    {0x2C, Level::l1_data, 32},
    {0x30, Level::l1_instruction, 32},
    {0x39, Level::l2, 128},
    {0x3A, Level::l2, 192},
    {0x3B, Level::l2, 128},
    {0x3C, Level::l2, 256},
    {0x3D, Level::l2, 384},
    {0x3E, Level::l2, 512},
    {0x41, Level::l2, 128},
    {0x42, Level::l2, 256},
    {0x43, Level::l2, 512},
    {0x44, Level::l2, 1024},
    {0x45, Level::l2, 2048},
    {0x46, Level::l3, 4096},
    {0x47, Level::l3, 8192},
    {0x48, Level::l2, 3072},
    {0x49, Level::l2, 4096}, // third level on one processor, see below
    {0x4A, Level::l3, 6144},
    {0x4B, Level::l3, 8192},
    {0x4C, Level::l3, 12288},
    {0x4D, Level::l3, 16384},
    {0x4E, Level::l2, 6144},
    {0x60, Level::l1_data, 16},
    {0x66, Level::l1_data, 8},
    {0x67, Level::l1_data, 16},
    {0x68, Level::l1_data, 32},
    {0x78, Level::l2, 1024},
    {0x79, Level::l2, 128},
    {0x7A, Level::l2, 256},
    {0x7B, Level::l2, 512},
    {0x7C, Level::l2, 1024},
    {0x7D, Level::l2, 2048},
    {0x7F, Level::l2, 512},
    {0x80, Level::l2, 512},
    {0x82, Level::l2, 256},
    {0x83, Level::l2, 512},
    {0x84, Level::l2, 1024},
    {0x85, Level::l2, 2048},
    {0x86, Level::l2, 512},
    {0x87, Level::l2, 1024},
    {0xD0, Level::l3, 512},
    {0xD1, Level::l3, 1024},
    {0xD2, Level::l3, 2048},
    {0xD6, Level::l3, 1024},
    {0xD7, Level::l3, 2048},
    {0xD8, Level::l3, 4096},
    {0xDC, Level::l3, 1536},
    {0xDD, Level::l3, 3072},
    {0xDE, Level::l3, 6144},
    {0xE2, Level::l3, 2048},
    {0xE3, Level::l3, 4096},
    {0xE4, Level::l3, 8192},
    {0xEA, Level::l3, 12288},
    {0xEB, Level::l3, 18432},
    {0xEC, Level::l3, 24576},
};

constexpr uint8_t kLastLevelAbsent = 0x40; // no second level or, where there is one, no third
constexpr uint8_t kFourMegabytes = 0x49;
constexpr uint8_t kSeeLeaf4 = 0xFF; // 0xFE refers to leaf 0x18 likewise, which is of address translation only

// In kilobytes: leaf 0x80000005 has the first level's data and instructions apart, the next leaf the second level.
CacheSizes extended_sizes(CpuidSource& cpuid, uint32_t highest_extended_leaf) {
    CacheSizes sizes;
    if (highest_extended_leaf >= 0x80000005) {
        const CpuidRegisters leaf = cpuid.read(0x80000005, 0);
        const int l1 = static_cast<int>(bit_field(leaf.ecx, 24, 8) + bit_field(leaf.edx, 24, 8));
        sizes.l1 = l1 ? l1 : -1;
    }
    if (highest_extended_leaf >= 0x80000006) {
        const CpuidRegisters leaf = cpuid.read(0x80000006, 0);
        const int l2 = static_cast<int>(bit_field(leaf.ecx, 16, 16));
        sizes.l2 = l2 ? l2 : -1;
    }
    return sizes;
}

// In kilobytes, rounded down; the greatest values that the fields can hold don't overflow.
uint64_t size_of_leaf_4(const CpuidRegisters& leaf) {
    const uint64_t lines =
        (bit_field(leaf.ebx, 12, 10) + 1ull) * (bit_field(leaf.ebx, 22, 10) + 1ull) * (leaf.ecx + 1ull);
    const uint64_t line_size = bit_field(leaf.ebx, 0, 12) + 1;
    return lines / 1024 * line_size + lines % 1024 * line_size / 1024;
}

// Leaf 4 has one subleaf per cache, and one of type 0 behind the last.
CacheSizes leaf_4_sizes(CpuidSource& cpuid) {
    constexpr uint32_t kMostCaches = 32;
    uint64_t kilobytes[8] = {}; // by level, of which processors have 1 to 3
    for (uint32_t i = 0; i < kMostCaches; ++i) {
        const CpuidRegisters leaf = cpuid.read(4, i);
        if (bit_field(leaf.eax, 0, 5) == 0)
            break;
        kilobytes[bit_field(leaf.eax, 5, 3)] += size_of_leaf_4(leaf);
    }

    const auto size = [](uint64_t sum) { return sum == 0 ? -1 : sum > INT_MAX ? INT_MAX : static_cast<int>(sum); };
    CacheSizes sizes;
    sizes.l1 = size(kilobytes[1]);
    sizes.l2 = size(kilobytes[2]);
    sizes.l3 = size(kilobytes[3]);
    return sizes;
}

void complete(CacheSizes& sizes, const CacheSizes& other) {
    if (sizes.l1 < 0)
        sizes.l1 = other.l1;
    if (sizes.l2 < 0)
        sizes.l2 = other.l2;
    if (sizes.l3 < 0)
        sizes.l3 = other.l3;
}

} // namespace

void CacheDescriptors::add(uint8_t descriptor) {
    if (descriptor == kLastLevelAbsent)
        m_last_level_absent = true;
    if (descriptor == kSeeLeaf4)
        m_refers_to_leaf4 = true;
    for (const DescriptorRow& row : kDescriptors) {
        if (row.descriptor != descriptor)
            continue;
        Level level = row.level;
        if (descriptor == kFourMegabytes && m_family == 15 && m_model == 6)
            level = Level::l3;
        int* const sizes[] = {&m_l1_instruction, &m_l1_data, &m_l2, &m_l3};
        *sizes[static_cast<int>(level)] = row.kilobytes;
    }
}

void CacheDescriptors::add(const CpuidRegisters& registers) {
    add_register(registers.eax, 1); // its first byte is a count
    add_register(registers.ebx, 0);
    add_register(registers.ecx, 0);
    add_register(registers.edx, 0);
}

void CacheDescriptors::add_register(uint32_t value, int first_byte) {
    if (bit_field(value, 31, 1)) // there are no descriptors in this register
        return;
    for (int i = first_byte; i < 4; ++i)
        add(static_cast<uint8_t>(value >> 8 * i));
}

CacheSizes CacheDescriptors::sizes() const {
    CacheSizes sizes;
    if (m_l1_instruction || m_l1_data)
        sizes.l1 = m_l1_instruction + m_l1_data;
    sizes.l2 = m_l2;
    sizes.l3 = m_l3;
    if (m_last_level_absent) {
        int& absent = m_l2 < 0 ? sizes.l2 : sizes.l3;
        if (absent < 0)
            absent = 0;
    }
    return sizes;
}

CacheSizes read_cache_sizes(CpuidSource& cpuid, uint32_t highest_leaf, uint32_t highest_extended_leaf, uint32_t family,
                            uint32_t model) {
    CacheSizes sizes = extended_sizes(cpuid, highest_extended_leaf);

    CacheDescriptors descriptors(family, model);
    uint32_t reads = 1;
    for (uint32_t i = 0; highest_leaf >= 2 && i < reads; ++i) {
        const CpuidRegisters leaf = cpuid.read(2, 0);
        if (i == 0)
            reads = leaf.eax & 0xFF; // how often the leaf must be read for all descriptors
        descriptors.add(leaf);
    }
    complete(sizes, descriptors.sizes());

    if (descriptors.refers_to_leaf4() && highest_leaf >= 4)
        complete(sizes, leaf_4_sizes(cpuid));
    return sizes;
}

} // namespace sysinfo
