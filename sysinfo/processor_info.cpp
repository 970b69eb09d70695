// Reads the leaves of CPUID one after another, as far as the processor says that there are any. A leaf that is missing
// leaves its fields at their defaults.
#include "sysinfo/processor_info.h"

#include <string.h>

using sysinfo::CpuidRegisters;
using sysinfo::CpuidSource;

namespace {

constexpr int kTimeStampBit = 4;

const char* yes_or_no(bool value) {
    return value ? "yes" : "no";
}

// 0 if the processor has no extended leaves: what the older ones answer to the question isn't one of their numbers.
uint32_t highest_extended_leaf(CpuidSource& cpuid) {
    const uint32_t answer = cpuid.read(0x80000000, 0).eax;
    return answer >> 16 == 0x8000 ? answer : 0;
}

} // namespace

CProcessorInfo::CProcessorInfo(const sysinfo::ProcessorSources& sources) {
    Identify(sources);
    MeasureClock(sources.clock);
}

void CProcessorInfo::Identify(const sysinfo::ProcessorSources& sources) {
    CpuidSource& cpuid = sources.cpuid;
    if (!cpuid.available())
        return;
    const CpuidRegisters leaf0 = cpuid.read(0, 0);
    const uint32_t highest = leaf0.eax;
    const uint32_t highest_extended = highest_extended_leaf(cpuid);
    // The twelve letters of the vendor's identification lie in this order.
    const uint32_t identification[] = {leaf0.ebx, leaf0.edx, leaf0.ecx};
    memcpy(m_vendor_id, identification, sizeof(identification));
    m_vendor = sysinfo::vendor_of(m_vendor_id);

    CpuidRegisters leaf1 = {};
    if (highest >= 1)
        leaf1 = cpuid.read(1, 0);
    ReadStandardFeatures(leaf1);
    if (HasFeature(kSse) && sources.sse_usable())
        m_features |= kSseUsable;

    m_caches = sysinfo::read_cache_sizes(cpuid, highest, highest_extended, GetFamily(), GetModel());
    if (highest_extended >= 0x80000004)
        ReadBrand(cpuid);
    if (m_vendor != sysinfo::kVendorIntel && highest_extended >= 0x80000001)
        ReadExtendedFeatures(cpuid.read(0x80000001, 0).edx);
    ReadName(); // after the extended features, which have the brand flag
    if (HasFeature(kSerialNumber) && highest >= 3)
        ReadSerialNumber(cpuid, leaf1.eax);
}

void CProcessorInfo::MeasureClock(sysinfo::ClockSource& clock) {
    m_clock = sysinfo::measure_clock(clock, sysinfo::bit_field(m_standard_features, kTimeStampBit, 1), GetFamily());
}

void CProcessorInfo::ReadStandardFeatures(const CpuidRegisters& leaf1) {
    m_stepping = sysinfo::bit_field(leaf1.eax, 0, 4);
    m_signature.model = sysinfo::bit_field(leaf1.eax, 4, 4);
    m_signature.family = sysinfo::bit_field(leaf1.eax, 8, 4);
    m_signature.extended_family = sysinfo::bit_field(leaf1.eax, 20, 8);

    m_standard_features = leaf1.edx;
    // By the numbers that the processor makers' manuals give to the bits of leaf 1's EDX.
    SetFeature(kLocalApic, leaf1.edx, 9);
    SetFeature(kMtrr, leaf1.edx, 12);
    SetFeature(kCmov, leaf1.edx, 15);
    SetFeature(kSerialNumber, leaf1.edx, 18);
    SetFeature(kMmx, leaf1.edx, 23);
    SetFeature(kSse, leaf1.edx, 25);
    SetFeature(kSse2, leaf1.edx, 26);
    SetFeature(kHyperThreading, leaf1.edx, 28);
    SetFeature(kIa64, leaf1.edx, 30);

    const int counted = static_cast<int>(sysinfo::bit_field(leaf1.ebx, 16, 8));
    if (!HasFeature(kHyperThreading))
        m_logical_processors = 1;
    else if (counted != 0)
        m_logical_processors = counted;
    if (HasFeature(kLocalApic))
        m_apic_id = static_cast<int>(sysinfo::bit_field(leaf1.ebx, 24, 8));
}

