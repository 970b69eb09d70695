// Tables of rows, of which the first that matches gives the name. A name that begins with "Unknown" is none.
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
constexpr int kAny = -1;
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
    {kVendorAmd, 4, 3, kAny, kAny, "80486DX2"},
    {kVendorAmd, 4, 7, kAny, kAny, "80486DX2 WriteBack"},
    {kVendorAmd, 4, 8, kAny, kAny, "80486DX4"},
    {kVendorAmd, 4, 9, kAny, kAny, "80486DX4 WriteBack"},
    {kVendorAmd, 4, 14, kAny, kAny, "5x86"},
    {kVendorAmd, 4, 15, kAny, kAny, "5x86WB"},
    {kVendorAmd, 4, kAny, kAny, kAny, "Unknown 80486 family"},
    {kVendorAmd, 5, 0, kAny, kAny, "SSA5 (PR75, PR90, PR100)"},
    {kVendorAmd, 5, 1, kAny, kAny, "5k86 (PR120, PR133)"},
    {kVendorAmd, 5, 2, kAny, kAny, "5k86 (PR166)"},
    {kVendorAmd, 5, 3, kAny, kAny, "5k86 (PR200)"},
    {kVendorAmd, 5, 6, kAny, kAny, "K6 (0.30 \xB5m)"},
    {kVendorAmd, 5, 7, kAny, kAny, "K6 (0.25 \xB5m)"},
    {kVendorAmd, 5, 8, kAny, kAny, "K6-2"},
    {kVendorAmd, 5, 9, kAny, kAny, "K6-III"},
    {kVendorAmd, 5, 13, kAny, kAny, "K6-2+ or K6-III+ (0.18 \xB5m)"},
    {kVendorAmd, 5, kAny, kAny, kAny, "Unknown 80586 family"},
    {kVendorAmd, 6, 1, kAny, kAny, "Athlon\x99 (0.25 \xB5m)"},
    {kVendorAmd, 6, 2, kAny, kAny, "Athlon\x99 (0.18 \xB5m)"},
    {kVendorAmd, 6, 3, kAny, kAny, "Duron\x99 (SF core)"},
    {kVendorAmd, 6, 4, kAny, kAny, "Athlon\x99 (Thunderbird core)"},
    {kVendorAmd, 6, 6, kAny, kAny, "Athlon\x99 (Palomino core)"},
    {kVendorAmd, 6, 7, kAny, kAny, "Duron\x99 (Morgan core)"},
    {kVendorAmd, 6, 8, kAny, kSet, "Athlon\x99 MP (Thoroughbred core)"},
    {kVendorAmd, 6, 8, kAny, kClear, "Athlon\x99 XP (Thoroughbred core)"},
    {kVendorAmd, 6, kAny, kAny, kAny, "Unknown K7 family"},
    {kVendorAmd, kAny, kAny, kAny, kAny, "Unknown AMD family"},

    {kVendorIntel, 3, kAny, kAny, kAny, "Newer i80386 family"},
    {kVendorIntel, 4, 0, kAny, kAny, "i80486DX-25/33"},
    {kVendorIntel, 4, 1, kAny, kAny, "i80486DX-50"},
    {kVendorIntel, 4, 2, kAny, kAny, "i80486SX"},
    {kVendorIntel, 4, 3, kAny, kAny, "i80486DX2"},
    {kVendorIntel, 4, 4, kAny, kAny, "i80486SL"},
    {kVendorIntel, 4, 5, kAny, kAny, "i80486SX2"},
    {kVendorIntel, 4, 7, kAny, kAny, "i80486DX2 WriteBack"},
    {kVendorIntel, 4, 8, kAny, kAny, "i80486DX4"},
    {kVendorIntel, 4, 9, kAny, kAny, "i80486DX4 WriteBack"},
    {kVendorIntel, 4, kAny, kAny, kAny, "Unknown 80486 family"},
    {kVendorIntel, 5, 0, kAny, kAny, "P5 A-Step"},
    {kVendorIntel, 5, 1, kAny, kAny, "P5"},
    {kVendorIntel, 5, 2, kAny, kAny, "P54C"},
    {kVendorIntel, 5, 3, kAny, kAny, "P24T OverDrive"},
    {kVendorIntel, 5, 4, kAny, kAny, "P55C"},
    {kVendorIntel, 5, 7, kAny, kAny, "P54C"},
    {kVendorIntel, 5, 8, kAny, kAny, "P55C (0.25\xB5m)"},
    {kVendorIntel, 5, kAny, kAny, kAny, "Unknown Pentium\xAE family"},
    {kVendorIntel, 6, 0, kAny, kAny, "P6 A-Step"},
    {kVendorIntel, 6, 1, kAny, kAny, "P6"},
    {kVendorIntel, 6, 3, kAny, kAny, "Pentium\xAE II (0.28 \xB5m)"},
    {kVendorIntel, 6, 5, kAny, kAny, "Pentium\xAE II (0.25 \xB5m)"},
    {kVendorIntel, 6, 6, kAny, kAny, "Pentium\xAE II With On-Die L2 Cache"},
    {kVendorIntel, 6, 7, kAny, kAny, "Pentium\xAE III (0.25 \xB5m)"},
    // Kept: the blanks at the end of these three.
    {kVendorIntel, 6, 8, kAny, kAny, "Pentium\xAE III (0.18 \xB5m) With 256 KB On-Die L2 Cache "},
    {kVendorIntel, 6, 10, kAny, kAny, "Pentium\xAE III (0.18 \xB5m) With 1 Or 2 MB On-Die L2 Cache "},
    {kVendorIntel, 6, 11, kAny, kAny, "Pentium\xAE III (0.13 \xB5m) With 256 Or 512 KB On-Die L2 Cache "},
    {kVendorIntel, 6, kAny, kAny, kAny, "Unknown P6 family"},
    {kVendorIntel, 7, kAny, kAny, kAny, "Intel Merced (IA-64)"},
    {kVendorIntel, 15, 0, 0, kAny, "Pentium\xAE IV (0.18 \xB5m)"},
    {kVendorIntel, 15, 1, 0, kAny, "Pentium\xAE IV (0.18 \xB5m)"},
    {kVendorIntel, 15, 2, 0, kAny, "Pentium\xAE IV (0.13 \xB5m)"},
    {kVendorIntel, 15, kAny, 0, kAny, "Unknown Pentium 4 family"},
    {kVendorIntel, 15, kAny, 1, kAny, "Intel McKinley (IA-64)"},
    {kVendorIntel, 15, kAny, kAny, kAny, ""},
    {kVendorIntel, kAny, kAny, kAny, kAny, "Unknown Intel family"},

    {kGeode, kAny, kAny, kAny, kAny, "Cx486SLC \\ DLC \\ Cx486S A-Step"}, // Kept: another maker's processor.

    {kUmc, 4, 1, kAny, kAny, "U5D"},
    {kUmc, 4, 2, kAny, kAny, "U5S"},
    {kUmc, kAny, kAny, kAny, kAny, "Unknown UMC family"},

    {kVendorCyrix, 4, 4, kAny, kAny, "MediaGX GX, GXm"},
    {kVendorCyrix, 4, 9, kAny, kAny, "5x86"},
    {kVendorCyrix, 4, kAny, kAny, kAny, "Unknown Cx5x86 family"},
    {kVendorCyrix, 5, 2, kAny, kAny, "Cx6x86"},
    {kVendorCyrix, 5, 4, kAny, kAny, "MediaGX GXm"},
    {kVendorCyrix, 5, kAny, kAny, kAny, "Unknown Cx6x86 family"},
    {kVendorCyrix, 6, 0, kAny, kAny, "6x86MX"},
    {kVendorCyrix, 6, 5, kAny, kAny, "Cyrix M2 Core"},
    {kVendorCyrix, 6, 6, kAny, kAny, "WinChip C5A Core"},
    {kVendorCyrix, 6, 7, kAny, kAny, "WinChip C5B\\C5C Core"},
    {kVendorCyrix, 6, 8, kAny, kAny, "WinChip C5C-T Core"},
    {kVendorCyrix, 6, kAny, kAny, kAny, "Unknown 6x86MX\\Cyrix III family"},
    {kVendorCyrix, kAny, kAny, kAny, kAny, "Unknown Cyrix family"},

    {kNexGen, 5, 0, kAny, kAny, "Nx586 or Nx586FPU"},
    {kNexGen, kAny, kAny, kAny, kAny, "Unknown NexGen family"},

    {kCentaur, 5, 4, kAny, kAny, "C6"},
    {kCentaur, 5, 8, kAny, kAny, "C2"},
    {kCentaur, 5, 9, kAny, kAny, "C3"},
    {kCentaur, 6, 6, kAny, kAny, "VIA Cyrix III - Samuel"},
    {kCentaur, kAny, kAny, kAny, kAny, "Unknown IDT\\Centaur family"},

    {kRise, 5, 0, kAny, kAny, "mP6 (0.25 \xB5m)"},
    {kRise, 5, 2, kAny, kAny, "mP6 (0.18 \xB5m)"},
    {kRise, kAny, kAny, kAny, kAny, "Unknown Rise family"},

    {kTransmeta, 5, 4, kAny, kAny, "Crusoe TM3x00 and TM5x00"},
    {kTransmeta, 5, kAny, kAny, kAny, "Unknown Crusoe family"},
    {kTransmeta, kAny, kAny, kAny, kAny, "Unknown Transmeta family"},
};

bool agrees(int column, uint32_t value) {
    return column == kAny || static_cast<uint32_t>(column) == value;
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
    constexpr int kCount = sizeof(kManufacturers) / sizeof(kManufacturers[0]);
    return vendor >= 0 && vendor < kCount ? kManufacturers[vendor] : "Unknown Manufacturer";
}

ProcessorName name_of(int vendor, const ProcessorSignature& signature) {
    constexpr char kUnknown[] = "Unknown";
    for (const NameRow& row : kNames)
        if (matches(row, vendor, signature))
            return {row.name, strncmp(row.name, kUnknown, sizeof(kUnknown) - 1) != 0};
    return {"Unknown family", false};
}

} // namespace sysinfo
