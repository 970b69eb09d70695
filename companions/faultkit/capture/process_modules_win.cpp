// Walks the address space by VirtualQuery. Names come from ntdll's record of mapped files, unloaded modules from the
// loader's ring buffer of events.
#include "companions/faultkit/capture/process_modules.h"

#include <windows.h>
#include <string.h>

#include "companions/faultkit/text_builder.h"
#include "win/library.h"

namespace faultkit {
namespace {

// ntdll's view of a mapped file, which the documented calls only copy into heap memory first.
struct CountedText {
    uint16_t bytes, room;
    const wchar_t* text;
};
constexpr int kMappedFileName = 2;
using QueryVirtualMemory = LONG NTAPI(HANDLE process, void* address, int what, void* to, SIZE_T size, SIZE_T* needed);

// One entry of the loader's record of unloaded modules. Newer systems append fields, so the size is asked for.
struct UnloadEvent {
    uint32_t base, size, sequence, time_stamp, checksum;
    wchar_t name[32];
};
constexpr uint32_t kOldEventCount = 16;
using GetUnloadTrace = const UnloadEvent* NTAPI();
using GetUnloadTraceEx = void NTAPI(const uint32_t** size, const uint32_t** count, const UnloadEvent*** events);

// A text that can't be had is "?", and the answer false.
bool to_ansi(const wchar_t* text, unsigned length, char* to, unsigned size) {
    const int count = WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(length), to, static_cast<int>(size - 1),
                                          nullptr, nullptr);
    to[count > 0 ? count : 0] = '\0';
    if (count <= 0)
        TextBuilder(to, size).character('?');
    return count > 0;
}

bool equal_fold(const wchar_t* text, const char* lower, unsigned length) {
    for (unsigned i = 0; i < length; ++i)
        if ((text[i] >= L'A' && text[i] <= L'Z' ? text[i] + 32 : text[i]) != static_cast<unsigned char>(lower[i]))
            return false;
    return true;
}

bool is_in_system_folder(const wchar_t* path, unsigned length) {
    const struct {
        const char* name;
        unsigned length;
    } folders[] = {{"\\system32\\", 10}, {"\\syswow64\\", 10}, {"\\winsxs\\", 8}};
    for (unsigned i = 0; i < length; ++i)
        for (const auto& folder : folders)
            if (length - i > folder.length && equal_fold(path + i, folder.name, folder.length))
                return true;
    return false;
}

// Storage is static, as the stack may be nearly used up; the lock that the caller holds guards it.
alignas(8) char name_storage[1024];

// For Wine each question is a request to its server.
bool name_as_before(const ModuleTable& known, Module* module) {
    const Module* const before = known.find(module->image.base);
    if (!before || !before->is_named || !before->image.is_same_as(module->image))
        return false;
    memcpy(module->name, before->name, sizeof module->name);
    module->is_named = true;
    module->of_system = before->of_system;
    return true;
}

void name_module(QueryVirtualMemory* query, Module* module) {
    SIZE_T needed = 0;
    const CountedText* path = reinterpret_cast<const CountedText*>(name_storage);
    module->is_named = module->of_system = false;
    if (!query || query(GetCurrentProcess(), reinterpret_cast<void*>(module->image.base), kMappedFileName, name_storage,
                        sizeof name_storage, &needed) != 0) {
        // The next best: the PDB has the module's name, with another extension.
        TextBuilder(module->name).text(module->image.pdb.file[0] ? module->image.pdb.file : "?");
        return;
    }
    const unsigned length = path->bytes / sizeof(wchar_t);
    unsigned name = length;
    while (name && path->text[name - 1] != L'\\')
        --name;
    module->is_named = to_ansi(path->text + name, length - name, module->name, sizeof module->name);
    module->of_system = is_in_system_folder(path->text, length);
}

// The loader's record: a ring, whose newest entry has the highest sequence number.
struct UnloadRecord {
    Memory& memory;
    const UnloadEvent* events;
    uint32_t size, count;

