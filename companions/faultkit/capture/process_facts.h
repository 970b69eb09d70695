// What is known about the process and the machine at the time of a fault, in plain values.
#pragma once

#include "companions/faultkit/memory.h"

namespace faultkit {

// Free address space, summed up while modules are listed.
struct AddressSpace {
    uint64_t free, largest; // bytes: all of it, and its largest block
};

struct ProcessFacts {
    // Which of the values below could be had.
    enum Known : uint32_t {
        kTime = 1,
        kUptime = 2,
        kWindows = 4,
        kElevated = 8,
        kMemory = 16,
        kHandles = 32,
        kWindowObjects = 64,
        kThreads = 128,
    };

    uint32_t known;
    uint64_t time;                          // UTC, in 100 nanoseconds since 1601
    int32_t zone;                           // minutes that local time is ahead
    uint64_t program_uptime, system_uptime; // milliseconds
    uint32_t windows[3];                    // major, minor, build: the true ones
    bool windows_64;                        // 64 bits, whatever the program has
    uint32_t code_page;                     // of ANSI texts
    char language[16];                      // of the user: "ru-RU"; empty when not known
    bool elevated;                          // runs with an administrator's rights
    uint64_t physical, physical_free;       // bytes
    uint64_t commit, commit_free;           // bytes; what all programs together can have
    AddressSpace space;
    uint32_t handles;
    uint32_t gdi_objects, user_objects;
    uint32_t threads;
    // May hold what is private: empty unless the host asked for them.
    char path[260], command_line[512], folder[260];
};

// Fills *facts but for the address space and the threads. Each of the system's functions is called under a guard of its
// own: where one faults or fails, what it tells is not known, and the rest is. with_private: also path, command line
// and folder.
void gather_process_facts(Memory& memory, bool with_private, ProcessFacts* facts);

} // namespace faultkit
