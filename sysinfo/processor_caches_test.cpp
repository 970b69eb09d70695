#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "sysinfo/processor_caches.h"

namespace {

using sysinfo::CacheDescriptors;
using sysinfo::CacheSizes;
using sysinfo::CpuidRegisters;
using sysinfo::read_cache_sizes;

// The cache descriptors by what they describe, kilobytes each.
struct Described {
    CacheSizes sizes;
    std::vector<int> descriptors;
};

const Described kDescribed[] = {
    // instruction caches of the first level
    {{8, -1, -1}, {0x06}},
    {{16, -1, -1}, {0x08}},
    {{32, -1, -1}, {0x09, 0x30}},
    // data caches of the first level
    {{8, -1, -1}, {0x0A, 0x66}},
    {{16, -1, -1}, {0x0C, 0x0D, 0x60, 0x67}},
    {{24, -1, -1}, {0x0E}},
    {{32, -1, -1}, {0x2C, 0x68}},
    // second level
    {{-1, 128, -1}, {0x1D, 0x39, 0x3B, 0x41, 0x79}},
    {{-1, 192, -1}, {0x3A}},
    {{-1, 256, -1}, {0x21, 0x3C, 0x42, 0x7A, 0x82}},
    {{-1, 384, -1}, {0x3D}},
    {{-1, 512, -1}, {0x3E, 0x43, 0x7B, 0x7F, 0x80, 0x83, 0x86}},
    {{-1, 1024, -1}, {0x24, 0x44, 0x78, 0x7C, 0x84, 0x87}},
    {{-1, 2 * 1024, -1}, {0x45, 0x7D, 0x85}},
    {{-1, 3 * 1024, -1}, {0x48}},
    {{-1, 4 * 1024, -1}, {0x49}},
    {{-1, 6 * 1024, -1}, {0x4E}},
    {{-1, 0, -1}, {0x40}},
    // third level
    {{-1, -1, 512}, {0x22, 0xD0}},
    {{-1, -1, 1024}, {0x23, 0xD1, 0xD6}},
    {{-1, -1, 1024 + 512}, {0xDC}},
    {{-1, -1, 2 * 1024}, {0x25, 0xD2, 0xD7, 0xE2}},
    {{-1, -1, 3 * 1024}, {0xDD}},
    {{-1, -1, 4 * 1024}, {0x29, 0x46, 0xD8, 0xE3}},
    {{-1, -1, 6 * 1024}, {0x4A, 0xDE}},
    {{-1, -1, 8 * 1024}, {0x47, 0x4B, 0xE4}},
    {{-1, -1, 12 * 1024}, {0x4C, 0xEA}},
    {{-1, -1, 16 * 1024}, {0x4D}},
    {{-1, -1, 18 * 1024}, {0xEB}},
    {{-1, -1, 24 * 1024}, {0xEC}},
};

constexpr uint32_t kFamily = 6, kModel = 15;

void expect_sizes(const CacheSizes& sizes, int l1, int l2, int l3) {
    EXPECT_EQ(sizes.l1, l1);
    EXPECT_EQ(sizes.l2, l2);
    EXPECT_EQ(sizes.l3, l3);
}

TEST(CacheDescriptors, Give_the_published_sizes_and_nothing_else) {
    std::map<int, CacheSizes> expected;
    for (const Described& row : kDescribed)
        for (int descriptor : row.descriptors)
            ASSERT_TRUE(expected.emplace(descriptor, row.sizes).second) << descriptor;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        SCOPED_TRACE(descriptor);
        CacheDescriptors descriptors(kFamily, kModel);
        descriptors.add(static_cast<uint8_t>(descriptor));
        const CacheSizes& sizes = expected[descriptor];
        expect_sizes(descriptors.sizes(), sizes.l1, sizes.l2, sizes.l3);
        EXPECT_EQ(descriptors.refers_to_leaf4(), descriptor == 0xFF);
    }
}

CacheSizes sizes_of(std::vector<uint8_t> bytes, uint32_t family = kFamily, uint32_t model = kModel) {
    CacheDescriptors descriptors(family, model);
    for (uint8_t byte : bytes)
        descriptors.add(byte);
    return descriptors.sizes();
}

TEST(CacheDescriptors, First_level_is_instruction_and_data_cache_together) {
    expect_sizes(sizes_of({0x30, 0x2C}), 64, -1, -1);
    expect_sizes(sizes_of({0x0C, 0x08}), 32, -1, -1);
}

