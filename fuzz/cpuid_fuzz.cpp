// A processor that answers every CPUID leaf with bytes of the input. Whatever it claims, the identification ends, its
// numbers are in their ranges, and its text has the fixed lines and a bounded length.
#include <string.h>

#include <initializer_list>

#include "sysinfo/processor_info.h"
#include "testing/cxx/require.h"

namespace {

class FuzzedCpuid : public sysinfo::CpuidSource {
public:
    FuzzedCpuid(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    bool available() override { return true; }
    sysinfo::CpuidRegisters read(uint32_t, uint32_t) override {
        sysinfo::CpuidRegisters registers = {};
        const size_t n = m_size < sizeof(registers) ? m_size : sizeof(registers);
        if (n)
            memcpy(&registers, m_data, n);
        m_data += n;
        m_size -= n;
        return registers;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
};

class FastClock : public sysinfo::ClockSource {
public:
    bool time_stamp_usable() override { return true; }
    uint64_t time_stamp() override { return m_now * 3; }
    uint64_t counter() override { return m_now += 1000; }
    uint64_t frequency() override { return 1000000; }
    void scan_bits(uint32_t) override { m_now += 1000; }

private:
    uint64_t m_now = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedCpuid cpuid(data, size);
    FastClock clock;
    const CProcessorInfo info({cpuid, clock, [] { return false; }});

    require(info.GetVendor() >= -1 && info.GetVendor() <= 8);
    require(info.GetLogicalProcessors() == -1 ||
            (info.GetLogicalProcessors() > 0 && info.GetLogicalProcessors() < 256));
    require(info.GetApicId() >= -1 && info.GetApicId() < 256);
    require(info.GetClock() >= 0);
    for (uint32_t level : {CProcessorInfo::kL1, CProcessorInfo::kL2, CProcessorInfo::kL3})
        require(info.GetCacheSize(level) >= -1);
    require(strlen(info.GetVendorId()) <= 12);
    require(strlen(info.GetExtendedName()) <= 64);
    require(strlen(info.GetSerialNumber()) == (info.GetSerialNumber()[0] ? 29 : 0));

    const CStdString text = info.GetText();
    require(text.length() < 600);
    require(text.find("\nVendor: ") == 0);
    require(text.find("\nL3 cache size: ") > 0);
    return 0;
}
