// Walks the stack of 32-bit code without debugging information, also through functions that keep no frame pointer.
#pragma once

#include <stdint.h>

#include "companions/faultkit/walk/x86/call_site.h"
#include "companions/faultkit/walk/x86/function_finder.h"
#include "companions/faultkit/capture/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

// How a frame was found, from certain to doubtful.
enum class FrameOrigin : uint8_t {
    kInterrupted, // the fault's own registers
    kSymbols,     // the debugging library, from a PDB
    kChecked,     // the call before the return address entered the function below
    kPlausible,   // a call through a pointer, made by a function that leads on
    kChained,     // the chain of frame pointers
    kGuessed,     // the first thing on the stack that looks like a return address
};

struct Frame {
    uint32_t pc; // address of the interrupted instruction, or a return address
    uint32_t sp; // stack pointer of the function that holds pc; behind the return address for a caller
    uint32_t bp; // frame pointer there, if the function keeps one; otherwise whatever the register holds
    FrameOrigin origin;

    // An address inside the instruction that belongs to the frame: a return address may be the next line's, or even the
    // next function's.
    uint32_t instruction() const { return origin == FrameOrigin::kInterrupted ? pc : pc - 1; }
};

// Some 2 KB large.
class FrameWalker {
public:
    // stack_end: one past the highest address of the stack. Both references must outlive the walker.
    FrameWalker(Memory& memory, const ModuleTable& modules, uint32_t stack_end)
        : m_memory(memory), m_modules(modules), m_functions(memory, modules), m_stack_end(stack_end) {}

    // The caller of `frame`. Returns false at the end of what can be found. The caller's sp is always above the
    // frame's.
    bool find_caller(const Frame& frame, Frame* caller);

    // Whether `caller` is a sound continuation of `frame`: higher on the stack, inside code, after a call.
    bool is_sound(const Frame& frame, const Frame& caller);

    // Whether the call in front of `caller` may have led to `frame`: false where it went into another module.
    bool may_have_called(const Frame& frame, const Frame& caller);

private:
    struct Slot {
        uint32_t place, value; // address on the stack, and the return address that it holds
        CallSite call;
    };
    // A function on the way up: the code that is being executed, and the stack below which its return address can't be.
    struct Level {
        uint32_t address, floor;
        FunctionBounds function;
        Prologue prologue;
    };
    struct Search;

    Level level_at(uint32_t address, uint32_t sp);
    bool entered(const Slot& slot, const Level& level);
    bool slot_at(uint32_t place, Slot* slot);
    bool anchor_of(uint32_t sp, uint32_t bp, Slot* anchor);
    bool next_slot(uint32_t from, uint32_t end, Slot* slot);
    bool find_entering(const Level& level, uint32_t from, uint32_t end, Slot* slot);
    void begin_search(const Level& level, uint32_t end, const Slot* anchor, Search* search);
    bool leads_on(Search& search, const Level& level, unsigned first);
    bool slot_leads_on(Search& search, unsigned index);
    bool find_return(Search& search, const Level& level, Slot* slot, FrameOrigin* origin);
    bool find_owner(const Level& level, const Slot& anchor, Slot* slot);
    bool interrupted_at_edge(const Frame& frame, Slot* slot);
    bool fits(const Level& level, uint32_t arguments, const Slot* anchor);
    bool find_hidden(const Frame& frame, const Slot* anchor, Level* level, Slot* slot);
    uint32_t bp_of_caller(const Frame& frame, const Level& level, const Slot& slot);

    Memory& m_memory;
    const ModuleTable& m_modules;
    FunctionFinder m_functions;
    uint32_t m_stack_end;
};

} // namespace faultkit
