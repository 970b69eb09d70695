// The caller's pointers may be wrong, so they are followed through ProcessMemory and never directly.
#include "companions/faultkit/capture/snapshot.h"

#include <stddef.h>
#include <string.h>

#include "companions/faultkit/capture/process_modules.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace faultkit {

void FaultContext::capture(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers, const SymbolSession& session,
                           const FaultContext* before, win::Fault* fault) {
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
    win::run_guarded(win::swallow_and_note(fault), [&] {
        list_process_modules(memory, before ? &before->modules : nullptr, &modules);
        list_unloaded_modules(memory, session.unloads(), session.unload_count(), &modules);
        // This library is usually loaded after the fault, perhaps at the place of the very module that is missing.
        modules.drop_newcomer(reinterpret_cast<uint32_t>(&__ImageBase));
    });
}

bool FaultContext::is_same_as(const FaultContext& other) const {
    return memcmp(&record, &other.record, sizeof record) == 0 &&
           memcmp(&context, &other.context, sizeof context) == 0 && modules.is_same_as(other.modules);
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
