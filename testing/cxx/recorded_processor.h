// Test support: a processor that answers from a recording.
#pragma once

#include <gtest/gtest.h>

#include <string.h>

#include <vector>

#include "sysinfo/cpuid_source.h"
#include "sysinfo/processor_clock.h"
#include "sysinfo/processor_info.h"

struct RecordedLeaf {
    uint32_t leaf;
    sysinfo::CpuidRegisters registers;
    uint32_t subleaf = 0;
};

// A test that reads a leaf which the processor doesn't have fails.
class RecordedCpuid : public sysinfo::CpuidSource {
public:
    explicit RecordedCpuid(std::vector<RecordedLeaf> leaves) : m_leaves(std::move(leaves)) {}

    bool available() override { return !m_leaves.empty(); }
    sysinfo::CpuidRegisters read(uint32_t leaf, uint32_t subleaf) override {
        for (const RecordedLeaf& recorded : m_leaves)
            if (recorded.leaf == leaf && recorded.subleaf == subleaf)
                return recorded.registers;
        ADD_FAILURE() << "leaf " << std::hex << leaf << " was not recorded";
        return {};
    }

private:
    std::vector<RecordedLeaf> m_leaves;
};

// Leaf 0: the number of the highest leaf and the 12 characters of the vendor.
inline RecordedLeaf leaf_0(uint32_t highest, const char* vendor) {
    RecordedLeaf leaf = {0, {highest, 0, 0, 0}};
    memcpy(&leaf.registers.ebx, vendor, 4);
    memcpy(&leaf.registers.edx, vendor + 4, 4);
    memcpy(&leaf.registers.ecx, vendor + 8, 4);
    return leaf;
}

// The three leaves of a brand string.
inline std::vector<RecordedLeaf> brand_leaves(const char* text) {
    char padded[49] = "";
    strncpy(padded, text, 48);
    std::vector<RecordedLeaf> leaves;
    for (uint32_t i = 0; i < 3; ++i) {
        RecordedLeaf leaf = {0x80000002 + i, {}};
        memcpy(&leaf.registers, padded + i * 16, 16);
        leaves.push_back(leaf);
    }
    return leaves;
}

inline std::vector<RecordedLeaf> operator+(std::vector<RecordedLeaf> left, const std::vector<RecordedLeaf>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// 1000 MHz by the time-stamp counter; by bit scans, which take a second, what the family gives.
class SteadyClock : public sysinfo::ClockSource {
public:
    bool time_stamp_usable() override { return true; }
    uint64_t time_stamp() override { return m_now * 1001; } // the looks at the counter cost one in a thousand
    uint64_t counter() override { return m_now += 1; }
    uint64_t frequency() override { return 1000000; }
    void scan_bits(uint32_t) override { m_now += 999999; }

private:
    uint64_t m_now = 0;
};

inline bool sse_works() {
    return true;
}
inline bool sse_is_off() {
    return false;
}

inline CProcessorInfo identified(std::vector<RecordedLeaf> leaves, bool (*sse_usable)() = sse_works) {
    RecordedCpuid cpuid(std::move(leaves));
    SteadyClock clock;
    return CProcessorInfo({cpuid, clock, sse_usable});
}
