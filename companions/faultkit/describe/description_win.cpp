// The trace is walked along with the reason, as both need the same symbols: then it is ahead, and is handed out if it
// is asked for next.
#include "companions/faultkit/describe/description.h"

#include "companions/faultkit/describe/fault_text.h"
#include "companions/faultkit/work_stack.h"

namespace faultkit {
namespace {

constexpr unsigned kNotesSpace = 400; // characters of the reason kept for the notes behind the modules
constexpr unsigned kTimeout = 10000;  // milliseconds

const char kNoLibrary[] = "no symbols: the system has no usable dbghelp.dll";
const char kLibraryFaulted[] = "symbols are incomplete: dbghelp.dll met a fault, which was swallowed";
const char kNoStack[] = "no symbols: the stack is used up and a thread for them did not run in time";

const char kWalkFaulted[] = "the trace is incomplete: walking the stack met a fault, which was swallowed";
const char kListingFaulted[] = "the list of modules is incomplete: reading it met a fault, which was swallowed";
const char kGatheringFaulted[] = "the registers are incomplete: reading them met a fault, which was swallowed";

ProcessMemory memory; // not in the large object, which takes no space in the file as long as it is all zeros

} // namespace

void Description::work_with_symbols(void* data) {
    SymbolWork& work = *static_cast<SymbolWork*>(data);
    SymbolSession& session = work.session;
    const bool opened = session.open(memory, work.snapshot->modules());
    session.find_places(work.snapshot->facts().address, work.places, 4);
    work.walking = {};
    if (work.with_walk)
        win::run_guarded(win::swallow_and_note(&work.walking),
                         [&] { work.walk.walk(memory, *work.snapshot, &session); });
    const uint32_t unloads_before = next_unload_sequence(memory);
    session.close();
    work.own_unloads.add(unloads_before, next_unload_sequence(memory));
    work.trouble = session.fault().code ? kLibraryFaulted : opened ? nullptr : kNoLibrary;
}

// Does the symbol work on the snapshot, and with it the walk. Returns the place of the faulting instruction.
const SourcePlace& Description::look_up(bool with_walk) {
    static const SourcePlace kUnknown = {};
    m_symbol_note = {kNoStack, {}};
    const bool done = !was_abandoned() && [&] {
        m_work.snapshot = &m_snapshot;
        m_work.with_walk = with_walk;
        return run_on_large_stack(work_with_symbols, &m_work, kTimeout) == Outcome::kDone;
    }();
    if (done)
        m_symbol_note = {m_work.trouble, m_work.session.fault()};
    if (with_walk)
        begin_trace(done);
    return done ? m_work.places[0] : kUnknown;
}

void Description::begin_trace(bool with_symbols) {
    win::Fault walking = {};
    if (with_symbols)
        walking = m_work.walking;
    else
        win::run_guarded(win::swallow_and_note(&walking), [&] { m_plain_walk.walk(memory, m_snapshot, nullptr); });
    m_trace.begin((with_symbols ? m_work.walk : m_plain_walk).trace());
    if (m_symbol_note.text)
        m_trace.add_note(m_symbol_note);
    if (m_snapshot.listing_fault().code)
        m_trace.add_note({kListingFaulted, m_snapshot.listing_fault()});
    if (walking.code)
        m_trace.add_note({kWalkFaulted, walking});
}

const char* Description::reason(const EXCEPTION_POINTERS* pointers) {
    TextBuilder text(m_reason);
    if (!m_snapshot.take(memory, pointers, m_work.own_unloads))
        return text.text("no description: the exception pointers can't be read").c_str();
    const bool with_walk = m_trace_state != kRead;
    const SourcePlace& place = look_up(with_walk);
    if (with_walk)
        m_trace_state = kAhead;
    const FaultFacts& facts = m_snapshot.facts();
    const ModuleTable& modules = m_snapshot.modules();
    describe_fault(text, facts, place, modules);
    list_modules(text, facts, modules, kNotesSpace);
    const Note notes[] = {m_symbol_note,
                          {kListingFaulted, m_snapshot.listing_fault()},
                          {kGatheringFaulted, m_snapshot.gathering_fault()}};
    for (const Note& note : notes)
        if (note.text && (note.fault.code || &note == notes))
            write_note(text.character('\n'), modules, note);
    return text.c_str();
}

const char* Description::first_line(unsigned options, const EXCEPTION_POINTERS* pointers) {
    const bool is_ready = m_trace_state == kAhead && m_snapshot.is_of(memory, pointers);
    m_trace_state = kNone;
    if (!is_ready) {
        if (!m_snapshot.take(memory, pointers, m_work.own_unloads))
            return nullptr;
        look_up(true);
    }
    m_trace_state = kRead;
    m_trace_thread = GetCurrentThreadId();
    m_trace_pointers = pointers;
    return next_line(options, pointers);
}

const char* Description::next_line(unsigned options, const EXCEPTION_POINTERS* pointers) {
    if (m_trace_state != kRead || m_trace_thread != GetCurrentThreadId() || m_trace_pointers != pointers)
        return nullptr;
    TextBuilder text(m_line);
    if (m_trace.write_next_line(m_snapshot.modules(), options, text))
        return text.c_str();
    m_trace_state = kNone; // read to its end
    return nullptr;
}

} // namespace faultkit
