// Walks the stack of 32-bit code without debugging information, also through functions that keep no frame pointer.
#pragma once

#include <stdint.h>

#include "companions/faultkit/walk/trace.h"
#include "companions/faultkit/walk/x86/call_site.h"
#include "companions/faultkit/walk/x86/function_finder.h"
#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

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
    // What the ways of finding a caller start from, and what they find.
    struct Step {
        const Frame& frame;
        uint32_t from, end; // the stack that is searched; up to the chain's link, if there is one
        Level level;
        bool anchored; // the chain leads on, to the anchor
        Slot anchor;

        Slot found; // the caller's return address
        FrameOrigin origin;

        explicit Step(const Frame& of) : frame(of) {}
        const Slot* chain() const { return anchored ? &anchor : nullptr; }
    };
    using Way = bool (FrameWalker::*)(Step& step);

    // The ways, in the order in which they are tried.
    bool by_hidden_function(Step& step);
    bool by_checked_chain(Step& step);
    bool by_lowest_slot(Step& step);
    bool by_search(Step& step);
    bool by_entering_slot(Step& step);
    bool by_owner_of_link(Step& step);
    bool by_chain(Step& step);
    bool by_guess(Step& step);

    bool begin(Step* step);
    Level level_at(uint32_t address, uint32_t sp);
    bool entered(const Slot& slot, const Level& level);
    bool slot_at(uint32_t place, Slot* slot);
    bool anchor_of(uint32_t sp, uint32_t bp, Slot* anchor);
    bool next_slot(uint32_t from, uint32_t end, Slot* slot);
    void begin_search(const Step& step, Search* search);
    bool leads_on(Search& search, const Level& level, unsigned first);
    bool slot_leads_on(Search& search, unsigned index);
    bool at_edge(const Frame& frame, Slot* slot);
    bool fits(const Level& level, uint32_t arguments, const Slot* anchor);
    uint32_t bp_of_caller(const Frame& frame, const Level& level, const Slot& slot);

    Memory& m_memory;
    const ModuleTable& m_modules;
    FunctionFinder m_functions;
    uint32_t m_stack_end;
};

} // namespace faultkit
