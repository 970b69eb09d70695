// The two texts about a fault, from one snapshot of it; and a minidump.
#pragma once

#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/describe/trace_text.h"
#include "companions/faultkit/notes/host_words.h"
#include "companions/faultkit/walk/stack_walk.h"
#include "companions/faultkit/walk/symbol_session.h"

namespace faultkit {

// All storage is its own: after a fault neither heap nor stack can be relied on. One, in static storage, where all
// zeros is a good beginning; its caller holds the lock of the exports.
class Description {
public:
    // The text of GetFaultReason. Takes a snapshot and walks the stack too, as both need the same symbols; a trace that
    // is being read is left alone.
    const char* reason(const EXCEPTION_POINTERS* pointers);

    // The first line of the trace, from the snapshot that the reason was made of if it is of this fault; null when the
    // pointers lead nowhere.
    const char* first_line(unsigned options, const EXCEPTION_POINTERS* pointers);

    // The next line, null at the trace's end or when this thread did not begin it with these pointers.
    const char* next_line(unsigned options, const EXCEPTION_POINTERS* pointers);

    // WriteFaultText: the reason and all stacks, in full, to the file. Returns 0 or the system's error code.
    uint32_t write_to_file(const char* path, const EXCEPTION_POINTERS* pointers);

private:
    // What is made while symbols are at hand, besides the trace.
    enum Purpose { kTrace, kReason, kFile };

    // What the symbol work reads and writes. When its thread is abandoned, it keeps all of this for good.
    struct SymbolWork {
        const Snapshot* snapshot;
        OwnUnloads own_unloads;
        SymbolSession session;
        StackWalk walk;
        bool with_walk;
        Description* self;
        Purpose purpose;
        SourcePlace places[4]; // of the faulting instruction, innermost inlined function first
        win::Fault walking;    // met on the way down the stack
        const char* trouble;   // why symbols are missing; null when all is well
    };
    // Whether there is a trace: none, one that was walked with the reason, or one that is being read.
    enum TraceState { kNone, kAhead, kRead };

    static void work_with_symbols(void* work);
    const SourcePlace& look_up(Purpose purpose, bool with_walk);
    void tell(Purpose purpose, SymbolSession* session, const SourcePlace& place, const Trace* trace);
    void write_in_full(SymbolSession* session, const SourcePlace& place, const Trace* trace);
    void begin_trace(bool with_symbols);
    void gather();
    // Those of the fault and of its describer: two where a waiting thread describes it.
    unsigned threads_of_fault() const { return m_snapshot.facts().thread == m_snapshot.facts().describer ? 1 : 2; }
    unsigned other_threads() const { return m_process.threads ? m_process.threads - threads_of_fault() : 0; }
    void write_head(TextBuilder& text, const SourcePlace& place, const Trace* trace);
    void write_reason(TextBuilder& text);
    void write_last_notes(TextBuilder& text);

    Snapshot m_snapshot;
    ProcessFacts m_process;
    HostWords m_words;
    SymbolWork m_work;
    Note m_symbol_note;     // why symbols are missing; no text when all is well
    StackWalk m_plain_walk; // where the symbol work came to nothing

    TraceText m_trace;
    TraceState m_trace_state;
    DWORD m_trace_thread;
    const EXCEPTION_POINTERS* m_trace_pointers;

    char m_threads[3 * 1024]; // what is told of the other threads
    HANDLE m_file;            // that is written; null between
    uint32_t m_file_error;
    char m_reason[12 * 1024];
    char m_line[640];
};

// Writes a minidump of the process to the file `path`; null pointers write one without a fault. Returns 0 or the
// system's error code. No file is left behind after an error. The caller holds the lock of the exports.
DWORD write_dump(const char* path, EXCEPTION_POINTERS* pointers);

} // namespace faultkit
