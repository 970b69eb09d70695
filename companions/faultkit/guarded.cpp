// Memory is read in two steps: the system is asked whether it can be read, and it is copied under a guard all the same,
// as it may change in between. Guard pages are never touched.
#include "companions/faultkit/guarded.h"

#include <malloc.h>

namespace faultkit {
namespace {

int note_fault(const EXCEPTION_POINTERS* pointers, StepFault* fault) {
    fault->code = pointers->ExceptionRecord->ExceptionCode;
    fault->address = reinterpret_cast<uint32_t>(pointers->ExceptionRecord->ExceptionAddress);
    return EXCEPTION_EXECUTE_HANDLER;
}

struct CopyJob {
    void* to;
    const void* from;
    uint32_t size;
};

void copy_bytes(void* data) {
    const CopyJob* job = static_cast<const CopyJob*>(data);
    void* to = job->to;
    const void* from = job->from;
    uint32_t size = job->size;
    __asm__ volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(size) : : "memory");
}

} // namespace

// The compiler must not see that a step can't throw, or it would drop the handler: hence the volatile pointer.
bool run_guarded(void (*step)(void*), void* data, StepFault* fault) {
    void (*volatile hidden)(void*) = step;
    __try {
        hidden(data);
        return true;
    } __except (note_fault(GetExceptionInformation(), fault)) {
    }
    if (fault->code == EXCEPTION_STACK_OVERFLOW)
        _resetstkoflw();
    return false;
}

bool ProcessMemory::is_readable(uint32_t address, uint32_t size) {
    constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE | PAGE_EXECUTE_READ |
                                PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    const uint32_t end = address + size;
    if (end < address)
        return false;
    for (uint32_t at = address; at < end;) {
        if (at >= m_begin && at < m_end) {
            at = m_end;
            continue;
        }
        MEMORY_BASIC_INFORMATION region;
        if (!VirtualQuery(reinterpret_cast<void*>(at), &region, sizeof region) || region.State != MEM_COMMIT ||
            !(region.Protect & kReadable) || region.Protect & PAGE_GUARD)
            return false;
        m_begin = reinterpret_cast<uint32_t>(region.BaseAddress);
        m_end = m_begin + static_cast<uint32_t>(region.RegionSize);
    }
    return true;
}

bool ProcessMemory::read(uint32_t address, void* to, uint32_t size) {
    CopyJob job = {to, reinterpret_cast<const void*>(address), size};
    StepFault ignored;
    return is_readable(address, size) && run_guarded(copy_bytes, &job, &ignored);
}

} // namespace faultkit
