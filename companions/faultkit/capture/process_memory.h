#pragma once

#include "companions/faultkit/memory.h"

namespace faultkit {

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
