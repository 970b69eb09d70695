#include <gtest/gtest.h>

#include <string>

#include "testing/cxx/recorded_processor.h"

namespace {

const RecordedLeaf kNoExtendedLeaves = {0x80000000, {0, 0, 0, 0}};

CProcessorInfo with_features(const char* vendor, uint32_t leaf1_edx, uint32_t extended_edx = 0,
                             bool (*sse_usable)() = sse_works) {
    return identified({leaf_0(1, vendor),
                       {1, {0x00000512, 0x07030000, 0, leaf1_edx}},
                       {0x80000000, {0x80000001, 0, 0, 0}},
                       {0x80000001, {0, 0, 0, extended_edx}}},
                      sse_usable);
}

constexpr uint32_t kAllFeatures = 0x7FFF;

TEST(ProcessorInfo, Knows_nothing_of_a_processor_without_CPUID) {
    const CProcessorInfo info = identified({});
    EXPECT_EQ(info.GetVendor(), -1);
    EXPECT_STREQ(info.GetVendorId(), "");
    EXPECT_STREQ(info.GetManufacturer(), "Unknown Manufacturer");
    EXPECT_STREQ(info.GetExtendedName(), "");
    const char* name = nullptr;
    EXPECT_EQ(info.GetName(&name), 0);
    EXPECT_STREQ(name, "");
    EXPECT_STREQ(info.GetSerialNumber(), "");
    EXPECT_FALSE(info.HasFeature(~0u));
    EXPECT_EQ(info.GetStandardFeatures(), 0u);
    EXPECT_EQ(info.GetLogicalProcessors(), -1);
    EXPECT_EQ(info.GetApicId(), -1);
    EXPECT_EQ(info.GetClock(), 0);
    for (uint32_t level : {0x8000, 0x10000, 0x20000})
        EXPECT_EQ(info.GetCacheSize(level), -1);
}

TEST(ProcessorInfo, Takes_the_signature_as_raw_bits) {
    const CProcessorInfo info = identified({leaf_0(1, "GenuineIntel"), {1, {0xFFF3F5A7, 0, 0, 0}}, kNoExtendedLeaves});
    EXPECT_EQ(info.GetStepping(), 7u);
    EXPECT_EQ(info.GetModel(), 10u);
    EXPECT_EQ(info.GetFamily(), 5u);
    EXPECT_EQ(info.GetExtendedFamily(), 0xFFu);
}

TEST(ProcessorInfo, Each_standard_bit_is_one_feature) {
    const struct {
        int bit;
        uint32_t features;
    } rows[] = {
        {23, 1},      // MMX
        {25, 4},      // SSE
        {26, 8},      // SSE2
        {30, 64},     // IA-64
        {28, 256},    // Hyper-Threading
        {18, 0x200},  // serial number
        {9, 0x400},   // local APIC
        {15, 0x2000}, // CMOV
        {12, 0x4000}, // MTRR
    };
    uint32_t known_bits = 0;
    for (const auto& row : rows) {
        const CProcessorInfo info = with_features("GenuineTMx86", 1u << row.bit, 0, sse_is_off);
        EXPECT_TRUE(info.HasFeature(row.features)) << row.bit;
        EXPECT_FALSE(info.HasFeature(~row.features)) << row.bit;
        known_bits |= 1u << row.bit;
    }
    EXPECT_FALSE(with_features("GenuineTMx86", ~known_bits).HasFeature(~0u));
}

TEST(ProcessorInfo, Keeps_the_standard_bits_as_they_are) {
    EXPECT_EQ(with_features("GenuineTMx86", 0x20400000).GetStandardFeatures(), 0x20400000u); // bits 22 and 29
    EXPECT_EQ(with_features("GenuineTMx86", 0xFFFFFFFF).GetStandardFeatures(), 0xFFFFFFFF);
}

TEST(ProcessorInfo, Each_extended_bit_is_one_feature_but_for_Intel) {
    const struct {
        int bit;
        uint32_t other, amd, cyrix;
    } rows[] = {
        {31, 16, 16, 16},                 // 3DNow
        {30, 32, 32, 32},                 // 3DNow+
        {19, 128, 128, 128},              // multiprocessor
        {22, 0x1000, 0x1000 | 2, 0x1000}, // AMD's MMX, and for AMD it is MMX+
        {24, 0, 0, 2},                    // MMX+ for Cyrix
    };
    uint32_t known_bits = 0;
    for (const auto& row : rows) {
        const struct {
            const char* vendor;
            uint32_t features;
        } vendors[] = {{"CentaurHauls", row.other}, {"SomeoneElse!", row.other}, {"AuthenticAMD", row.amd},
                       {"AMD ISBETTER", row.amd},   {"CyrixInstead", row.cyrix}, {"GenuineIntel", 0}};
        for (const auto& vendor : vendors) {
            const CProcessorInfo info = with_features(vendor.vendor, 0, 1u << row.bit);
            for (uint32_t feature = 1; feature <= kAllFeatures; feature <<= 1)
                EXPECT_EQ(info.HasFeature(feature), (vendor.features & feature) != 0)
                    << vendor.vendor << " bit " << row.bit << " feature " << feature;
        }
        known_bits |= 1u << row.bit;
    }
    EXPECT_FALSE(with_features("CyrixInstead", 0, ~known_bits).HasFeature(~0u));
}

TEST(ProcessorInfo, Any_feature_of_a_mask_answers_the_query) {
    const CProcessorInfo info = with_features("GenuineTMx86", 1u << 23);
    EXPECT_TRUE(info.HasFeature(1 | 8));
    EXPECT_FALSE(info.HasFeature(2 | 8));
    EXPECT_FALSE(info.HasFeature(0));
}

bool g_asked;
bool note_the_question() {
    g_asked = true;
    return true;
}

TEST(ProcessorInfo, Sse_is_usable_if_the_operating_system_runs_it) {
    EXPECT_TRUE(with_features("GenuineIntel", 1u << 25, 0, sse_works).HasFeature(0x800));
    const CProcessorInfo off = with_features("GenuineIntel", 1u << 25, 0, sse_is_off);
    EXPECT_FALSE(off.HasFeature(0x800));
    EXPECT_TRUE(off.HasFeature(4));
    g_asked = false;
    EXPECT_FALSE(with_features("GenuineIntel", 1u << 26, 0, note_the_question).HasFeature(0x800));
    EXPECT_FALSE(g_asked);
}

TEST(ProcessorInfo, Counts_logical_processors_only_with_Hyper_Threading) {
    EXPECT_EQ(with_features("GenuineIntel", 1u << 28).GetLogicalProcessors(), 3);
    EXPECT_EQ(with_features("GenuineIntel", ~(1u << 28)).GetLogicalProcessors(), 1);
    const CProcessorInfo uncounted =
        identified({leaf_0(1, "GenuineIntel"), {1, {0x512, 0xFF00FFFF, 0, 1u << 28}}, kNoExtendedLeaves});
    EXPECT_EQ(uncounted.GetLogicalProcessors(), -1);
}

TEST(ProcessorInfo, Has_an_APIC_identifier_only_with_a_local_APIC) {
    EXPECT_EQ(with_features("GenuineIntel", 1u << 9).GetApicId(), 7);
    EXPECT_EQ(with_features("GenuineIntel", 1u << 28).GetApicId(), -1);
}

TEST(ProcessorInfo, Measures_by_time_stamps_where_there_are_some) {
    EXPECT_EQ(with_features("GenuineIntel", 1u << 4).GetClock(), 1000);
    EXPECT_EQ(with_features("GenuineIntel", ~(1u << 4)).GetClock(), 410);
}

TEST(ProcessorInfo, Serial_number_is_the_signature_and_two_words) {
    const CProcessorInfo info = identified({leaf_0(3, "GenuineIntel"),
                                            {1, {0xA1B2C673, 0, 0, 1u << 18}},
                                            {2, {1, 0, 0, 0}},
                                            {3, {0xFFFFFFFF, 0xFFFFFFFF, 0x0A0B0C0D, 0x12345678}},
                                            kNoExtendedLeaves});
    EXPECT_STREQ(info.GetSerialNumber(), "a1b2-c673-1234-5678-0a0b-0c0d");
}

TEST(ProcessorInfo, Serial_number_needs_its_feature_and_its_leaf) {
    const CProcessorInfo switched_off = identified(
        {leaf_0(3, "GenuineIntel"), {1, {0x673, 0, 0, 0}}, {2, {1, 0, 0, 0}}, {3, {1, 2, 3, 4}}, kNoExtendedLeaves});
    EXPECT_STREQ(switched_off.GetSerialNumber(), "");
    const CProcessorInfo no_leaf =
        identified({leaf_0(2, "GenuineIntel"), {1, {0x673, 0, 0, 1u << 18}}, {2, {1, 0, 0, 0}}, kNoExtendedLeaves});
    EXPECT_STREQ(no_leaf.GetSerialNumber(), "");
}

TEST(ProcessorInfo, Brand_string_of_48_characters_needs_no_terminator) {
    const std::string brand = "  48 characters, and no terminator behind them!!";
    ASSERT_EQ(brand.size(), 48u);
    const CProcessorInfo info =
        identified(std::vector<RecordedLeaf>{
                       leaf_0(1, "GenuineIntel"), {1, {0x00000F29, 0, 0, 0}}, {0x80000000, {0x80000004, 0, 0, 0}}} +
                   brand_leaves(brand.c_str()));
    EXPECT_STREQ(info.GetExtendedName(), brand.c_str());
    const char* name = nullptr;
    EXPECT_EQ(info.GetName(&name), 1);
    EXPECT_STREQ(name, "Pentium\xAE IV (0.13 \xB5m)");
}

TEST(ProcessorInfo, Name_stands_in_for_a_missing_brand_string) {
    const CProcessorInfo info = identified(
        {leaf_0(1, "AuthenticAMD"), {1, {0x00000512, 0, 0, 0}}, {0x80000000, {0x80000003, 0, 0, 0}}, {0x80000001, {}}});
    EXPECT_STREQ(info.GetExtendedName(), "5k86 (PR120, PR133)");
}

TEST(ProcessorInfo, Unknown_name_is_told_from_a_known_one) {
    const CProcessorInfo nobody = with_features("NoSuchVendor", 0);
    const char* name = nullptr;
    EXPECT_EQ(nobody.GetName(&name), 0);
    EXPECT_STREQ(name, "Unknown family");
    EXPECT_STREQ(nobody.GetExtendedName(), "Unknown family");
    const CProcessorInfo pentium = with_features("GenuineIntel", 0);
    EXPECT_EQ(pentium.GetName(&name), 1);
    EXPECT_STREQ(name, "P5");
}

TEST(ProcessorInfo, Brand_flag_chooses_between_the_Athlons) {
    const auto name_with = [](uint32_t extended_edx) {
        const CProcessorInfo info = identified({leaf_0(1, "AuthenticAMD"),
                                                {1, {0x00000681, 0, 0, 0}},
                                                {0x80000000, {0x80000001, 0, 0, 0}},
                                                {0x80000001, {0, 0, 0, extended_edx}}});
        return std::string(info.GetExtendedName());
    };
    EXPECT_EQ(name_with(1u << 19), "Athlon\x99 MP (Thoroughbred core)");
    EXPECT_EQ(name_with(~(1u << 19)), "Athlon\x99 XP (Thoroughbred core)");
}

TEST(ProcessorInfo, Answer_of_another_leaf_is_no_number_of_an_extended_leaf) {
    for (uint32_t answer : {0x03020101u, 0x7FFFFFFFu, 0x80860004u, 0xFFFFFFFFu, 0x80010004u}) {
        const CProcessorInfo info =
            identified({leaf_0(1, "AuthenticAMD"), {1, {0x588, 0, 0, 0}}, {0x80000000, {answer, 0, 0, 0}}});
        EXPECT_STREQ(info.GetExtendedName(), "K6-2");
    }
}

TEST(ProcessorInfo, Vendor_alone_is_known_where_leaf_0_is_all_there_is) {
    const CProcessorInfo info = identified({leaf_0(0, "CyrixInstead"), kNoExtendedLeaves});
    EXPECT_EQ(info.GetVendor(), 4);
    EXPECT_STREQ(info.GetExtendedName(), "Unknown Cyrix family");
    EXPECT_EQ(info.GetLogicalProcessors(), 1);
}

TEST(ProcessorInfo, Cache_query_knows_three_codes) {
    const CProcessorInfo info = identified(
        {leaf_0(2, "GenuineIntel"), {1, {0x00000F29, 0, 0, 0}}, {2, {0x00660801, 0x43, 0x23, 0}}, kNoExtendedLeaves});
    EXPECT_EQ(info.GetCacheSize(0x8000), 24);
    EXPECT_EQ(info.GetCacheSize(0x10000), 512);
    EXPECT_EQ(info.GetCacheSize(0x20000), 1024);
    for (uint32_t code : {0u, 1u, 0x4000u, 0x18000u, 0x40000u, ~0u})
        EXPECT_EQ(info.GetCacheSize(code), -1);
}

} // namespace
