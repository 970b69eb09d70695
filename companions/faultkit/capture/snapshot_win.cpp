// The caller's pointers may be wrong, so they are followed through Memory and never directly.
#include "companions/faultkit/capture/snapshot.h"

#include <string.h>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace faultkit {

bool ExceptionCopy::read_both(Memory& memory, const EXCEPTION_POINTERS* pointers) {
    EXCEPTION_POINTERS copied = {};
    memory.read(reinterpret_cast<Address>(pointers), &copied, sizeof copied);
    has_record = copied.ExceptionRecord &&
                 memory.read(reinterpret_cast<Address>(copied.ExceptionRecord), &record, sizeof record);
    // The extended registers at the end are missing where only the older part was saved.
    context = CONTEXT();
    const Address at = reinterpret_cast<Address>(copied.ContextRecord);
    has_context = at && (memory.read(at, &context, sizeof context) || memory.read(at, &context, kShortestContext)) &&
                  (context.ContextFlags & CONTEXT_CONTROL) == CONTEXT_CONTROL;
    if (!has_record)
        record = EXCEPTION_RECORD();
    if (!has_record && has_context)
        record.ExceptionAddress = reinterpret_cast<void*>(instruction_of(context));
    return has_record || has_context;
}

bool ExceptionCopy::read(Memory& memory, const EXCEPTION_POINTERS* pointers) {
    of_throw = false;
    thrown = EXCEPTION_RECORD();
    if (!read_both(memory, pointers))
        return false;
    if (!has_record || record.ExceptionCode != kTerminate || record.NumberParameters < 3)
        return true;
    // The bug is where the exception was thrown. Its pointers may be stale: what was read first stands then.
    const EXCEPTION_RECORD outer = record;
    if (!read_both(memory, reinterpret_cast<const EXCEPTION_POINTERS*>(outer.ExceptionInformation[2]))) {
        read_both(memory, pointers);
        return true;
    }
    of_throw = true;
    thrown = record;
    record = outer;
    record.ExceptionAddress = thrown.ExceptionAddress;
    return has_record = true;
}

bool Snapshot::take(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers, const OwnUnloads& own) {
    memory.forget();
    if (!m_later.read(memory, pointers))
        return false;
    m_copy = m_later;
    m_pointers = pointers;
    m_modules.clear();
    m_facts = FaultFacts();
    m_listing_fault = m_gathering_fault = {};
    win::run_guarded(win::swallow_and_note(&m_listing_fault), [&] { list_modules(memory, own); });
    win::run_guarded(win::swallow_and_note(&m_gathering_fault), [&] { gather_facts(memory); });
    return true;
}

// Pointers may lie at the same place for another fault: record and context decide.
bool Snapshot::is_of(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers) {
    memory.forget();
    return m_pointers == pointers && m_facts.describer == GetCurrentThreadId() && m_later.read(memory, pointers) &&
           memcmp(&m_copy.record, &m_later.record, sizeof m_copy.record) == 0 &&
           memcmp(&m_copy.context, &m_later.context, sizeof m_copy.context) == 0;
}

void Snapshot::list_modules(Memory& memory, const OwnUnloads& own) {
    list_process_modules(memory, &m_modules, &m_space);
    list_unloaded_modules(memory, own, &m_modules);
    // This library is usually loaded after the fault, perhaps at the place of the very module that is missing.
    m_modules.drop_newcomer(reinterpret_cast<Address>(&__ImageBase));
}

void Snapshot::gather_facts(Memory& memory) {
    const EXCEPTION_RECORD& record = m_copy.record;
    FaultFacts& facts = m_facts;
    facts.has_record = m_copy.has_record;
    facts.code = record.ExceptionCode;
    facts.address = reinterpret_cast<Address>(record.ExceptionAddress);
    facts.thread = facts.describer = GetCurrentThreadId();
    facts.executable = reinterpret_cast<Address>(GetModuleHandleA(nullptr));
    facts.parameter_count = record.NumberParameters < 4 ? record.NumberParameters : 4;
    for (uint32_t i = 0; i < facts.parameter_count; ++i)
        facts.parameters[i] = record.ExceptionInformation[i];
    facts.has_registers = m_copy.has_context;
    if (m_copy.has_context) {
        copy_registers(m_copy.context, &facts.registers);
        copy_float_state(m_copy.context, &facts.floating);
    }
    if (facts.parameter_count >= 2)
        facts.memory = describe_memory_at(facts.parameters[1]);
    gather_thrown(memory);
    if (facts.code == kInvalidParameter && facts.parameter_count == 4)
        gather_invalid_parameter(memory);
    // The last bytes of a page may be all there is.
    for (uint32_t size = sizeof facts.code_bytes; size && !facts.code_byte_count; size /= 2)
        if (memory.read(facts.address, facts.code_bytes, size))
            facts.code_byte_count = size;
}

void Snapshot::gather_thrown(Memory& memory) {
    FaultFacts& facts = m_facts;
    facts.of_throw = m_copy.of_throw;
    const EXCEPTION_RECORD& thrown = m_copy.of_throw ? m_copy.thrown : m_copy.record;
    if (thrown.ExceptionCode == kCxxException) {
        Address parameters[4] = {};
        const uint32_t count = thrown.NumberParameters < 4 ? thrown.NumberParameters : 4;
        for (uint32_t i = 0; i < count; ++i)
            parameters[i] = thrown.ExceptionInformation[i];
        read_thrown_type(memory, parameters, count, facts.thrown_type);
        read_thrown_text(memory, parameters, count, facts.thrown_text, sizeof facts.thrown_text);
    }
    // What the runtime itself knew of the exception.
    if (facts.code == kTerminate && facts.parameter_count >= 2) {
        if (facts.parameters[0])
            memory.read_text(facts.parameters[0], facts.thrown_type, sizeof facts.thrown_type);
        if (facts.parameters[1])
            memory.read_text(facts.parameters[1], facts.thrown_text, sizeof facts.thrown_text);
    }
}

void Snapshot::gather_invalid_parameter(Memory& memory) {
    for (unsigned i = 0; i < 3; ++i) {
        // Letter by letter: the text may end where its memory does.
        uint16_t text[sizeof m_facts.invalid[0] - 1];
        unsigned length = 0;
        while (m_facts.parameters[i] && length < sizeof text / sizeof *text &&
               memory.read_u16(m_facts.parameters[i] + length * 2, &text[length]) && text[length])
            ++length;
        if (length)
            to_ansi(reinterpret_cast<const wchar_t*>(text), length, m_facts.invalid[i], sizeof m_facts.invalid[i]);
    }
}

Address stack_end_for(Address address) {
    const NT_TIB* thread = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    const Address base = reinterpret_cast<Address>(thread->StackBase);
    if (address >= reinterpret_cast<Address>(thread->StackLimit) && address < base)
        return base;
    // A fiber's stack, or another thread's: the end of the region.
    MEMORY_BASIC_INFORMATION region;
    if (!VirtualQuery(reinterpret_cast<void*>(address), &region, sizeof region) || region.State != MEM_COMMIT)
        return address;
    return reinterpret_cast<Address>(region.BaseAddress) + region.RegionSize;
}

} // namespace faultkit
