#include "sysinfo/processor_names.h"

#include <string.h>

namespace sysinfo {

namespace {

constexpr int kGeode = 2;
constexpr int kUmc = 3;
constexpr int kNexGen = 5;
constexpr int kCentaur = 6;
constexpr int kRise = 7;
constexpr int kTransmeta = 8;

struct VendorRow {
    const char* identification;
    int vendor;
};

constexpr VendorRow kVendors[] = {
    {"GenuineIntel", kVendorIntel}, {"UMC UMC UMC ", kUmc},         {"AuthenticAMD", kVendorAmd},
    {"AMD ISBETTER", kVendorAmd},   {"CyrixInstead", kVendorCyrix}, {"NexGenDriven", kNexGen},
    {"CentaurHauls", kCentaur},     {"RiseRiseRise", kRise},        {"GenuineTMx86", kTransmeta},
    {"Geode By NSC", kGeode},
};

constexpr const char* kManufacturers[] = {
    "Advanced Micro Devices",
    "Intel Corporation",
    "National Semiconductor",
    "United Microelectronics Corp.",
    "Cyrix Corp., VIA Inc.",
    "NexGen Inc., Advanced Micro Devices",
    "IDT\\Centaur, Via Inc.",
    "Rise",
    "Transmeta",
};

// A row matches what agrees in every column that isn't "any"; the first match counts, so a group's row for all other
// models stands behind its named ones.
constexpr int any = -1;
constexpr int kClear = 0;
constexpr int kSet = 1;

struct NameRow {
    int8_t vendor;
    int8_t family;
    int8_t model;
    int8_t extended_family;
    int8_t brand_flag;
    const char* name;
};

// In the names, \xAE is the registered sign, \x99 the trade mark and \xB5 the micro sign.
constexpr NameRow kNames[] = {
    {kVendorAmd, 4, 3, any, any, "80486DX2"},
    {kVendorAmd, 4, 7, any, any, "80486DX2 WriteBack"},
    {kVendorAmd, 4, 8, any, any, "80486DX4"},
    {kVendorAmd, 4, 9, any, any, "80486DX4 WriteBack"},
    {kVendorAmd, 4, 14, any, any, "5x86"},
    {kVendorAmd, 4, 15, any, any, "5x86WB"},
    {kVendorAmd, 4, any, any, any, "Unknown 80486 family"},
    {kVendorAmd, 5, 0, any, any, "SSA5 (PR75, PR90, PR100)"},
    {kVendorAmd, 5, 1, any, any, "5k86 (PR120, PR133)"},
    {kVendorAmd, 5, 2, any, any, "5k86 (PR166)"},
    {kVendorAmd, 5, 3, any, any, "5k86 (PR200)"},
    {kVendorAmd, 5, 6, any, any, "K6 (0.30 \xB5m)"},
    {kVendorAmd, 5, 7, any, any, "K6 (0.25 \xB5m)"},
    {kVendorAmd, 5, 8, any, any, "K6-2"},
    {kVendorAmd, 5, 9, any, any, "K6-III"},
    {kVendorAmd, 5, 13, any, any, "K6-2+ or K6-III+ (0.18 \xB5m)"},
    {kVendorAmd, 5, any, any, any, "Unknown 80586 family"},
    {kVendorAmd, 6, 1, any, any, "Athlon\x99 (0.25 \xB5m)"},
    {kVendorAmd, 6, 2, any, any, "Athlon\x99 (0.18 \xB5m)"},
    {kVendorAmd, 6, 3, any, any, "Duron\x99 (SF core)"},
    {kVendorAmd, 6, 4, any, any, "Athlon\x99 (Thunderbird core)"},
    {kVendorAmd, 6, 6, any, any, "Athlon\x99 (Palomino core)"},
    {kVendorAmd, 6, 7, any, any, "Duron\x99 (Morgan core)"},
    {kVendorAmd, 6, 8, any, kSet, "Athlon\x99 MP (Thoroughbred core)"},
    {kVendorAmd, 6, 8, any, kClear, "Athlon\x99 XP (Thoroughbred core)"},
    {kVendorAmd, 6, any, any, any, "Unknown K7 family"},
    {kVendorAmd, any, any, any, any, "Unknown AMD family"},

    {kVendorIntel, 3, any, any, any, "Newer i80386 family"},
    {kVendorIntel, 4, 0, any, any, "i80486DX-25/33"},
    {kVendorIntel, 4, 1, any, any, "i80486DX-50"},
    {kVendorIntel, 4, 2, any, any, "i80486SX"},
    {kVendorIntel, 4, 3, any, any, "i80486DX2"},
    {kVendorIntel, 4, 4, any, any, "i80486SL"},
    {kVendorIntel, 4, 5, any, any, "i80486SX2"},
    {kVendorIntel, 4, 7, any, any, "i80486DX2 WriteBack"},
    {kVendorIntel, 4, 8, any, any, "i80486DX4"},
    {kVendorIntel, 4, 9, any, any, "i80486DX4 WriteBack"},
    {kVendorIntel, 4, any, any, any, "Unknown 80486 family"},
    {kVendorIntel, 5, 0, any, any, "P5 A-Step"},
    {kVendorIntel, 5, 1, any, any, "P5"},
    {kVendorIntel, 5, 2, any, any, "P54C"},
    {kVendorIntel, 5, 3, any, any, "P24T OverDrive"},
    {kVendorIntel, 5, 4, any, any, "P55C"},
    {kVendorIntel, 5, 7, any, any, "P54C"},
    {kVendorIntel, 5, 8, any, any, "P55C (0.25\xB5m)"},
    {kVendorIntel, 5, any, any, any, "Unknown Pentium\xAE family"},
    {kVendorIntel, 6, 0, any, any, "P6 A-Step"},
    {kVendorIntel, 6, 1, any, any, "P6"},
    {kVendorIntel, 6, 3, any, any, "Pentium\xAE II (0.28 \xB5m)"},
    {kVendorIntel, 6, 5, any, any, "Pentium\xAE II (0.25 \xB5m)"},
    {kVendorIntel, 6, 6, any, any, "Pentium\xAE II With On-Die L2 Cache"},
    {kVendorIntel, 6, 7, any, any, "Pentium\xAE III (0.25 \xB5m)"},
    // Kept: the blanks at the end of these three.
    {kVendorIntel, 6, 8, any, any, "Pentium\xAE III (0.18 \xB5m) With 256 KB On-Die L2 Cache "},
    {kVendorIntel, 6, 10, any, any, "Pentium\xAE III (0.18 \xB5m) With 1 Or 2 MB On-Die L2 Cache "},
    {kVendorIntel, 6, 11, any, any, "Pentium\xAE III (0.13 \xB5m) With 256 Or 512 KB On-Die L2 Cache "},
    {kVendorIntel, 6, any, any, any, "Unknown P6 family"},
    {kVendorIntel, 7, any, any, any, "Intel Merced (IA-64)"},
    {kVendorIntel, 15, 0, 0, any, "Pentium\xAE IV (0.18 \xB5m)"},
    {kVendorIntel, 15, 1, 0, any, "Pentium\xAE IV (0.18 \xB5m)"},
    {kVendorIntel, 15, 2, 0, any, "Pentium\xAE IV (0.13 \xB5m)"},
    {kVendorIntel, 15, any, 0, any, "Unknown Pentium 4 family"},
    {kVendorIntel, 15, any, 1, any, "Intel McKinley (IA-64)"},
    {kVendorIntel, 15, any, any, any, ""},
    {kVendorIntel, any, any, any, any, "Unknown Intel family"},

    {kGeode, any, any, any, any, "Cx486SLC \\ DLC \\ Cx486S A-Step"}, // Kept: another maker's processor.

    {kUmc, 4, 1, any, any, "U5D"},
    {kUmc, 4, 2, any, any, "U5S"},
    {kUmc, any, any, any, any, "Unknown UMC family"},

    {kVendorCyrix, 4, 4, any, any, "MediaGX GX, GXm"},
    {kVendorCyrix, 4, 9, any, any, "5x86"},
    {kVendorCyrix, 4, any, any, any, "Unknown Cx5x86 family"},
    {kVendorCyrix, 5, 2, any, any, "Cx6x86"},
    {kVendorCyrix, 5, 4, any, any, "MediaGX GXm"},
    {kVendorCyrix, 5, any, any, any, "Unknown Cx6x86 family"},
    {kVendorCyrix, 6, 0, any, any, "6x86MX"},
    {kVendorCyrix, 6, 5, any, any, "Cyrix M2 Core"},
    {kVendorCyrix, 6, 6, any, any, "WinChip C5A Core"},
    {kVendorCyrix, 6, 7, any, any, "WinChip C5B\\C5C Core"},
    {kVendorCyrix, 6, 8, any, any, "WinChip C5C-T Core"},
    {kVendorCyrix, 6, any, any, any, "Unknown 6x86MX\\Cyrix III family"},
    {kVendorCyrix, any, any, any, any, "Unknown Cyrix family"},

    {kNexGen, 5, 0, any, any, "Nx586 or Nx586FPU"},
    {kNexGen, any, any, any, any, "Unknown NexGen family"},

    {kCentaur, 5, 4, any, any, "C6"},
    {kCentaur, 5, 8, any, any, "C2"},
    {kCentaur, 5, 9, any, any, "C3"},
    {kCentaur, 6, 6, any, any, "VIA Cyrix III - Samuel"},
    {kCentaur, any, any, any, any, "Unknown IDT\\Centaur family"},

    {kRise, 5, 0, any, any, "mP6 (0.25 \xB5m)"},
    {kRise, 5, 2, any, any, "mP6 (0.18 \xB5m)"},
    {kRise, any, any, any, any, "Unknown Rise family"},

    {kTransmeta, 5, 4, any, any, "Crusoe TM3x00 and TM5x00"},
    {kTransmeta, 5, any, any, any, "Unknown Crusoe family"},
    {kTransmeta, any, any, any, any, "Unknown Transmeta family"},
};

bool agrees(int column, uint32_t value) {
    return column == any || static_cast<uint32_t>(column) == value;
}

bool matches(const NameRow& row, int vendor, const ProcessorSignature& signature) {
    return row.vendor == vendor && agrees(row.family, signature.family) && agrees(row.model, signature.model) &&
           agrees(row.extended_family, signature.extended_family) && agrees(row.brand_flag, signature.brand_flag);
}

} // namespace

int vendor_of(const char* identification) {
    for (const VendorRow& row : kVendors)
        if (strcmp(row.identification, identification) == 0)
            return row.vendor;
    return kVendorOther;
}

const char* manufacturer_of(int vendor) {
    constexpr int count = sizeof(kManufacturers) / sizeof(kManufacturers[0]);
    return vendor >= 0 && vendor < count ? kManufacturers[vendor] : "Unknown Manufacturer";
}

ProcessorName name_of(int vendor, const ProcessorSignature& signature) {
    constexpr char unknown[] = "Unknown";
    for (const NameRow& row : kNames)
        if (matches(row, vendor, signature))
            return {row.name, strncmp(row.name, unknown, sizeof(unknown) - 1) != 0};
    return {"Unknown family", false};
}

} // namespace sysinfo
