// A report is made in this order: the exception pointers are copied, the system is asked, symbols are read and the
// stack is walked, and only then is text written. What is cheap and certain comes before what may hang or fault, and
// each of these has a guard of its own, so that one that fails leaves the others.
//
// The trace is walked along with the reason, as both need the same symbols: then it is ahead, and is handed out if it
// is asked for next.
#include "companions/faultkit/describe/description.h"

#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/describe/fault_text.h"
#include "companions/faultkit/describe/process_text.h"
#include "companions/faultkit/describe/signature_text.h"
#include "companions/faultkit/describe/stack_text.h"
#include "companions/faultkit/walk/stopped_thread.h"
#include "companions/faultkit/work_stack.h"
#include "win/files.h"

namespace faultkit {
namespace {

constexpr unsigned kNotesSpace = 400; // characters of the reason kept for the notes behind the modules
constexpr unsigned kMostNotes = 2048; // characters of the host's notes
constexpr unsigned kTimeout = 10000;  // milliseconds
constexpr unsigned kFileTimeout = 60000;

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
    work.trouble = session.fault().code ? kLibraryFaulted : opened ? nullptr : kNoLibrary;
    work.self->tell(work.purpose, &session, work.places[0], work.with_walk ? &work.walk.trace() : nullptr);
    // What the loader notes from here on is the debugging library, and what that has loaded: nothing of the host's.
    const uint32_t unloads_before = next_unload_sequence(memory);
    session.close();
    work.own_unloads.add(unloads_before, next_unload_sequence(memory));
    work.trouble = session.fault().code ? kLibraryFaulted : work.trouble;
}

// What symbols are needed for while they are at hand. session: null where there are none.
void Description::tell(Purpose purpose, SymbolSession* session, const SourcePlace& place, const Trace* trace) {
    if (purpose == kReason) {
        TextBuilder text(m_threads);
        TextSink out(text);
        win::run_guarded(win::kSwallowAll, [&] {
            write_other_threads({memory, m_snapshot, session, out}, other_threads(), true, sizeof m_threads - 1);
        });
    } else if (purpose == kFile) {
        win::run_guarded(win::kSwallowAll, [&] { write_in_full(session, place, trace); });
    }
}

// Does the symbol work on the snapshot, and with it the walk. Returns the place of the faulting instruction.
const SourcePlace& Description::look_up(Purpose purpose, bool with_walk) {
    static const SourcePlace kUnknown = {};
    m_symbol_note = {kNoStack, {}};
    // A thread that was given up may still write to the work's data: nothing of it is read again.
    Outcome outcome = Outcome::kAbandoned;
    if (!was_abandoned()) {
        m_work.snapshot = &m_snapshot;
        m_work.with_walk = with_walk;
        m_work.self = this;
        m_work.purpose = purpose;
        outcome = run_on_large_stack(work_with_symbols, &m_work, purpose == kFile ? kFileTimeout : kTimeout);
    }
    const bool done = outcome == Outcome::kDone;
    if (done)
        m_symbol_note = {m_work.trouble, m_work.session.fault()};
    if (with_walk)
        begin_trace(done);
    // The other threads, and the file, are told of all the same, without names.
    if (outcome == Outcome::kNoThread)
        tell(purpose, nullptr, kUnknown, with_walk ? &m_trace.trace() : nullptr);
    return done ? m_work.places[0] : kUnknown;
}

void Description::begin_trace(bool with_symbols) {
    win::Fault walking = {};
    if (with_symbols)
        walking = m_work.walking;
    else
        // Here, on what stack there is: the walker needs little, the debugging library is what needs more.
        win::run_guarded(win::swallow_and_note(&walking), [&] { m_plain_walk.walk(memory, m_snapshot, nullptr); });
    m_trace.begin((with_symbols ? m_work.walk : m_plain_walk).trace());
    if (m_symbol_note.text)
        m_trace.add_note(m_symbol_note);
    if (m_snapshot.listing_fault().code)
        m_trace.add_note({kListingFaulted, m_snapshot.listing_fault()});
    if (walking.code)
        m_trace.add_note({kWalkFaulted, walking});
}

void Description::gather() {
    m_words.value_count = m_words.note_count = m_words.notes_before = 0;
    win::run_guarded(win::kSwallowAll, [&] { m_words.take(); });
    m_process = ProcessFacts();
    win::run_guarded(win::kSwallowAll, [&] { gather_process_facts(memory, m_words.with_private(), &m_process); });
    m_process.space = m_snapshot.space();
    m_threads[0] = '\0';
    win::run_guarded(win::kSwallowAll, [&] {
        if (const CONTEXT* const context = m_snapshot.context())
            m_snapshot.set_thread(thread_of_stack(memory, frame_of(*context).sp));
        m_process.threads = count_other_threads(memory, m_snapshot) + threads_of_fault();
        m_process.known |= ProcessFacts::kThreads;
    });
}

void Description::write_head(TextBuilder& text, const SourcePlace& place, const Trace* trace) {
    const FaultFacts& facts = m_snapshot.facts();
    const TraceLine instruction = {facts.address, FrameOrigin::kInterrupted, place};
    describe_fault(text, facts, place, m_snapshot.modules());
    write_signature(text, facts, m_snapshot.modules(), trace ? trace->lines : &instruction, trace ? trace->count : 1);
    write_time(text, m_process);
}

// What stands behind the head is kept in this order: values, notes, the program's own modules, threads, the rest. So
// each is measured before what is kept after it is written.
void Description::write_reason(TextBuilder& text) {
    const FaultFacts& facts = m_snapshot.facts();
    const ModuleTable& modules = m_snapshot.modules();
    const unsigned mark = text.length();
    const auto write_words = [&] {
        write_values(text, m_words.values, m_words.value_count);
        write_notes(text, m_words.notes, m_words.note_count, m_words.notes_before, m_process.time, kMostNotes);
    };
    write_words();
    const unsigned taken = length_of_own_modules(text, facts, modules) + kNotesSpace;
    unsigned space = text.space() > taken ? text.space() - taken : 0;
    text.cut_to(mark);
    const unsigned threads = bounded_length(m_threads, space);
    space -= threads;
    write_process(text, m_process, modules.find(facts.executable));
    text.cut_to_lines(mark, space);
    write_words();
    const unsigned before_threads = text.length();
    text.text(m_threads).cut_to_lines(before_threads, threads);
    list_modules(text, facts, modules, kNotesSpace);
}

void Description::write_last_notes(TextBuilder& text) {
    const Note notes[] = {m_symbol_note,
                          {kListingFaulted, m_snapshot.listing_fault()},
                          {kGatheringFaulted, m_snapshot.gathering_fault()}};
    for (const Note& note : notes)
        if (note.text && (note.fault.code || &note == notes))
            write_note(text.character('\n'), m_snapshot.modules(), note);
}

const char* Description::reason(const EXCEPTION_POINTERS* pointers) {
    TextBuilder text(m_reason);
    if (!m_snapshot.take(memory, pointers, m_work.own_unloads))
        return text.text("no description: the exception pointers can't be read").c_str();
    gather();
    const bool with_walk = m_trace_state != kRead;
    const SourcePlace& place = look_up(kReason, with_walk);
    if (with_walk)
        m_trace_state = kAhead;
    write_head(text, place, with_walk ? &m_trace.trace() : nullptr);
    write_reason(text);
    write_last_notes(text);
    return text.c_str();
}

// A text that is taken to the file whenever it has grown.
class FileOut : public TextSink {
public:
    FileOut(TextBuilder& text, HANDLE file) : TextSink(text), m_file(file) {}

