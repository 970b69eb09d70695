#include "companions/faultkit/fault_context.h"

#include <stddef.h>

#include "companions/faultkit/process_modules.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace faultkit {
namespace {

bool holds(Memory& memory, const void* place, const void* wanted, uint32_t size) {
    const uint32_t* const words = static_cast<const uint32_t*>(wanted);
    uint32_t word = 0;
    for (uint32_t i = 0; i < size / 4; ++i)
        if (!memory.read_u32(reinterpret_cast<uint32_t>(place) + i * 4, &word) || word != words[i])
            return false;
    return true;
}

} // namespace

void FaultContext::capture(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers, const SymbolSession& session,
                           StepFault* fault) {
    memory.forget();
    modules.clear();
    *fault = {};
    EXCEPTION_POINTERS copied = {};
    memory.read(reinterpret_cast<uint32_t>(pointers), &copied, sizeof copied);
    has_record = copied.ExceptionRecord &&
                 memory.read(reinterpret_cast<uint32_t>(copied.ExceptionRecord), &record, sizeof record);
    // The extended registers at the end are missing where only the older part was saved.
    context = CONTEXT();
    const uint32_t at = reinterpret_cast<uint32_t>(copied.ContextRecord);
    has_context = at && (memory.read(at, &context, sizeof context) ||
                         memory.read(at, &context, offsetof(CONTEXT, ExtendedRegisters)));
    has_context = has_context && (context.ContextFlags & CONTEXT_CONTROL) == CONTEXT_CONTROL;
    if (!has_record)
        record = EXCEPTION_RECORD();
    if (!has_record && has_context)
        record.ExceptionAddress = reinterpret_cast<void*>(context.Eip);
    guarded(fault, [&] {
        list_process_modules(memory, &modules);
        list_unloaded_modules(memory, session.unloads(), session.unload_count(), &modules);
        // This library is usually loaded after the fault, perhaps at the place of the very module that is missing.
        modules.drop_newcomer(reinterpret_cast<uint32_t>(&__ImageBase));
    });
}

bool FaultContext::is_behind(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers) const {
    memory.forget();
    EXCEPTION_POINTERS copied = {};
    return memory.read(reinterpret_cast<uint32_t>(pointers), &copied, sizeof copied) &&
           holds(memory, copied.ExceptionRecord, &record, sizeof record) &&
           holds(memory, copied.ContextRecord, &context, sizeof context);
}

Frame FaultContext::interrupted() const {
    if (has_context)
        return {context.Eip, context.Esp, context.Ebp, FrameOrigin::kInterrupted};
    return {reinterpret_cast<uint32_t>(record.ExceptionAddress), 0, 0, FrameOrigin::kInterrupted};
}

uint32_t FaultContext::stack_end_for(uint32_t address) const {
    const NT_TIB* thread = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    const uint32_t base = reinterpret_cast<uint32_t>(thread->StackBase);
    if (address >= reinterpret_cast<uint32_t>(thread->StackLimit) && address < base)
        return base;
    // A fiber's stack, or another thread's: the end of the region.
    MEMORY_BASIC_INFORMATION region;
    if (!VirtualQuery(reinterpret_cast<void*>(address), &region, sizeof region) || region.State != MEM_COMMIT)
        return address;
    return reinterpret_cast<uint32_t>(region.BaseAddress) + static_cast<uint32_t>(region.RegionSize);
}

} // namespace faultkit
