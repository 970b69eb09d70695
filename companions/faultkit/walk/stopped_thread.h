// The other threads of the process: what each was doing, copied while it is stopped for a moment.
#pragma once

#include <windows.h>

#include "companions/faultkit/memory.h"

namespace faultkit {

// A thread's registers, and a copy of the top of its stack, as they were at one moment.
class StoppedThread : public Memory {
public:
    explicit StoppedThread(ProcessMemory& memory) : m_memory(memory) {}

    bool read(Address address, void* to, uint32_t size) override;
    ProcessMemory& process() { return m_memory; }

    uint32_t id;
    CONTEXT context;
    Address stack, stack_end; // of the whole stack
    uint32_t copied;          // bytes from its top on

private:
    ProcessMemory& m_memory;
};

enum class StopOutcome { kCopied, kRefused, kTimeout };

// Goes through the threads but for those of the fault, of its describer, and the one that it runs on. A thread is
// stopped by a thread of our own, since stopping one that a driver holds can take for ever; nothing that the stopped
// one may hold is used until it runs again. What takes too long is given up, with that thread of ours; the library
// stays in memory then.
class OtherThreads {
public:
    OtherThreads(ProcessMemory& memory, uint32_t faulting, uint32_t describer)
        : m_stopped(memory), m_faulting(faulting), m_describer(describer) {}

    // Stops, copies and releases the next one. Returns false at the end. The copy is good until the next call.
    bool next(StopOutcome* outcome);
    // Goes on without stopping any: only their ids are known.
    bool next_id();
    // Whether that one's stack is in the memory that was allocated at this place.
    bool runs_on(const void* allocation);
    // Before it is destroyed: a destructor would not run after a swallowed fault.
    void end();

    StoppedThread& thread() { return m_stopped; }

private:
    HANDLE m_thread = nullptr;
    StoppedThread m_stopped;
    uint32_t m_faulting, m_describer;
};

// The thread on whose stack the address lies; the calling one where none is found, as for the stack of a fiber.
uint32_t thread_of_stack(ProcessMemory& memory, Address address);

} // namespace faultkit