    void line_ends() override {
        if (text.length() > kFull)
            flush();
    }
    void flush() {
        if (!win::write_all(m_file, text.c_str(), text.length()))
            error = win::last_error_or(ERROR_DISK_FULL);
        text.cut_to(0);
    }

    DWORD error = ERROR_SUCCESS;

private:
    static constexpr unsigned kFull = 8 * 1024;

    HANDLE m_file;
};

void Description::write_in_full(SymbolSession* session, const SourcePlace& place, const Trace* trace) {
    static char storage[64 * 1024]; // enough for what grows without an end of line: the list of modules
    constexpr unsigned kAll = 0xFFFF;
    TextBuilder text(storage);
    FileOut out(text, m_file);
    const StackScene scene = {memory, m_snapshot, session, out};
    const FaultFacts& facts = m_snapshot.facts();
    const ModuleTable& modules = m_snapshot.modules();
    write_head(text.text("Crush Expantion:\n"), place, trace);
    write_process(text, m_process, modules.find(facts.executable));
    write_values(text, m_words.values, m_words.value_count);
    write_notes(text, m_words.notes, m_words.note_count, m_words.notes_before, m_process.time, kAll);
    out.flush();
    list_modules(text, facts, modules, 0);
    // Of symbols that are at hand look_up() notes this only when the work is done, and the file is written before.
    if (session)
        m_symbol_note = {m_work.trouble, m_work.session.fault()};
    write_last_notes(text);
    text.text("\n\nStack Trace:\n");
    win::run_guarded(win::kSwallowAll, [&] { write_fault_stack(scene); });
    write_other_threads(scene, other_threads(), false, 0);
    text.character('\n');
    out.flush();
    m_file_error = out.error;
}

uint32_t Description::write_to_file(const char* path, const EXCEPTION_POINTERS* pointers) {
    if (!path || !*path || !m_snapshot.take(memory, pointers, m_work.own_unloads))
        return ERROR_INVALID_PARAMETER;
    return write_file(path, [&](void* file) {
        m_file = file;
        gather();
        m_file_error = ERROR_NOACCESS; // until it is written: the work may fault
        const bool with_walk = m_trace_state != kRead;
        look_up(kFile, with_walk);
        if (with_walk)
            m_trace_state = kAhead;
        return m_file_error;
    });
}

const char* Description::first_line(unsigned options, const EXCEPTION_POINTERS* pointers) {
    const bool is_ready = m_trace_state == kAhead && m_snapshot.is_of(memory, pointers);
    m_trace_state = kNone;
    if (!is_ready) {
        if (!m_snapshot.take(memory, pointers, m_work.own_unloads))
            return nullptr;
        look_up(kTrace, true);
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
