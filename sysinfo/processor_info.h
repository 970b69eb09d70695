// CProcessorInfo: what the processor is and what it can do.
#pragma once

#include <stdint.h>

#include "base/std_string.h"
#include "sysinfo/cpuid_source.h"
#include "sysinfo/processor_caches.h"
#include "sysinfo/processor_clock.h"
#include "sysinfo/processor_names.h"

namespace sysinfo {

// Where an identification gets its facts. The last says whether the operating system lets SSE instructions run; it is
// asked only on a processor that has them.
struct ProcessorSources {
    CpuidSource& cpuid;
    ClockSource& clock;
    bool (*sse_usable)();
};

} // namespace sysinfo

// Identified once, by the constructor; nothing changes later. Without the CPUID instruction the vendor is unknown, the
// texts are empty, no feature is present and the counts are -1. All texts are Windows-1252 bytes.
class CProcessorInfo {
public:
    // Bits of HasFeature.
    enum Feature : uint32_t {
        kMmx = 1,
        kMmxPlus = 2,
        kSse = 4, // the processor has it, whatever the operating system says
        kSse2 = 8,
        k3DNow = 16,
        k3DNowPlus = 32,
        kIa64 = 64,
        kMultiprocessor = 128,
        kHyperThreading = 256,
        kSerialNumber = 0x200,
        kLocalApic = 0x400,
        kSseUsable = 0x800,
        kAmdMmx = 0x1000,
        kCmov = 0x2000,
        kMtrr = 0x4000,
    };

    // Codes of GetCacheSize.
    enum CacheLevel : uint32_t {
        kL1 = 0x8000,
        kL2 = 0x10000,
        kL3 = 0x20000,
    };

    // This machine's processor, with about 50 ms of measuring its clock.
    CProcessorInfo();
    explicit CProcessorInfo(const sysinfo::ProcessorSources& sources);

    int GetVendor() const { return m_vendor; } // an index of sysinfo::vendor_of
    const char* GetVendorId() const { return m_vendor_id; }
    const char* GetManufacturer() const { return sysinfo::manufacturer_of(m_vendor); }

    uint32_t GetFamily() const { return m_signature.family; }
    uint32_t GetModel() const { return m_signature.model; }
    uint32_t GetStepping() const { return m_stepping; }
    uint32_t GetExtendedFamily() const { return m_signature.extended_family; }

    // Gives the name of the tables and returns 1, or 0 if it is only the text for an unknown processor.
    int GetName(const char** name) const;
    // The processor's own brand string, at most 48 characters, leading blanks included; if it has none, the name.
    const char* GetExtendedName() const { return m_has_brand ? m_brand : m_name; }

    // Whether any of these features is present.
    bool HasFeature(uint32_t mask) const { return (m_features & mask) != 0; }
    // EDX of CPUID leaf 1 as it is, with the bits that aren't told apart above; 0 without that leaf.
    uint32_t GetStandardFeatures() const { return m_standard_features; }

    // Logical processors in the package: 1 without Hyper-Threading, -1 if not known.
    int GetLogicalProcessors() const { return m_logical_processors; }
    // The identifier of the local APIC, -1 without one.
    int GetApicId() const { return m_apic_id; }
    // Kilobytes, see sysinfo::CacheSizes; -1 if not known and for any other code.
    int GetCacheSize(uint32_t level) const;
    // The measured clock in MHz, 0 if it could not be measured.
    int GetClock() const { return m_clock; }
    // Six groups of four hexadecimal digits: the signature, then the two words of the number, most significant first.
    // Empty without a serial number.
    const char* GetSerialNumber() const { return m_serial_number.c_str(); }

    // The section of the report.
    CStdString GetText() const;

private:
    void Identify(const sysinfo::ProcessorSources& sources); // all but the clock
    void MeasureClock(sysinfo::ClockSource& clock);
    void ReadStandardFeatures(const sysinfo::CpuidRegisters& leaf1);
    void ReadBrand(sysinfo::CpuidSource& cpuid);
    void ReadExtendedFeatures(uint32_t bits);
    void ReadSerialNumber(sysinfo::CpuidSource& cpuid, uint32_t signature);
    void ReadName();
    void SetFeature(Feature feature, uint32_t bits, int bit);

    int m_vendor = sysinfo::kVendorOther;
    char m_vendor_id[13] = "";
    sysinfo::ProcessorSignature m_signature = {};
    uint32_t m_stepping = 0;
    const char* m_name = "";
    bool m_name_known = false;
    char m_brand[49] = "";
    bool m_has_brand = false;
    uint32_t m_features = 0;
    uint32_t m_standard_features = 0;
    int m_logical_processors = -1;
    int m_apic_id = -1;
    sysinfo::CacheSizes m_caches;
    int m_clock = 0;
    CStdString m_serial_number;
};