TEST(CacheDescriptors, One_met_twice_counts_once) {
    expect_sizes(sizes_of({0x30, 0x2C, 0x7D, 0x30, 0x2C, 0x7D}), 64, 2048, -1);
}

TEST(CacheDescriptors, Forty_means_no_third_level_where_there_is_a_second) {
    expect_sizes(sizes_of({0x40, 0x7B}), -1, 512, 0);
    expect_sizes(sizes_of({0x7B, 0x40}), -1, 512, 0);
    expect_sizes(sizes_of({0x40, 0x22}), -1, 0, 512);
    expect_sizes(sizes_of({0x40, 0x7B, 0x22}), -1, 512, 512); // a size outweighs its absence
}

TEST(CacheDescriptors, Forty_nine_is_the_third_level_of_one_processor) {
    expect_sizes(sizes_of({0x49}, 15, 6), -1, -1, 4096);
    expect_sizes(sizes_of({0x49}, 15, 5), -1, 4096, -1);
    expect_sizes(sizes_of({0x49}, 6, 6), -1, 4096, -1);
}

CacheSizes sizes_of_read(const CpuidRegisters& registers) {
    CacheDescriptors descriptors(kFamily, kModel);
    descriptors.add(registers);
    return descriptors.sizes();
}

TEST(CacheDescriptors, Stand_in_every_byte_but_the_lowest_of_eax) {
    for (int byte = 0; byte < 16; ++byte) {
        SCOPED_TRACE(byte);
        uint32_t words[4] = {};
        words[byte / 4] = 0x43u << byte % 4 * 8;
        expect_sizes(sizes_of_read({words[0], words[1], words[2], words[3]}), -1, byte == 0 ? -1 : 512, -1);
    }
}

TEST(CacheDescriptors, Of_a_register_with_bit_31_set_don_t_count) {
    expect_sizes(sizes_of_read({0x00000801, 0x0C, 0x43, 0x23}), 32, 512, 1024);
    expect_sizes(sizes_of_read({0x80000801, 0x0C, 0x43, 0x23}), 16, 512, 1024);
    expect_sizes(sizes_of_read({0x00000801, 0x8000000C, 0x43, 0x23}), 16, 512, 1024);
    expect_sizes(sizes_of_read({0x00000801, 0x0C, 0x80000043, 0x23}), 32, -1, 1024);
    expect_sizes(sizes_of_read({0x00000801, 0x0C, 0x43, 0x80000023}), 32, 512, -1);
}

// Answers what it was told, one answer after the other, and the last one again.
class FakeCpuid : public sysinfo::CpuidSource {
public:
    std::map<uint32_t, std::vector<CpuidRegisters>> leaves;
    std::map<uint32_t, unsigned> reads;

    bool available() override { return true; }
    CpuidRegisters read(uint32_t leaf, uint32_t subleaf) override {
        const auto found = leaves.find(leaf);
        EXPECT_NE(found, leaves.end()) << "leaf " << leaf << " is not there";
        if (found == leaves.end())
            return {};
        const unsigned n = reads[leaf]++;
        const unsigned wanted = leaf == 4 ? subleaf : n;
        return found->second[std::min<size_t>(wanted, found->second.size() - 1)];
    }

    CacheSizes sizes(uint32_t highest, uint32_t highest_extended) {
        return read_cache_sizes(*this, highest, highest_extended, kFamily, kModel);
    }
};

struct CacheLeaves : testing::Test {
    FakeCpuid cpuid;
};

TEST_F(CacheLeaves, Are_unknown_without_any_leaf) {
    expect_sizes(cpuid.sizes(1, 0), -1, -1, -1);
    expect_sizes(cpuid.sizes(1, 0x80000004), -1, -1, -1);
}

TEST_F(CacheLeaves, Come_from_the_extended_leaves_first) {
    cpuid.leaves[0x80000005] = {{0, 0, 0x40020140, 0x20020140}};
    cpuid.leaves[0x80000006] = {{0, 0, 0x01008140, 0x12345678}};
    expect_sizes(cpuid.sizes(1, 0x80000006), 0x40 + 0x20, 0x100, -1);
    cpuid.leaves[2] = {{0x00000801, 0x0C, 0x43, 0x23}};
    expect_sizes(cpuid.sizes(2, 0x80000006), 0x40 + 0x20, 0x100, 1024);
}

TEST_F(CacheLeaves, Are_unknown_where_the_extended_leaves_are_empty) {
    cpuid.leaves[0x80000005] = {{0, 0, 0x00FFFFFF, 0x00FFFFFF}};
    cpuid.leaves[0x80000006] = {{0, 0, 0x0000FFFF, 0}};
    expect_sizes(cpuid.sizes(1, 0x80000006), -1, -1, -1);
}

