// Walks the address space by VirtualQuery. Names come from ntdll's record of mapped files.
#include "companions/faultkit/capture/process_modules.h"

#include <windows.h>
#include <winternl.h>

#include "companions/faultkit/text_builder.h"
#include "win/library.h"

namespace faultkit {
namespace {

// ntdll's view of a mapped file, which the documented calls only copy into heap memory first.
constexpr int kMappedFileName = 2;
using QueryVirtualMemory = LONG NTAPI(HANDLE process, void* address, int what, void* to, SIZE_T size, SIZE_T* needed);

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

// What fails for once, as it does where memory is short, would be missing in all that is said of the fault.
template <class Step>
bool try_twice(Step step) {
    return step() || step();
}

bool ask_name(QueryVirtualMemory* query, Module* module) {
    SIZE_T needed = 0;
    const auto* const path = reinterpret_cast<const UNICODE_STRING*>(name_storage);
    if (!query || query(GetCurrentProcess(), reinterpret_cast<void*>(module->image.base), kMappedFileName, name_storage,
                        sizeof name_storage, &needed) != 0)
        return false;
    const unsigned length = path->Length / sizeof(wchar_t);
    unsigned name = length;
    while (name && path->Buffer[name - 1] != L'\\')
        --name;
    module->of_system = is_in_system_folder(path->Buffer, length);
    return to_ansi(path->Buffer + name, length - name, module->name, sizeof module->name);
}

void name_module(QueryVirtualMemory* query, Module* module) {
    module->of_system = false;
    module->name[0] = '\0';
    // The next best: the PDB has the module's name, with another extension.
    if (!try_twice([&] { return ask_name(query, module); }) && !module->name[0])
        TextBuilder(module->name).text(module->image.pdb.file[0] ? module->image.pdb.file : "?");
}

} // namespace

bool to_ansi(const wchar_t* text, unsigned length, char* to, unsigned size) {
    const int count = WideCharToMultiByte(CP_ACP, 0, text, static_cast<int>(length), to, static_cast<int>(size - 1),
                                          nullptr, nullptr);
    to[count > 0 ? count : 0] = '\0';
    if (count <= 0)
        TextBuilder(to, size).character('?');
    return count > 0;
}

void list_process_modules(Memory& memory, ModuleTable* modules, AddressSpace* space) {
    QueryVirtualMemory* query = nullptr;
    try_twice([&] {
        query = win::function_of_ntdll<QueryVirtualMemory>("NtQueryVirtualMemory");
        return query != nullptr;
    });
    MEMORY_BASIC_INFORMATION region;
    void* last = nullptr;
    Address at = 0;
    *space = {};
    while (try_twice([&] { return VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region) != 0; })) {
        if (region.Type == MEM_IMAGE && region.AllocationBase != last) {
            last = region.AllocationBase;
            Module* module = modules->next();
            if (module &&
                try_twice([&] { return read_image(memory, reinterpret_cast<Address>(last), &module->image); })) {
                name_module(query, module);
                modules->commit();
            }
        }
        if (region.State == MEM_FREE) {
            space->free += region.RegionSize;
            space->largest = region.RegionSize > space->largest ? region.RegionSize : space->largest;
        }
        const Address next = reinterpret_cast<Address>(region.BaseAddress) + region.RegionSize;
        // The last region ends where addresses begin anew.
        if (next <= at)
            break;
        at = next;
    }
}

const char* describe_memory_at(Address address) {
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
