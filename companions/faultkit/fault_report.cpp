#include "companions/faultkit/fault_report.h"

#include "companions/faultkit/exception_names.h"
#include "companions/faultkit/fault_context.h"
#include "companions/faultkit/fault_text.h"
#include "companions/faultkit/process_modules.h"
#include "companions/faultkit/roomy_stack.h"
#include "companions/faultkit/stack_trace.h"
#include "companions/faultkit/symbol_session.h"
#include "companions/faultkit/thrown_type.h"

namespace faultkit {
namespace {

constexpr unsigned kReasonSize = 12 * 1024;
constexpr unsigned kNotesRoom = 400; // characters of the reason kept for the notes behind the modules
constexpr unsigned kMostInlined = 4;
constexpr unsigned kPatience = 10000; // milliseconds

const char kNoLibrary[] = "no symbols: the system has no usable dbghelp.dll";
const char kLibraryFaulted[] = "symbols are incomplete: dbghelp.dll met a fault, which was swallowed";
const char kNoRoom[] = "no symbols: the stack is used up and a thread for them did not run in time";

// What the symbol work reads and writes. When its thread is abandoned, it keeps all of this for good.
struct SymbolWork {
    SymbolSession session;
    StackTrace trace;
    uint32_t instruction;
    SourcePlace places[kMostInlined];
    unsigned place_count;
    const char* note; // why symbols are missing; null when all is well
};

ProcessMemory memory;
FaultContext fault;
FaultFacts facts;
SymbolWork symbol_work;
StackTrace plain_trace;  // where the symbol work came to nothing
StackTrace* ready_trace; // the one to hand out; null before the first
DWORD trace_thread;
const EXCEPTION_POINTERS* trace_pointers;
char reason_text[kReasonSize];
char line_text[640];

void open_session(SymbolWork* work) {
    work->note = nullptr;
    if (!work->session.open(memory, fault.modules))
        work->note = work->session.fault().code ? kLibraryFaulted : kNoLibrary;
}

void close_session(SymbolWork* work) {
    work->session.close();
    if (work->session.fault().code)
        work->note = kLibraryFaulted;
}

void find_instruction(void* data) {
    SymbolWork* work = static_cast<SymbolWork*>(data);
    open_session(work);
    if (work->session.is_open())
        work->place_count = work->session.find_places(work->instruction, work->places, kMostInlined);
    close_session(work);
}

void walk_with_symbols(void* data) {
    SymbolWork* work = static_cast<SymbolWork*>(data);
    open_session(work);
    work->trace.walk(memory, fault, &work->session);
    close_session(work);
}

void write_note(TextBuilder& text, const char* note, const StepFault& met) {
    text.text("\n(").text(note);
    write_fault(text, fault.modules, met);
    text.character(')');
}

void copy_registers(const CONTEXT& from, Registers* to) {
    *to = {from.Eax,
           from.Ebx,
           from.Ecx,
           from.Edx,
           from.Esi,
           from.Edi,
           from.Ebp,
           from.Esp,
           from.Eip,
           from.EFlags,
           static_cast<uint16_t>(from.SegCs),
           static_cast<uint16_t>(from.SegDs),
           static_cast<uint16_t>(from.SegEs),
           static_cast<uint16_t>(from.SegFs),
           static_cast<uint16_t>(from.SegGs),
           static_cast<uint16_t>(from.SegSs),
           false,
           0,
           0,
           0,
           false,
           0};
    if ((from.ContextFlags & CONTEXT_FLOATING_POINT) == CONTEXT_FLOATING_POINT) {
        to->has_float = true;
        to->x87_control = static_cast<uint16_t>(from.FloatSave.ControlWord);
        to->x87_status = static_cast<uint16_t>(from.FloatSave.StatusWord);
        to->x87_instruction = from.FloatSave.ErrorOffset;
    }
    if ((from.ContextFlags & CONTEXT_EXTENDED_REGISTERS) == CONTEXT_EXTENDED_REGISTERS) {
        constexpr unsigned kMxcsrAt = 24; // in the processor's own layout (FXSAVE)
        to->has_sse = true;
        to->mxcsr = *reinterpret_cast<const uint32_t*>(from.ExtendedRegisters + kMxcsrAt);
    }
}

void gather_facts() {
    facts = FaultFacts();
    facts.has_record = fault.has_record;
    facts.code = fault.record.ExceptionCode;
    facts.address = reinterpret_cast<uint32_t>(fault.record.ExceptionAddress);
    facts.parameter_count = fault.record.NumberParameters < 4 ? fault.record.NumberParameters : 4;
    for (uint32_t i = 0; i < facts.parameter_count; ++i)
        facts.parameters[i] = fault.record.ExceptionInformation[i];
    facts.thread = GetCurrentThreadId();
    facts.executable = reinterpret_cast<uint32_t>(GetModuleHandleA(nullptr));
    if (facts.parameter_count >= 2)
        facts.memory = describe_memory_at(facts.parameters[1]);
    if (facts.code == kCxxException)
        read_thrown_type(memory, facts.parameters, facts.parameter_count, facts.thrown_type);
    facts.has_registers = fault.has_context;
    if (fault.has_context)
        copy_registers(fault.context, &facts.registers);
    // The last bytes of a page may be all there is.
    for (uint32_t size = sizeof facts.code_bytes; size && !facts.code_byte_count; size /= 2)
        if (memory.read(facts.address, facts.code_bytes, size))
            facts.code_byte_count = size;
}

} // namespace

const char* make_reason(const EXCEPTION_POINTERS* pointers) {
    TextBuilder text(reason_text);
    StepFault listing, gathering = {};
    fault.capture(memory, pointers, symbol_work.session, &listing);
    if (!fault.has_record && !fault.has_context)
        return text.text("no description: the exception pointers can't be read").c_str();
    guarded(&gathering, gather_facts);
    const char* note = kNoRoom;
    StepFault met = {};
    if (!was_abandoned()) {
        symbol_work.instruction = facts.address;
        symbol_work.place_count = 0;
        if (run_with_room(find_instruction, &symbol_work, kPatience) == Outcome::kDone) {
            note = symbol_work.note;
            met = symbol_work.session.fault();
            if (symbol_work.place_count)
                facts.place = symbol_work.places[0];
        }
    }
    describe_fault(text, facts, fault.modules);
    list_modules(text, facts, fault.modules, kNotesRoom);
    if (note)
        write_note(text, note, met);
    if (listing.code)
        write_note(text, "the list of modules is incomplete: reading it met a fault, which was swallowed", listing);
    if (gathering.code)
        write_note(text, "the registers are incomplete: reading them met a fault, which was swallowed", gathering);
    return text.c_str();
}

bool begin_trace(const EXCEPTION_POINTERS* pointers) {
    StepFault listing, walking = {};
    ready_trace = nullptr;
    fault.capture(memory, pointers, symbol_work.session, &listing);
    if (!fault.has_record && !fault.has_context)
        return false;
    const bool symbols_done =
        !was_abandoned() && run_with_room(walk_with_symbols, &symbol_work, kPatience) == Outcome::kDone;
    StackTrace* trace = symbols_done ? &symbol_work.trace : &plain_trace;
    if (!symbols_done) {
        guarded(&walking, [] { plain_trace.walk(memory, fault, nullptr); });
        trace->add_note(kNoRoom, walking);
    } else if (symbol_work.note) {
        trace->add_note(symbol_work.note, symbol_work.session.fault());
    }
    if (listing.code)
        trace->add_note("the list of modules is incomplete", listing);
    ready_trace = trace;
    trace_thread = GetCurrentThreadId();
    trace_pointers = pointers;
    return true;
}

const char* next_trace_line(unsigned options, const EXCEPTION_POINTERS* pointers) {
    if (!ready_trace || trace_thread != GetCurrentThreadId() || trace_pointers != pointers)
        return nullptr;
    TextBuilder text(line_text);
    return ready_trace->write_next_line(fault.modules, options, text) ? text.c_str() : nullptr;
}

} // namespace faultkit
