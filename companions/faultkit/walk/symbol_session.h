// What the debugging library knows about this process: names and lines of addresses, and steps down the stack where a
// PDB describes the frames.
#pragma once

#include "companions/faultkit/walk/debug_library.h"
#include "companions/faultkit/walk/frame_walker.h"
#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/walk/trace.h"
#include "win/guard.h"

namespace faultkit {

// One at a time in the process, in static storage. Every call into the library is guarded: after a fault in there it is
// not entered again, fault() tells what happened, and every answer is "nothing known".
class SymbolSession {
public:
    // Opens the library with a handle of our own, so that the host's use of it for the same process is not disturbed.
    // Both references must outlive the session. Returns false when there is no library, or it fails.
    bool open(Memory& memory, const ModuleTable& modules);
    void close();

    // The fault that the library met; code 0 when there was none.
    const win::Fault& fault() const { return m_fault; }

    // Names of the address, innermost inlined function first; the last one is the function whose code it is. Returns
    // how many there are, 1 at least: with empty texts when nothing is known.
    unsigned find_places(Address address, SourcePlace* places, unsigned most);

    // The caller of `frame` by the library's own walk, in 32-bit processes. Only where a PDB of the module is at hand;
    // it is not checked.
    bool find_caller(const Frame& frame, Frame* caller);

private:
    enum State { kClosed, kOpen, kFailed };
    enum ModuleState : uint8_t { kUntried, kNothing, kExports, kDebugInfo };

    ModuleState load_module_of(Address address);
    void load_module(const Module& module, ModuleState* state);
    void find_symbol(Address address, bool exports_only, SourcePlace* place);
    unsigned find_inlined(Address address, SourcePlace* places, unsigned most);
    void keep_symbol(SourcePlace* place, DWORD64 displacement);
    void keep_line(SourcePlace* place);
    void walk_one_step(const Frame& frame, Frame* caller, bool* found);
    template <class Step>
    bool attempt(Step step) {
        if (m_state != kOpen)
            return false;
        if (win::run_guarded(win::swallow_and_note(&m_fault), step))
            return true;
        m_state = kFailed; // its data may be half changed, its lock held: neither used nor freed any more
        return false;
    }

    DebugLibrary m_library;
    Memory* m_memory;
    const ModuleTable* m_modules;
    HANDLE m_session; // what the library knows this session by
    DWORD m_options_before;
    State m_state;
    win::Fault m_fault;
    ModuleState m_module_states[ModuleTable::kMostModules];

    // Working storage, here instead of on a stack that may be nearly used up.
    union {
        SYMBOL_INFO info;
        char storage[sizeof(SYMBOL_INFO) + sizeof(SourcePlace::function)];
    } m_symbol;
    IMAGEHLP_LINE64 m_line;
    IMAGEHLP_MODULE64 m_module_info;
    STACKFRAME64 m_walk_frame;
    CONTEXT m_walk_context;
    char m_path[2048];
};

} // namespace faultkit
