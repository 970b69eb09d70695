// Memory is read in two steps: the system is asked whether it can be read, and it is copied under a guard all the same,
// as it may change in between. Guard pages are never touched.
#include "companions/faultkit/memory.h"

#include <windows.h>

#include "win/guard.h"

namespace faultkit {

bool ProcessMemory::is_readable(Address address, uint32_t size) {
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE | PAGE_EXECUTE_READ |
                                PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    const Address end = address + size;
    if (end < address)
        return false;
    for (Address at = address; at < end;) {
        if (at >= m_begin && at < m_end) {
            at = m_end;
            continue;
        }
        MEMORY_BASIC_INFORMATION region;
        if (!VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region) || region.State != MEM_COMMIT ||
            !(region.Protect & kReadable) || region.Protect & PAGE_GUARD)
            return false;
        m_begin = reinterpret_cast<Address>(region.BaseAddress);
        m_end = m_begin + region.RegionSize;
    }
    return true;
}

bool ProcessMemory::read(Address address, void* to, uint32_t size) {
    return is_readable(address, size) && win::run_guarded(win::kSwallowAll, [&] {
               const void* from = reinterpret_cast<const void*>(address);
               size_t count = size;
               __asm__ volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(count) : : "memory");
           });
}

} // namespace faultkit
