// Whole processors, as CPUID describes them, and the text they get.
#include <gtest/gtest.h>

#include <string>

#include "testing/cxx/recorded_processor.h"

namespace {

using Leaves = std::vector<RecordedLeaf>;

// The lines of the text, in its order.
struct Text {
    std::string vendor, id, name;
    int clock, logical, stepping;
    std::string mmx, mmx_plus, sse, sse2, now3d, now3d_plus, ia64, hyper_threading;
    int l1, l2, l3;

    std::string str() const {
        const auto n = [](int value) { return std::to_string(value); };
        return "\nVendor: " + vendor + "\nVendor ID: " + id + "\nExtended Processor Name: " + name +
               "\nProcesor Clock Frequecy: " + n(clock) + "\nLogical processors per physical: " + n(logical) +
               "\nStepping code: " + n(stepping) + "\nMMX support: " + mmx + "\nMMX+ support: " + mmx_plus +
               "\nSSE support: " + sse + "\nSSE2 support: " + sse2 + "\n3DNow suppor: " + now3d +
               "\n3DNow+ suppor: " + now3d_plus + "\nAI64 support: " + ia64 +
               "\nHyperthreading support: " + hyper_threading + "\nL1 cache size: " + n(l1) +
               "\nL2 cache size: " + n(l2) + "\nL3 cache size: " + n(l3) + "\n";
    }
};

struct Recording {
    const char* name;
    Leaves leaves;
    Text text;
};

const Recording kRecordings[] = {
    {"I486WithoutCpuid",
     {},
     {"Unknown Manufacturer", "", "", 0, -1, 0, "no", "no", "no", "no", "no", "no", "no", "no", -1, -1, -1}},

    {"I486DX4WithoutTimeStamps",
     Leaves{leaf_0(1, "GenuineIntel"), {1, {0x00000480, 0, 0, 0x00000003}}, {0x80000000, {0x00000480, 0, 0, 3}}},
     {"Intel Corporation", "GenuineIntel", "i80486DX4", 448, 1, 0, "no", "no", "no", "no", "no", "no", "no", "no", -1,
      -1, -1}},

    {"PentiumIII",
     Leaves{leaf_0(3, "GenuineIntel"),
            {1, {0x00000673, 0x00000000, 0x00000000, 0x0387FBFF}},
            {2, {0x03020101, 0x00000000, 0x00000000, 0x0C040843}},
            {3, {0x00000000, 0x00000000, 0x4E9F1A2B, 0x0001C5D3}},
            {0x80000000, {0x00000000, 0x00000000, 0x4E9F1A2B, 0x0001C5D3}}},
     {"Intel Corporation", "GenuineIntel", "Pentium\xAE III (0.25 \xB5m)", 1000, 1, 3, "yes", "no", "yes", "no", "no",
      "no", "no", "no", 32, 512, -1}},

    {"Pentium4WithHyperThreading",
     Leaves{leaf_0(2, "GenuineIntel"),
            {1, {0x00000F29, 0x00020809, 0x00004400, 0xBFEBFBFF}},
            {2, {0x665B5001, 0x00000000, 0x00000000, 0x007B7040}},
            {0x80000000, {0x80000004, 0, 0, 0}}} +
         brand_leaves("              Intel(R) Pentium(R) 4 CPU 3.06GHz"),
     {"Intel Corporation", "GenuineIntel", "              Intel(R) Pentium(R) 4 CPU 3.06GHz", 1000, 2, 9, "yes", "no",
      "yes", "yes", "no", "no", "no", "yes", 8, 512, 0}},

    {"K6Two",
     Leaves{leaf_0(1, "AuthenticAMD"),
            {1, {0x0000058C, 0, 0, 0x008021BF}},
            {0x80000000, {0x80000005, 0, 0, 0}},
            {0x80000001, {0x0000068C, 0, 0, 0x808029BF}},
            {0x80000005, {0x00000000, 0x02800140, 0x20020220, 0x20020220}}} +
         brand_leaves("AMD-K6(tm) 3D processor"),
     {"Advanced Micro Devices", "AuthenticAMD", "AMD-K6(tm) 3D processor", 1000, 1, 12, "yes", "no", "no", "no", "yes",
      "no", "no", "no", 64, -1, -1}},

    {"AthlonXP",
     Leaves{leaf_0(1, "AuthenticAMD"),
            {1, {0x00000681, 0, 0, 0x0383FBFF}},
            {0x80000000, {0x80000008, 0, 0, 0}},
            {0x80000001, {0x00000781, 0, 0, 0xC1C3FBFF}},
            {0x80000005, {0x0408FF08, 0xFF20FF10, 0x40020140, 0x40020140}},
            {0x80000006, {0x00000000, 0x41004100, 0x01008140, 0x00000000}}} +
         brand_leaves("AMD Athlon(tm) XP 2000+"),
     {"Advanced Micro Devices", "AuthenticAMD", "AMD Athlon(tm) XP 2000+", 1000, 1, 1, "yes", "yes", "yes", "no", "yes",
      "yes", "no", "no", 128, 256, -1}},

    {"AthlonMP",
     Leaves{leaf_0(1, "AuthenticAMD"),
            {1, {0x00000680, 0, 0, 0x0383FBFF}},
            {0x80000000, {0x80000008, 0, 0, 0}},
            {0x80000001, {0x00000780, 0, 0, 0xC1CBFBFF}},
            {0x80000005, {0x0408FF08, 0xFF20FF10, 0x40020140, 0x40020140}},
            {0x80000006, {0x00000000, 0x41004100, 0x01008140, 0x00000000}}} +
         brand_leaves("AMD Athlon(tm) MP 2000+"),
     {"Advanced Micro Devices", "AuthenticAMD", "AMD Athlon(tm) MP 2000+", 1000, 1, 0, "yes", "yes", "yes", "no", "yes",
      "yes", "no", "no", 128, 256, -1}},

    {"Cyrix6x86MX",
     Leaves{leaf_0(1, "CyrixInstead"), {1, {0x00000600, 0, 0, 0x0080A135}}, {0x80000000, {0, 0, 0, 0}}},
     {"Cyrix Corp., VIA Inc.", "CyrixInstead", "6x86MX", 1000, 1, 0, "yes", "no", "no", "no", "no", "no", "no", "no",
      -1, -1, -1}},

    {"TransmetaCrusoe",
     Leaves{leaf_0(1, "GenuineTMx86"),
            {1, {0x00000543, 0, 0, 0x0080893F}},
            {0x80000000, {0x80000006, 0, 0, 0}},
            {0x80000001, {0x00000543, 0, 0, 0x0080893F}},
            {0x80000005, {0x00000000, 0x04FF0000, 0x40080120, 0x40080120}},
            {0x80000006, {0x00000000, 0x00000000, 0x02004120, 0x00000000}}} +
         brand_leaves("Transmeta(tm) Crusoe(tm) Processor TM5600"),
     {"Transmeta", "GenuineTMx86", "Transmeta(tm) Crusoe(tm) Processor TM5600", 1000, 1, 3, "yes", "no", "no", "no",
      "no", "no", "no", "no", 128, 512, -1}},

    // Leaf 2 still describes nothing but translation buffers here, and refers to leaf 4.
    {"CoreI7OfTheEighthGeneration",
     Leaves{leaf_0(0x16, "GenuineIntel"),
            {1, {0x000906EA, 0x00100800, 0x7FFAFBBF, 0xBFEBFBFF}},
            {2, {0x76036301, 0x00F0B5FF, 0x00000000, 0x00C30000}},
            {4, {0x1C004121, 0x01C0003F, 0x0000003F, 0x00000000}, 0},
            {4, {0x1C004122, 0x01C0003F, 0x0000003F, 0x00000000}, 1},
            {4, {0x1C004143, 0x00C0003F, 0x000003FF, 0x00000000}, 2},
            {4, {0x1C03C163, 0x02C0003F, 0x00003FFF, 0x00000006}, 3},
            {4, {0x00000000, 0x00000000, 0x00000000, 0x00000000}, 4},
            {0x80000000, {0x80000008, 0, 0, 0}},
            {0x80000005, {0, 0, 0, 0}},
            {0x80000006, {0, 0, 0x01006040, 0}}} +
         brand_leaves("Intel(R) Core(TM) i7-8700K CPU @ 3.70GHz"),
     {"Intel Corporation", "GenuineIntel", "Intel(R) Core(TM) i7-8700K CPU @ 3.70GHz", 1000, 16, 10, "yes", "no", "yes",
      "yes", "no", "no", "no", "yes", 64, 256, 12288}},

    {"CoreI9OfThe13thGeneration",
     Leaves{leaf_0(0x20, "GenuineIntel"),
            {1, {0x000B0671, 0x00800800, 0x7FFAFBBF, 0xBFEBFBFF}},
            {2, {0x00FEFF01, 0x000000F0, 0x00000000, 0x00000000}},
            {4, {0x7C004121, 0x02C0003F, 0x0000003F, 0x00000000}, 0},
            {4, {0x7C004122, 0x01C0003F, 0x0000003F, 0x00000000}, 1},
            {4, {0x7C01C143, 0x03C0003F, 0x000007FF, 0x00000000}, 2},
            {4, {0x7C0FC163, 0x02C0003F, 0x0000BFFF, 0x00000004}, 3},
            {4, {0x00000000, 0x00000000, 0x00000000, 0x00000000}, 4},
            {0x80000000, {0x80000008, 0, 0, 0}},
            {0x80000005, {0, 0, 0, 0}},
            {0x80000006, {0, 0, 0x08007040, 0}}} +
         brand_leaves("13th Gen Intel(R) Core(TM) i9-13900K"),
     {"Intel Corporation", "GenuineIntel", "13th Gen Intel(R) Core(TM) i9-13900K", 1000, 128, 1, "yes", "no", "yes",
      "yes", "no", "no", "no", "yes", 80, 2048, 36864}},

    {"Ryzen9",
     Leaves{leaf_0(0x10, "AuthenticAMD"),
            {1, {0x00A60F12, 0x00200800, 0x7EF8320B, 0x178BFBFF}},
            {2, {0, 0, 0, 0}},
            {0x80000000, {0x80000028, 0x68747541, 0x444D4163, 0x69746E65}},
            {0x80000001, {0x00A60F12, 0x00000000, 0x75C237FF, 0x2FD3FBFF}},
            {0x80000005, {0xFF48FF40, 0xFF48FF40, 0x20080140, 0x20080140}},
            {0x80000006, {0x5C002200, 0x6C004200, 0x04006140, 0x02009140}}} +
         brand_leaves("AMD Ryzen 9 7950X 16-Core Processor            "),
     {"Advanced Micro Devices", "AuthenticAMD", "AMD Ryzen 9 7950X 16-Core Processor            ", 1000, 32, 2, "yes",
      "yes", "yes", "yes", "no", "no", "no", "yes", 64, 1024, -1}},
};

class RecordedProcessor : public testing::TestWithParam<Recording> {};

TEST_P(RecordedProcessor, Has_its_text) {
    EXPECT_EQ(identified(GetParam().leaves).GetText().c_str(), GetParam().text.str());
}

INSTANTIATE_TEST_SUITE_P(Of, RecordedProcessor, testing::ValuesIn(kRecordings),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(RecordedPentiumIII, Has_its_serial_number) {
    const Recording& recording = kRecordings[2];
    ASSERT_STREQ(recording.name, "PentiumIII");
    EXPECT_STREQ(identified(recording.leaves).GetSerialNumber(), "0000-0673-0001-c5d3-4e9f-1a2b");
}

} // namespace
