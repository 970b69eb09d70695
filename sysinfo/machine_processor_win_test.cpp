#include <gtest/gtest.h>

#include <cpuid.h>
#include <string.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "sysinfo/machine_processor.h"
#include "sysinfo/processor_info.h"
#include "sysinfo/std_info.h"

namespace {

using sysinfo::CpuidRegisters;
using sysinfo::MachineCpuid;

TEST(MachineCpuid, Answers_what_the_instruction_answers) {
    for (uint32_t leaf : {0u, 1u, 0x80000000u, 0x80000001u, 0x80000002u, 0x80000003u, 0x80000004u}) {
        unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
        __cpuid_count(leaf, 0, eax, ebx, ecx, edx);
        const CpuidRegisters registers = MachineCpuid().read(leaf, 0);
        EXPECT_EQ(registers.eax, eax);
        EXPECT_EQ(registers.ecx, ecx);
        EXPECT_EQ(registers.edx, edx);
        // The two highest bytes of leaf 1 differ from one logical processor to the next.
        EXPECT_EQ(registers.ebx & 0xFFFF, ebx & 0xFFFF);
    }
}

TEST(MachineCpuid, Passes_the_subleaf_on) {
    MachineCpuid cpuid;
    if (cpuid.read(0, 0).eax < 0xD)
        GTEST_SKIP() << "this processor has no leaf with subleaves of its own";
    const CpuidRegisters first = cpuid.read(0xD, 0), second = cpuid.read(0xD, 1);
    EXPECT_NE(memcmp(&first, &second, sizeof(first)), 0);
}

TEST(MachineClock, Scans_bits_as_often_as_told) {
    sysinfo::MachineClock clock;
    clock.scan_bits(1);
    const auto duration = [&](uint32_t count) {
        const uint64_t start = clock.time_stamp();
        clock.scan_bits(count);
        return clock.time_stamp() - start;
    };
    std::vector<uint64_t> few, many;
    for (int i = 0; i < 9; ++i) {
        few.push_back(duration(10000));
        many.push_back(duration(1000000));
    }
    // A hundred times as long, give or take what else the machine does.
    const double ratio = static_cast<double>(*std::min_element(many.begin(), many.end())) /
                         static_cast<double>(*std::min_element(few.begin(), few.end()));
    EXPECT_GT(ratio, 30);
    EXPECT_LT(ratio, 300);
}

uint64_t counter() {
    LARGE_INTEGER value;
    QueryPerformanceCounter(&value);
    return static_cast<uint64_t>(value.QuadPart);
}

uint64_t frequency() {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return static_cast<uint64_t>(value.QuadPart);
}

struct Moment {
    uint64_t ticks;   // of the time-stamp counter
    uint64_t counter; // at the same time
};

// Both counters read so close together that no other thread came between.
Moment now() {
    for (;;) {
        const uint64_t before = counter();
        const uint64_t ticks = __builtin_ia32_rdtsc();
        const uint64_t after = counter();
        if (after - before < frequency() / 10000 + 2)
            return {ticks, before + (after - before) / 2};
    }
}

// The rate of the time-stamp counter, over as long as the measurement under test took.
class ReferenceClock {
public:
    ReferenceClock() : m_start(now()) {}
    double megahertz() const {
        const Moment end = now();
        const double seconds = static_cast<double>(end.counter - m_start.counter) / static_cast<double>(frequency());
        return static_cast<double>(end.ticks - m_start.ticks) / seconds / 1e6;
    }

private:
    const Moment m_start;
};

TEST(ProcessorOfThisMachine, Clock_agrees_with_the_time_stamp_counter) {
    const ReferenceClock reference;
    std::vector<int> measured;
    for (int i = 0; i < 5; ++i)
        measured.push_back(CProcessorInfo().GetClock());
    std::sort(measured.begin(), measured.end());
    const double expected = reference.megahertz();
    RecordProperty("megahertz", measured[2]);
    EXPECT_NEAR(measured[2], expected, expected * 0.02);
}

TEST(ProcessorOfThisMachine, Is_the_one_that_CPUID_names) {
    unsigned words[4];
    __cpuid(0, words[0], words[1], words[3], words[2]);
    const CProcessorInfo info;
    EXPECT_EQ(std::string(reinterpret_cast<char*>(words + 1), 12), info.GetVendorId());
    char brand[49] = "";
    for (unsigned i = 0; i < 3; ++i) {
        __cpuid(0x80000002 + i, words[0], words[1], words[2], words[3]);
        memcpy(brand + i * 16, words, 16);
    }
    EXPECT_STREQ(info.GetExtendedName(), brand);
    __cpuid(1, words[0], words[1], words[2], words[3]);
    EXPECT_EQ(info.GetStepping(), words[0] & 15);
    EXPECT_EQ(info.HasFeature(CProcessorInfo::kSse2), (words[3] >> 26 & 1) != 0);
}

TEST(ProcessorOfThisMachine, Runs_the_instructions_that_its_programs_use) {
    EXPECT_TRUE(sysinfo::sse_runs());
    EXPECT_TRUE(sysinfo::time_stamp_counter_runs());
    EXPECT_TRUE(CProcessorInfo().HasFeature(CProcessorInfo::kSseUsable));
}

TEST(ProcessorOfThisMachine, Is_in_the_section_of_the_report) {
    const auto info = std::make_unique<CStdInfo>();
    const std::string text = info->GetCpuInfoText().c_str();
    const CProcessorInfo again;
    EXPECT_NE(text.find("\nVendor ID: " + std::string(again.GetVendorId()) + "\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nExtended Processor Name: " + std::string(again.GetExtendedName()) + "\n"),
              std::string::npos);
}

} // namespace
