// The loader keeps a ring of events, whose newest entry has the highest sequence number.
#include "companions/faultkit/capture/process_modules.h"

#include <windows.h>

#include "win/library.h"

namespace faultkit {
namespace {

// One entry of the loader's record of unloaded modules. Newer systems append fields, so the size is asked for.
struct UnloadEvent {
    Address base, size;
    uint32_t sequence, time_stamp, checksum;
    wchar_t name[32];
};
constexpr uint32_t kOldEventCount = 16;
using GetUnloadTrace = const UnloadEvent* NTAPI();
using GetUnloadTraceEx = void NTAPI(const uint32_t** size, const uint32_t** count, const UnloadEvent*** events);

struct UnloadRecord {
    Memory& memory;
    const UnloadEvent* events;
    uint32_t size, count;

    bool read(uint32_t index, UnloadEvent* event) const {
        return index < count &&
               memory.read(reinterpret_cast<Address>(events) + Address(index) * size, event, sizeof *event) &&
               event->base;
    }
};

UnloadRecord open_unload_record(Memory& memory) {
    if (auto* get = win::function_of_ntdll<GetUnloadTraceEx>("RtlGetUnloadEventTraceEx")) {
        const uint32_t *size = nullptr, *count = nullptr;
        const UnloadEvent** events = nullptr;
        get(&size, &count, &events);
        if (size && count && events && *size >= sizeof(UnloadEvent))
            return {memory, *events, *size, *count};
    } else if (auto* get_old = win::function_of_ntdll<GetUnloadTrace>("RtlGetUnloadEventTrace")) {
        return {memory, get_old(), sizeof(UnloadEvent), kOldEventCount};
    }
    return {memory, nullptr, 0, 0};
}

} // namespace

void OwnUnloads::add(uint32_t begin, uint32_t end) {
    if (m_count && m_stretches[m_count - 1].end == begin)
        m_stretches[m_count - 1].end = end;
    else if (begin != end && m_count < 4)
        m_stretches[m_count++] = {begin, end};
}

bool OwnUnloads::contains(uint32_t sequence) const {
    for (unsigned i = 0; i < m_count; ++i)
        if (sequence >= m_stretches[i].begin && sequence < m_stretches[i].end)
            return true;
    return false;
}

uint32_t next_unload_sequence(Memory& memory) {
    const UnloadRecord record = open_unload_record(memory);
    UnloadEvent event;
    uint32_t next = 0;
    for (uint32_t i = 0; record.read(i, &event); ++i)
        next = event.sequence >= next ? event.sequence + 1 : next;
    return next;
}

void list_unloaded_modules(Memory& memory, const OwnUnloads& own, ModuleTable* modules) {
    constexpr uint32_t kMostEvents = 64;
    const UnloadRecord record = open_unload_record(memory);
    const uint32_t next = next_unload_sequence(memory);
    UnloadEvent event;
    // The record is a ring that may begin anywhere: each number is looked for, so that modules come in the order in
    // which they went.
    for (uint32_t back = next < kMostEvents ? next : kMostEvents; back > 0; --back)
        for (uint32_t i = 0; record.read(i, &event); ++i) {
            if (event.sequence != next - back || own.contains(event.sequence))
                continue;
            UnloadedModule gone = {event.base, static_cast<uint32_t>(event.size), event.time_stamp, {}};
            unsigned length = 0;
            while (length < 32 && event.name[length])
                ++length;
            to_ansi(event.name, length, gone.name, sizeof gone.name);
            modules->add_unloaded(gone);
        }
}

} // namespace faultkit
