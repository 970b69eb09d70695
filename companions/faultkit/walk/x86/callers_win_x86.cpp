// Two walks offer a caller for each frame, the debugging library's and our own (frame_walker.h); find_caller chooses.
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {
namespace {

Memory* walked_memory; // the library's callback takes no argument of ours

BOOL CALLBACK read_for_walk(HANDLE, DWORD64 address, void* to, DWORD size, DWORD* done) {
    *done = 0;
    if (!walked_memory->read(static_cast<Address>(address), to, size))
        return FALSE;
    *done = size;
    return TRUE;
}

} // namespace

Frame frame_of(const CONTEXT& context) {
    return {context.Eip, context.Esp, context.Ebp, FrameOrigin::kInterrupted};
}

void SymbolSession::walk_one_step(const Frame& frame, Frame* caller, bool* found) {
    walked_memory = m_memory;
    m_walk_context = CONTEXT();
    m_walk_context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    m_walk_context.Eip = frame.pc;
    m_walk_context.Esp = frame.sp;
    m_walk_context.Ebp = frame.bp;
    m_walk_frame = STACKFRAME64();
    m_walk_frame.AddrPC = {frame.pc, 0, AddrModeFlat};
    m_walk_frame.AddrStack = {frame.sp, 0, AddrModeFlat};
    m_walk_frame.AddrFrame = {frame.bp, 0, AddrModeFlat};
    // The first answer is the frame itself, the second its caller.
    for (int i = 0; i < 2; ++i)
        if (!m_library.walk(IMAGE_FILE_MACHINE_I386, m_session, GetCurrentThread(), &m_walk_frame, &m_walk_context,
                            read_for_walk, m_library.function_table, m_library.module_base, nullptr))
            return;
    *caller = {static_cast<uint32_t>(m_walk_frame.AddrPC.Offset), m_walk_context.Esp, m_walk_context.Ebp,
               FrameOrigin::kSymbols};
    *found = true;
}

bool SymbolSession::find_caller(const Frame& frame, Frame* caller) {
    bool found = false;
    return load_module_of(frame.instruction()) == kDebugInfo &&
           attempt([&] { walk_one_step(frame, caller, &found); }) && found;
}

// Some versions of the library follow the frame pointers alone even where a PDB says more, and pass over every function
// that keeps none; others know how much stack a function took, but not what its callee removed. So its caller is taken
// unless our own walk finds one closer by, or one that is better founded.
bool find_caller(FrameWalker& walker, SymbolSession* session, const Frame& frame, Frame* caller) {
    const bool found = walker.find_caller(frame, caller);
    Frame other;
    if (!session || !session->find_caller(frame, &other) || !walker.is_sound(frame, other))
        return found;
    if (!found || caller->origin == FrameOrigin::kGuessed || other.sp == caller->sp ||
        (other.sp < caller->sp && walker.may_have_called(frame, other)))
        *caller = other;
    return true;
}

} // namespace faultkit