void CProcessorInfo::ReadBrand(CpuidSource& cpuid) {
    for (uint32_t i = 0; i < 3; ++i) {
        const CpuidRegisters part = cpuid.read(0x80000002 + i, 0);
        memcpy(m_brand + i * sizeof(part), &part, sizeof(part));
    }
    m_has_brand = true;
}

void CProcessorInfo::ReadExtendedFeatures(uint32_t bits) {
    // By those of leaf 0x80000001's EDX; which bit stands for the larger MMX is each maker's own.
    SetFeature(kMultiprocessor, bits, 19);
    SetFeature(kAmdMmx, bits, 22);
    SetFeature(k3DNowPlus, bits, 30);
    SetFeature(k3DNow, bits, 31);
    if (m_vendor == sysinfo::kVendorAmd)
        SetFeature(kMmxPlus, bits, 22);
    else if (m_vendor == sysinfo::kVendorCyrix)
        SetFeature(kMmxPlus, bits, 24);
    m_signature.brand_flag = HasFeature(kMultiprocessor);
}

void CProcessorInfo::ReadName() {
    const sysinfo::ProcessorName name = sysinfo::name_of(m_vendor, m_signature);
    m_name = name.text;
    m_name_known = name.known;
}

void CProcessorInfo::ReadSerialNumber(CpuidSource& cpuid, uint32_t signature) {
    const CpuidRegisters leaf = cpuid.read(3, 0);
    // It has 96 bits: the upper 32 are the signature, the others come from leaf 3.
    unsigned bytes[12];
    const uint32_t words[] = {signature, leaf.edx, leaf.ecx};
    for (int i = 0; i < 12; ++i)
        bytes[i] = sysinfo::bit_field(words[i / 4], 24 - i % 4 * 8, 8);
    m_serial_number.format("%.2x%.2x-%.2x%.2x-%.2x%.2x-%.2x%.2x-%.2x%.2x-%.2x%.2x", bytes[0], bytes[1], bytes[2],
                           bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8], bytes[9], bytes[10], bytes[11]);
}

void CProcessorInfo::SetFeature(Feature feature, uint32_t bits, int bit) {
    if (sysinfo::bit_field(bits, bit, 1))
        m_features |= feature;
}

int CProcessorInfo::GetName(const char** name) const {
    *name = m_name;
    return m_name_known ? 1 : 0;
}

int CProcessorInfo::GetCacheSize(uint32_t level) const {
    switch (level) {
    case kL1:
        return m_caches.l1;
    case kL2:
        return m_caches.l2;
    case kL3:
        return m_caches.l3;
    default:
        return -1;
    }
}

CStdString CProcessorInfo::GetText() const {
    CStdString text;
    text.format("\nVendor: %s\nVendor ID: %s\nExtended Processor Name: %s\nProcesor Clock Frequecy: %d\n"
                "Logical processors per physical: %d\nStepping code: %d\nMMX support: %s\nMMX+ support: %s\n"
                "SSE support: %s\nSSE2 support: %s\n3DNow suppor: %s\n3DNow+ suppor: %s\nAI64 support: %s\n"
                "Hyperthreading support: %s\nL1 cache size: %d\nL2 cache size: %d\nL3 cache size: %d\n",
                GetManufacturer(), m_vendor_id, GetExtendedName(), m_clock, m_logical_processors,
                static_cast<int>(m_stepping), yes_or_no(HasFeature(kMmx)), yes_or_no(HasFeature(kMmxPlus)),
                yes_or_no(HasFeature(kSse)), yes_or_no(HasFeature(kSse2)), yes_or_no(HasFeature(k3DNow)),
                yes_or_no(HasFeature(k3DNowPlus)), yes_or_no(HasFeature(kIa64)), yes_or_no(HasFeature(kHyperThreading)),
                m_caches.l1, m_caches.l2, m_caches.l3);
    return text;
}
