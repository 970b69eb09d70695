#include <gtest/gtest.h>

#include <string>

#include "sysinfo/processor_names.h"

namespace {

using sysinfo::manufacturer_of;
using sysinfo::name_of;
using sysinfo::ProcessorName;
using sysinfo::ProcessorSignature;
using sysinfo::vendor_of;

TEST(ProcessorVendor, Is_known_by_its_twelve_characters) {
    const struct {
        const char* identification;
        int vendor;
        const char* manufacturer;
    } rows[] = {
        {"GenuineIntel", 1, "Intel Corporation"},
        {"UMC UMC UMC ", 3, "United Microelectronics Corp."},
        {"AuthenticAMD", 0, "Advanced Micro Devices"},
        {"AMD ISBETTER", 0, "Advanced Micro Devices"},
        {"CyrixInstead", 4, "Cyrix Corp., VIA Inc."},
        {"NexGenDriven", 5, "NexGen Inc., Advanced Micro Devices"},
        {"CentaurHauls", 6, "IDT\\Centaur, Via Inc."},
        {"RiseRiseRise", 7, "Rise"},
        {"GenuineTMx86", 8, "Transmeta"},
        {"Geode By NSC", 2, "National Semiconductor"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(vendor_of(row.identification), row.vendor) << row.identification;
        EXPECT_STREQ(manufacturer_of(row.vendor), row.manufacturer);
    }
}

TEST(ProcessorVendor, Is_unknown_with_any_other_identification) {
    for (const char* identification :
         {"", "GenuineIntem", "genuineintel", "UMC UMC UMC", "HygonGenuine", "GenuineIntel "}) {
        const int vendor = vendor_of(identification);
        EXPECT_TRUE(vendor < 0 || vendor > 8) << identification;
        EXPECT_STREQ(manufacturer_of(vendor), "Unknown Manufacturer");
    }
    EXPECT_STREQ(manufacturer_of(9), "Unknown Manufacturer");
}

struct Name {
    int vendor;
    unsigned family, model;
    const char* name;
};

// Of a family every model that isn't listed, of a vendor every family.
constexpr unsigned kAny = ~0u;

const Name kNames[] = {
    {0, 4, 3, "80486DX2"},
    {0, 4, 7, "80486DX2 WriteBack"},
    {0, 4, 8, "80486DX4"},
    {0, 4, 9, "80486DX4 WriteBack"},
    {0, 4, 14, "5x86"},
    {0, 4, 15, "5x86WB"},
    {0, 5, 0, "SSA5 (PR75, PR90, PR100)"},
    {0, 5, 1, "5k86 (PR120, PR133)"},
    {0, 5, 2, "5k86 (PR166)"},
    {0, 5, 3, "5k86 (PR200)"},
    {0, 5, 6, "K6 (0.30 \xB5m)"},
    {0, 5, 7, "K6 (0.25 \xB5m)"},
    {0, 5, 8, "K6-2"},
    {0, 5, 9, "K6-III"},
    {0, 5, 13, "K6-2+ or K6-III+ (0.18 \xB5m)"},
    {0, 6, 1, "Athlon\x99 (0.25 \xB5m)"},
    {0, 6, 2, "Athlon\x99 (0.18 \xB5m)"},
    {0, 6, 3, "Duron\x99 (SF core)"},
    {0, 6, 4, "Athlon\x99 (Thunderbird core)"},
    {0, 6, 6, "Athlon\x99 (Palomino core)"},
    {0, 6, 7, "Duron\x99 (Morgan core)"},
    {1, 4, 0, "i80486DX-25/33"},
    {1, 4, 1, "i80486DX-50"},
    {1, 4, 2, "i80486SX"},
    {1, 4, 3, "i80486DX2"},
    {1, 4, 4, "i80486SL"},
    {1, 4, 5, "i80486SX2"},
    {1, 4, 7, "i80486DX2 WriteBack"},
    {1, 4, 8, "i80486DX4"},
    {1, 4, 9, "i80486DX4 WriteBack"},
    {1, 5, 0, "P5 A-Step"},
    {1, 5, 1, "P5"},
    {1, 5, 2, "P54C"},
    {1, 5, 3, "P24T OverDrive"},
    {1, 5, 4, "P55C"},
    {1, 5, 7, "P54C"},
    {1, 5, 8, "P55C (0.25\xB5m)"},
    {1, 6, 0, "P6 A-Step"},
    {1, 6, 1, "P6"},
    {1, 6, 3, "Pentium\xAE II (0.28 \xB5m)"},
    {1, 6, 5, "Pentium\xAE II (0.25 \xB5m)"},
    {1, 6, 6, "Pentium\xAE II With On-Die L2 Cache"},
    {1, 6, 7, "Pentium\xAE III (0.25 \xB5m)"},
    {1, 6, 8, "Pentium\xAE III (0.18 \xB5m) With 256 KB On-Die L2 Cache "},
    {1, 6, 10, "Pentium\xAE III (0.18 \xB5m) With 1 Or 2 MB On-Die L2 Cache "},
    {1, 6, 11, "Pentium\xAE III (0.13 \xB5m) With 256 Or 512 KB On-Die L2 Cache "},
    {3, 4, 1, "U5D"},
    {3, 4, 2, "U5S"},
    {4, 4, 4, "MediaGX GX, GXm"},
    {4, 4, 9, "5x86"},
    {4, 5, 2, "Cx6x86"},
    {4, 5, 4, "MediaGX GXm"},
    {4, 6, 0, "6x86MX"},
    {4, 6, 5, "Cyrix M2 Core"},
    {4, 6, 6, "WinChip C5A Core"},
    {4, 6, 7, "WinChip C5B\\C5C Core"},
    {4, 6, 8, "WinChip C5C-T Core"},
    {5, 5, 0, "Nx586 or Nx586FPU"},
    {6, 5, 4, "C6"},
    {6, 5, 8, "C2"},
    {6, 5, 9, "C3"},
    {6, 6, 6, "VIA Cyrix III - Samuel"},
    {7, 5, 0, "mP6 (0.25 \xB5m)"},
    {7, 5, 2, "mP6 (0.18 \xB5m)"},
    {8, 5, 4, "Crusoe TM3x00 and TM5x00"},
    {0, 4, kAny, "Unknown 80486 family"},
    {0, 5, kAny, "Unknown 80586 family"},
    {0, 6, kAny, "Unknown K7 family"},
    {1, 3, kAny, "Newer i80386 family"},
    {1, 4, kAny, "Unknown 80486 family"},
    {1, 5, kAny, "Unknown Pentium\xAE family"},
    {1, 6, kAny, "Unknown P6 family"},
    {1, 7, kAny, "Intel Merced (IA-64)"},
    {4, 4, kAny, "Unknown Cx5x86 family"},
    {4, 5, kAny, "Unknown Cx6x86 family"},
    {4, 6, kAny, "Unknown 6x86MX\\Cyrix III family"},
    {8, 5, kAny, "Unknown Crusoe family"},
    {0, kAny, kAny, "Unknown AMD family"},
    {1, kAny, kAny, "Unknown Intel family"},
    {2, kAny, kAny, "Cx486SLC \\ DLC \\ Cx486S A-Step"},
    {3, kAny, kAny, "Unknown UMC family"},
    {4, kAny, kAny, "Unknown Cyrix family"},
    {5, kAny, kAny, "Unknown NexGen family"},
    {6, kAny, kAny, "Unknown IDT\\Centaur family"},
    {7, kAny, kAny, "Unknown Rise family"},
    {8, kAny, kAny, "Unknown Transmeta family"},
};

std::string expected_name(int vendor, const ProcessorSignature& signature) {
    if (vendor == 1 && signature.family == 15) {
        if (signature.extended_family == 1)
            return "Intel McKinley (IA-64)";
        if (signature.extended_family != 0)
            return "";
        if (signature.model == 0 || signature.model == 1)
            return "Pentium\xAE IV (0.18 \xB5m)";
        return signature.model == 2 ? "Pentium\xAE IV (0.13 \xB5m)" : "Unknown Pentium 4 family";
    }
    if (vendor == 0 && signature.family == 6 && signature.model == 8)
        return signature.brand_flag ? "Athlon\x99 MP (Thoroughbred core)" : "Athlon\x99 XP (Thoroughbred core)";
    for (const Name& row : kNames) // the models come first
        if (row.vendor == vendor && (row.family == kAny || row.family == signature.family) &&
            (row.model == kAny || row.model == signature.model))
            return row.name;
    return "Unknown family";
}

TEST(ProcessorName, Follows_the_whole_table) {
    int checked = 0;
    for (int vendor = -1; vendor <= 9; ++vendor)
        for (unsigned family = 0; family < 16; ++family)
            for (unsigned model = 0; model < 16; ++model)
                for (unsigned extended_family : {0u, 1u, 2u, 255u})
                    for (bool brand_flag : {false, true}) {
                        const ProcessorSignature signature = {family, model, extended_family, brand_flag};
                        const std::string expected = expected_name(vendor, signature);
                        const ProcessorName name = name_of(vendor, signature);
                        ASSERT_EQ(name.text, expected) << "vendor " << vendor << " family " << family << " model "
                                                       << model << " extended family " << extended_family;
                        ASSERT_EQ(name.known, expected.rfind("Unknown", 0) != 0) << expected;
                        ++checked;
                    }
    EXPECT_EQ(checked, 11 * 16 * 16 * 4 * 2);
}

TEST(ProcessorName, Is_known_though_empty_for_a_later_Intel_family_15) {
    const ProcessorName name = name_of(1, {15, 3, 2, false});
    EXPECT_STREQ(name.text, "");
    EXPECT_TRUE(name.known);
}

} // namespace
