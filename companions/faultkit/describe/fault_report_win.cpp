// All storage is static: after a fault neither heap nor stack can be relied on. The trace is walked along with the
// reason, as both need the same symbols.
#include "companions/faultkit/describe/fault_report.h"

#include "companions/faultkit/describe/exception_names.h"
#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/describe/fault_text.h"
#include "companions/faultkit/capture/process_modules.h"
#include "companions/faultkit/work_stack.h"
#include "companions/faultkit/describe/stack_trace.h"
#include "companions/faultkit/walk/symbol_session.h"
#include "companions/faultkit/capture/thrown_type.h"

namespace faultkit {
namespace {

constexpr unsigned kReasonSize = 12 * 1024;
constexpr unsigned kNotesRoom = 400; // characters of the reason kept for the notes behind the modules
constexpr unsigned kMostInlined = 4;
constexpr unsigned kPatience = 10000; // milliseconds

const char kNoLibrary[] = "no symbols: the system has no usable dbghelp.dll";
const char kLibraryFaulted[] = "symbols are incomplete: dbghelp.dll met a fault, which was swallowed";
const char kNoRoom[] = "no symbols: the stack is used up and a thread for them did not run in time";

const char kWalkFaulted[] = "the trace is incomplete: walking the stack met a fault, which was swallowed";
const char kListingFaulted[] = "the list of modules is incomplete: reading it met a fault, which was swallowed";
const char kGatheringFaulted[] = "the registers are incomplete: reading them met a fault, which was swallowed";

// What the symbol work reads and writes. When its thread is abandoned, it keeps all of this for good.
struct SymbolWork {
    SymbolSession session;
    StackTrace trace;
    bool with_trace;
    SourcePlace places[kMostInlined]; // of the faulting instruction
    win::Fault walking;               // met on the way down the stack
    const char* note;                 // why symbols are missing; null when all is well
};

ProcessMemory memory;
FaultContext fault;
FaultContext fault_again; // captured for a trace that is ahead
FaultFacts facts;
SymbolWork symbol_work;
StackTrace plain_trace; // where the symbol work came to nothing
win::Fault listing;     // met while listing the modules

// The trace to hand out, null for none. Walking takes the same symbols as the reason, so both are made at once: then
// the trace is ahead, and is handed out if it is asked for next and the modules are still the same.
StackTrace* ready_trace;
bool is_ahead;
DWORD trace_thread;
const EXCEPTION_POINTERS* trace_pointers;

char reason_text[kReasonSize];
char line_text[640];

void work_with_symbols(void* data) {
    SymbolWork* work = static_cast<SymbolWork*>(data);
    SymbolSession& session = work->session;
    const bool opened = session.open(memory, fault.modules);
    session.find_places(reinterpret_cast<uint32_t>(fault.record.ExceptionAddress), work->places, kMostInlined);
    work->walking = {};
    if (work->with_trace)
        win::run_guarded(win::swallow_and_note(&work->walking), [&] { work->trace.walk(memory, fault, &session); });
    session.close();
    work->note = session.fault().code ? kLibraryFaulted : opened ? nullptr : kNoLibrary;
}

void write_note(TextBuilder& text, const char* note, const win::Fault& met) {
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

// What was learnt with symbols: the place of the faulting instruction, and why symbols are missing (null when all is
// well), with the fault that was met on the way.
struct SymbolOutcome {
    const SourcePlace* place;
    const char* note;
    win::Fault met;
};

// Does the symbol work on the fault that was captured, and with it the trace, which is then the one to hand out.
SymbolOutcome look_up_symbols(const EXCEPTION_POINTERS* pointers, bool with_trace) {
    static const SourcePlace kUnknown = {};
    SymbolOutcome outcome = {&kUnknown, kNoRoom, {}};
    StackTrace* trace = &plain_trace;
    win::Fault walking = {};
    if (!was_abandoned()) {
        symbol_work.with_trace = with_trace;
        if (run_with_room(work_with_symbols, &symbol_work, kPatience) == Outcome::kDone) {
            outcome = {&symbol_work.places[0], symbol_work.note, symbol_work.session.fault()};
            trace = &symbol_work.trace;
            walking = symbol_work.walking;
        }
    }
    if (!with_trace)
        return outcome;
    if (trace == &plain_trace)
        win::run_guarded(win::swallow_and_note(&walking), [] { plain_trace.walk(memory, fault, nullptr); });
    if (outcome.note)
        trace->add_note(outcome.note, outcome.met);
    if (listing.code)
        trace->add_note(kListingFaulted, listing);
    if (walking.code)
        trace->add_note(kWalkFaulted, walking);
    ready_trace = trace;
    trace_thread = GetCurrentThreadId();
    trace_pointers = pointers;
    return outcome;
}

bool capture(const EXCEPTION_POINTERS* pointers, const FaultContext* before, FaultContext* captured) {
    captured->capture(memory, pointers, symbol_work.session, before, &listing);
    return captured->has_record || captured->has_context;
}

// Whether the ready trace was begun, or walked ahead, by this thread for these pointers.
bool is_trace_of(const EXCEPTION_POINTERS* pointers) {
    return ready_trace && trace_thread == GetCurrentThreadId() && trace_pointers == pointers;
}

} // namespace

const char* make_reason(const EXCEPTION_POINTERS* pointers) {
    TextBuilder text(reason_text);
    if (!capture(pointers, nullptr, &fault))
        return text.text("no description: the exception pointers can't be read").c_str();
    win::Fault gathering = {};
    win::run_guarded(win::swallow_and_note(&gathering), gather_facts);
    // A trace that somebody is reading is left alone.
    const bool with_trace = !ready_trace || is_ahead;
    const SymbolOutcome outcome = look_up_symbols(pointers, with_trace);
    is_ahead = with_trace;
    facts.place = *outcome.place;
    describe_fault(text, facts, fault.modules);
    list_modules(text, facts, fault.modules, kNotesRoom);
    if (outcome.note)
        write_note(text, outcome.note, outcome.met);
    if (listing.code)
        write_note(text, kListingFaulted, listing);
    if (gathering.code)
        write_note(text, kGatheringFaulted, gathering);
    return text.c_str();
}

bool begin_trace(const EXCEPTION_POINTERS* pointers) {
    const bool is_ready =
        is_ahead && is_trace_of(pointers) && capture(pointers, &fault, &fault_again) && fault_again.is_same_as(fault);
    is_ahead = false;
    if (is_ready)
        return true;
    ready_trace = nullptr;
    if (!capture(pointers, nullptr, &fault))
        return false;
    look_up_symbols(pointers, true);
    return true;
}

const char* next_trace_line(unsigned options, const EXCEPTION_POINTERS* pointers) {
    if (is_ahead || !is_trace_of(pointers))
        return nullptr;
    TextBuilder text(line_text);
    if (ready_trace->write_next_line(fault.modules, options, text))
        return text.c_str();
    ready_trace = nullptr; // read to its end
    return nullptr;
}

} // namespace faultkit