TEST_F(CacheLeaves, Fall_back_to_leaf_2_level_by_level) {
    cpuid.leaves[2] = {{0x00000801, 0x0C, 0x43, 0x23}};
    cpuid.leaves[0x80000005] = {{0, 0, 0, 0}};
    cpuid.leaves[0x80000006] = {{0, 0, 0x01008140, 0}};
    expect_sizes(cpuid.sizes(2, 0x80000008), 32, 256, 1024);
    cpuid.leaves[0x80000005] = {{0, 0, 0x20000000, 0}};
    cpuid.leaves[0x80000006] = {{0, 0, 0x0000FFFF, 0}};
    cpuid.reads.clear();
    expect_sizes(cpuid.sizes(2, 0x80000008), 32, 512, 1024);
    cpuid.reads.clear();
    expect_sizes(cpuid.sizes(2, 0x80000005), 32, 512, 1024);
}

TEST_F(CacheLeaves, Read_leaf_2_as_often_as_its_lowest_byte_says) {
    cpuid.leaves[2] = {{0x00000803, 0, 0, 0}, {0x00000C03, 0, 0, 0}, {0x00430003, 0, 0, 0}, {0x23000003, 0, 0, 0}};
    expect_sizes(cpuid.sizes(2, 0), 32, 512, -1);
    EXPECT_EQ(cpuid.reads[2], 3u);

    cpuid.reads.clear();
    cpuid.leaves[2] = {{0x000008FF, 0, 0, 0}};
    expect_sizes(cpuid.sizes(2, 0), 16, -1, -1);
    EXPECT_EQ(cpuid.reads[2], 255u);
}

TEST_F(CacheLeaves, Read_leaf_2_once_if_its_lowest_byte_is_0) {
    cpuid.leaves[2] = {{0x00000800, 0, 0, 0}, {0x00430000, 0, 0, 0}};
    expect_sizes(cpuid.sizes(2, 0), 16, -1, -1);
    EXPECT_EQ(cpuid.reads[2], 1u);
}

// 32 KB data and 32 KB instructions, 1.25 MB, 24 MB.
const std::vector<CpuidRegisters> kLeaf4 = {
    {0x1C004121, 0x01C0103F, 31, 0}, // two partitions of half the size
    {0x1C004122, 0x01C0003F, 63, 0},    {0x1C01C143, 0x04C0003F, 1023, 0},
    {0x1C03C163, 0x02C0003F, 32767, 0}, {0x1C03C160, 0x02C0003F, 32767, 0}, // type 0: the end
};

TEST_F(CacheLeaves, Come_from_leaf_4_where_leaf_2_refers_to_it) {
    cpuid.leaves[2] = {{0x00FEFF01, 0xF0, 0, 0}};
    cpuid.leaves[4] = kLeaf4;
    expect_sizes(cpuid.sizes(4, 0), 64, 1280, 24576);
}

TEST_F(CacheLeaves, Leaf_4_completes_what_other_leaves_lack) {
    cpuid.leaves[2] = {{0x00FEFF01, 0x43, 0, 0}};
    cpuid.leaves[4] = kLeaf4;
    expect_sizes(cpuid.sizes(4, 0), 64, 512, 24576);
    cpuid.leaves[2] = {{0x00FEFF01, 0x23, 0, 0}};
    expect_sizes(cpuid.sizes(4, 0), 64, 1280, 1024);
}

TEST_F(CacheLeaves, Leaf_4_is_left_alone_where_leaf_2_doesn_t_refer_to_it) {
    cpuid.leaves[2] = {{0x00FE0801, 0, 0, 0}};
    expect_sizes(cpuid.sizes(4, 0), 16, -1, -1);
    cpuid.reads.clear();
    cpuid.leaves[2] = {{0x00FF0801, 0, 0, 0}};
    expect_sizes(cpuid.sizes(3, 0), 16, -1, -1);
}

TEST_F(CacheLeaves, Endless_leaf_4_comes_to_an_end) {
    cpuid.leaves[2] = {{0x0000FF01, 0, 0, 0}};
    cpuid.leaves[4] = {{0xFFFFFF7F, 0xFFFFFFFF, 0xFFFFFFFF, 0}}; // of level 3, as large as can be said
    expect_sizes(cpuid.sizes(4, 0), -1, -1, 0x7FFFFFFF);
}

} // namespace
