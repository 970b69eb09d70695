// The vendors and names of processors. Pure tables; the texts are Windows-1252 bytes.
#pragma once

#include <stdint.h>

namespace sysinfo {

// Vendor indexes as the names below are keyed by them.
constexpr int kVendorAmd = 0;
constexpr int kVendorIntel = 1;
constexpr int kVendorCyrix = 4;
constexpr int kVendorOther = -1;

// The index of the vendor with this 12-character identification, kVendorOther if there is none.
int vendor_of(const char* identification);

// The maker of a vendor index, "Unknown Manufacturer" for one that is none.
const char* manufacturer_of(int vendor);

// The fields are the raw bits of CPUID leaf 1: family bits 8 to 11, model bits 4 to 7, extended family bits 20 to 27,
// not added up. The brand flag is the multiprocessor bit of the extended leaf.
struct ProcessorSignature {
    uint32_t family;
    uint32_t model;
    uint32_t extended_family;
    bool brand_flag;
};

struct ProcessorName {
    const char* text; // never null
    bool known;       // false for the texts that begin with "Unknown"
};

// The name may be known and empty: an Intel family 15 of a later extended family has none.
ProcessorName name_of(int vendor, const ProcessorSignature& signature);

} // namespace sysinfo
