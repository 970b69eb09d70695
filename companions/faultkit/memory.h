// Memory of the faulting process, read with care.
#pragma once

#include "companions/faultkit/address.h"

namespace faultkit {

// The walker and the image reader see nothing else of the process, so that they can be tested against memory made up by
// a test.
class Memory {
public:
    // Copies `size` bytes from `address`. Returns false, with undefined bytes in `to`, when any of them can't be read.
    virtual bool read(Address address, void* to, uint32_t size) = 0;

    bool read_u8(Address address, uint8_t* value) { return read(address, value, sizeof *value); }
    bool read_u16(Address address, uint16_t* value) { return read(address, value, sizeof *value); }
    bool read_u32(Address address, uint32_t* value) { return read(address, value, sizeof *value); }
    bool read_address(Address address, Address* value) { return read(address, value, sizeof *value); }

    // Copies a text up to its NUL, at most size - 1 characters; `to` is always terminated. Returns whether any was
    // read.
    bool read_text(Address address, char* to, uint32_t size) {
        uint32_t length = 0;
        while (length + 1 < size && read(address + length, to + length, 1) && to[length])
            ++length;
        to[length] = '\0';
        return length != 0;
    }

protected:
    ~Memory() = default;
};

// The memory of this process. A page that can't be read, or that the system guards (touching it would change the
// stack's growth), counts as unreadable. One thread at a time.
class ProcessMemory : public Memory {
public:
    bool read(Address address, void* to, uint32_t size) override;
    // What is known about pages is forgotten: before each new fault.
    void forget() { m_begin = m_end = 0; }

private:
    bool is_readable(Address address, uint32_t size);

    Address m_begin = 0, m_end = 0; // the region found readable last
};

} // namespace faultkit