    bool read(uint32_t index, UnloadEvent* event) const {
        return index < count && memory.read(reinterpret_cast<uint32_t>(events) + index * size, event, sizeof *event) &&
               event->base;
    }
};

UnloadRecord open_unload_record(Memory& memory) {
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    if (auto* get = win::function_of<GetUnloadTraceEx>(ntdll, "RtlGetUnloadEventTraceEx")) {
        const uint32_t *size = nullptr, *count = nullptr;
        const UnloadEvent** events = nullptr;
        get(&size, &count, &events);
        if (size && count && events && *size >= sizeof(UnloadEvent))
            return {memory, *events, *size, *count};
    } else if (auto* get_old = win::function_of<GetUnloadTrace>(ntdll, "RtlGetUnloadEventTrace")) {
        return {memory, get_old(), sizeof(UnloadEvent), kOldEventCount};
    }
    return {memory, nullptr, 0, 0};
}

bool is_ignored(uint32_t sequence, const UnloadStretch* ignored, unsigned count) {
    for (unsigned i = 0; i < count; ++i)
        if (sequence >= ignored[i].begin && sequence < ignored[i].end)
            return true;
    return false;
}

} // namespace

void list_process_modules(Memory& memory, const ModuleTable* known, ModuleTable* modules) {
    QueryVirtualMemory* const query =
        win::function_of<QueryVirtualMemory>(GetModuleHandleA("ntdll.dll"), "NtQueryVirtualMemory");
    MEMORY_BASIC_INFORMATION region;
    void* last = nullptr;
    for (uint32_t at = 0; VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region);) {
        if (region.Type == MEM_IMAGE && region.AllocationBase != last) {
            last = region.AllocationBase;
            Module* module = modules->next();
            if (module && read_image(memory, reinterpret_cast<uint32_t>(last), &module->image)) {
                if (!known || !name_as_before(*known, module))
                    name_module(query, module);
                modules->commit();
            }
        }
        const uint32_t next = reinterpret_cast<uint32_t>(region.BaseAddress) + static_cast<uint32_t>(region.RegionSize);
        if (next <= at)
            break;
        at = next;
    }
}

uint32_t next_unload_sequence(Memory& memory) {
    const UnloadRecord record = open_unload_record(memory);
    UnloadEvent event;
    uint32_t next = 0;
    for (uint32_t i = 0; record.read(i, &event); ++i)
        next = event.sequence >= next ? event.sequence + 1 : next;
    return next;
}

void list_unloaded_modules(Memory& memory, const UnloadStretch* ignored, unsigned ignored_count, ModuleTable* modules) {
    constexpr uint32_t kMostEvents = 64;
    const UnloadRecord record = open_unload_record(memory);
    const uint32_t next = next_unload_sequence(memory);
    UnloadEvent event;
    for (uint32_t back = next < kMostEvents ? next : kMostEvents; back > 0; --back)
        for (uint32_t i = 0; record.read(i, &event); ++i) {
            if (event.sequence != next - back || is_ignored(event.sequence, ignored, ignored_count))
                continue;
            UnloadedModule gone = {event.base, event.size, event.time_stamp, {}};
            unsigned length = 0;
            while (length < 32 && event.name[length])
                ++length;
            to_ansi(event.name, length, gone.name, sizeof gone.name);
            modules->add_unloaded(gone);
        }
}

const char* describe_memory_at(uint32_t address) {
    MEMORY_BASIC_INFORMATION region;
    if (!VirtualQuery(reinterpret_cast<void*>(address), &region, sizeof region))
        return "outside the process's address space";
    if (region.State == MEM_FREE)
        return "free memory";
    if (region.State == MEM_RESERVE)
        return "reserved memory";
    if (region.Protect & PAGE_GUARD)
        return "a guard page";
    if (region.Protect & PAGE_NOACCESS)
        return "memory without access";
    if (region.Protect & (PAGE_READONLY | PAGE_EXECUTE_READ | PAGE_EXECUTE))
        return region.Type == MEM_IMAGE ? "read-only memory of a module" : "read-only memory";
    return "memory that is there now";
}

} // namespace faultkit
