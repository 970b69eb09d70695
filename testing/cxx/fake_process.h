// For tests: memory made up of pieces, and a module in it whose code a test writes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

// What was put somewhere can be read, nothing else.
class FakeMemory : public Memory {
public:
    using Bytes = std::vector<std::uint8_t>;

    // Over an earlier piece as far as it lies within that; otherwise a piece of its own.
    void put(Address address, const Bytes& bytes) {
        for (Piece& piece : m_pieces)
            if (piece.holds(address, bytes.size())) {
                std::copy(bytes.begin(), bytes.end(), piece.bytes.begin() + (address - piece.begin));
                return;
            }
        m_pieces.push_back({address, bytes});
    }
    void fill(Address address, std::uint32_t size, std::uint8_t value) { put(address, Bytes(size, value)); }
    void put_u32(Address address, std::uint32_t value) { put(address, little_endian(value)); }

    void put_u64(Address address, std::uint64_t value) {
        put_u32(address, static_cast<std::uint32_t>(value));
        put_u32(address + 4, static_cast<std::uint32_t>(value >> 32));
    }

    // From now on one of `count` reads fails, whatever it asks for; 0 for none.
    void fail_every(unsigned count) {
        m_fail_every = count;
        m_reads = 0;
    }

    bool read(Address address, void* to, std::uint32_t size) override {
        if (m_fail_every && ++m_reads % m_fail_every == 0)
            return false;
        for (const Piece& piece : m_pieces)
            if (piece.holds(address, size)) {
                std::memcpy(to, piece.bytes.data() + (address - piece.begin), size);
                return true;
            }
        return false;
    }

    static Bytes little_endian(std::uint32_t value) {
        return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
    }

private:
    struct Piece {
        Address begin;
        Bytes bytes;

        bool holds(Address address, std::size_t size) const {
            return address >= begin && size <= bytes.size() && address - begin <= bytes.size() - size;
        }
    };

    std::vector<Piece> m_pieces;
    unsigned m_fail_every = 0, m_reads = 0;
};

// A process with one module at 0x400000, whose code (0x401000 to 0x403000) is a gap between functions where no test
// wrote any, and a stack from 0x100000 to 0x101000, all zero.
struct FakeProcess {
    static constexpr std::uint32_t kModule = 0x400000, kCode = 0x401000, kCodeEnd = 0x403000;
    static constexpr std::uint32_t kStack = 0x100000, kStackEnd = 0x101000;

    FakeProcess() {
        modules.clear();
        Module* module = modules.next();
        *module = Module();
        module->image.base = kModule;
        module->image.size = 0x10000;
        module->image.range_count = 1;
        module->image.code[0] = {kCode, kCodeEnd};
        std::strcpy(module->name, "host.exe");
        modules.commit();
        memory.fill(kCode, kCodeEnd - kCode, 0xCC);
        memory.fill(kStack, kStackEnd - kStack, 0);
    }

    // Writes "call target" so that it ends at return_address.
    void put_call(std::uint32_t return_address, std::uint32_t target) {
        memory.put(return_address - 5, {0xE8});
        memory.put_u32(return_address - 4, target - return_address);
    }
    // Writes "call eax".
    void put_call_by_register(std::uint32_t return_address) { memory.put(return_address - 2, {0xFF, 0xD0}); }
    // "push ebp; mov ebp, esp; sub esp, 16", and 64 bytes of nothing in particular.
    void put_framed_function(std::uint32_t start) {
        memory.fill(start, 64, 0x40);
        memory.put(start, {0x55, 0x8B, 0xEC, 0x83, 0xEC, 0x10});
    }
    // "push esi; sub esp, 16", and the same.
    void put_frameless_function(std::uint32_t start) {
        memory.fill(start, 64, 0x40);
        memory.put(start, {0x56, 0x83, 0xEC, 0x10});
    }

    FakeMemory memory;
    ModuleTable modules;
};

} // namespace faultkit
