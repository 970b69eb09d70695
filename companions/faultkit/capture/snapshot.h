// A fault as it was found: what the exception pointers led to, and the modules of the process around it.
#pragma once

#include <windows.h>

#include "companions/faultkit/capture/fault_facts.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/capture/process_modules.h"
#include "companions/faultkit/memory.h"
#include "win/guard.h"

namespace faultkit {

// Copies of what is behind exception pointers.
struct ExceptionCopy {
    EXCEPTION_RECORD record;
    CONTEXT context;
    bool has_record, has_context; // has_context: with the control registers
    bool of_throw;                // context and address are of the throw that ended in std::terminate
    EXCEPTION_RECORD thrown;      // the record of that throw

    // The pointers may be null or wrong. Returns false when neither record nor context can be read.
    bool read(Memory& memory, const EXCEPTION_POINTERS* pointers);

private:
    bool read_both(Memory& memory, const EXCEPTION_POINTERS* pointers);
};

// In static storage, as it is large.
class Snapshot {
public:
    // Takes the fault of the calling thread. Returns false, and stays as it is, when the pointers lead nowhere. A
    // fault that is met on the way is kept, and what there is by then is used.
    bool take(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers, const OwnUnloads& own);

    // Another thread than this one has failed.
    void set_thread(uint32_t id) { m_facts.thread = id; }

    // Whether it was taken on this thread for these pointers, and they still lead to the same record and context.
    bool is_of(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers);

    const CONTEXT* context() const { return m_copy.has_context ? &m_copy.context : nullptr; }
    const FaultFacts& facts() const { return m_facts; }
    const ModuleTable& modules() const { return m_modules; }
    const AddressSpace& space() const { return m_space; }
    // Faults met while modules were listed, and while the facts were gathered; code 0 for none.
    const win::Fault& listing_fault() const { return m_listing_fault; }
    const win::Fault& gathering_fault() const { return m_gathering_fault; }

private:
    void list_modules(Memory& memory, const OwnUnloads& own);
    void gather_facts(Memory& memory);
    void gather_thrown(Memory& memory);
    void gather_invalid_parameter(Memory& memory);

    const EXCEPTION_POINTERS* m_pointers;
    ExceptionCopy m_copy, m_later; // m_later: read last
    FaultFacts m_facts;
    ModuleTable m_modules;
    AddressSpace m_space;
    win::Fault m_listing_fault, m_gathering_fault;
};

// One past the stack that holds the address.
Address stack_end_for(Address address);

// What is in the system's record of registers. One source of these for each kind of process:

// How much of a CONTEXT there is at least: the older part, without the extended registers at the end of a 32-bit one.
extern const uint32_t kShortestContext; // bytes

Address instruction_of(const CONTEXT& context);
void copy_registers(const CONTEXT& context, Registers* registers);
// Leaves out what the context doesn't hold.
void copy_float_state(const CONTEXT& context, FloatState* state);

} // namespace faultkit
