// A function that takes stack or calls others has unwind data, so that a walk by them is right and needs no heuristics.
// There are none for functions that do neither, whose return address is on top of the stack; and for code that nobody
// has described, or where the stack is overwritten, the next return address further up is a guess.
#include "companions/faultkit/walk/x64/frame_walker.h"

#include "companions/faultkit/walk/x64/call_site.h"

namespace faultkit {
namespace {

constexpr Address kGuessReach = 0x8000; // how far a return address is looked for
constexpr Address kThreadStart = 0x100; // so near the end of the stack there is nothing left to guess
constexpr Address kFirstFrame = 0x1000; // so near may be the thread's first frame, which returns to 0
constexpr unsigned kMostGuesses = 64;   // slots that are tried for whether they lead on
constexpr unsigned kStepsOfGuess = 3;   // that must be found by unwind data from there

} // namespace

bool FrameWalker::rises(const Frame& frame, const Frame& caller) const {
    return caller.sp > frame.sp && caller.sp <= m_stack_end && caller.sp % 8 == 0;
}

bool FrameWalker::by_unwind_data(const Frame& frame, Frame* caller) {
    const Module* const module = m_modules.find(frame.instruction());
    FunctionEntry function;
    if (!module || !find_function(m_memory, module->image, frame.instruction(), &function))
        return false;
    if (finish_function(m_memory, module->image, function, frame, caller) && rises(frame, *caller) &&
        is_behind_call(m_memory, m_modules, caller->pc))
        return true;
    return unwind(m_memory, module->image, function, frame, caller) && rises(frame, *caller) &&
           (m_modules.is_or_was_code(caller->pc) || (caller->pc == 0 && m_stack_end - caller->sp <= kFirstFrame));
}

// A function without unwind data that calls nothing and takes no stack, or a call through a bad pointer.
bool FrameWalker::by_top_of_stack(const Frame& frame, Frame* caller) {
    *caller = frame;
    if (!frame.interrupted || !pop_return_address(m_memory, caller))
        return false;
    caller->sp = caller->registers[kRsp];
    return rises(frame, *caller) && is_behind_call(m_memory, m_modules, caller->pc);
}

// Whether some steps up from the frame, or to the end of the stack, are well founded.
bool FrameWalker::leads_on(Frame frame) {
    for (unsigned i = 0; i < kStepsOfGuess && frame.pc && m_stack_end - frame.sp > kThreadStart; ++i) {
        Frame caller;
        if (!by_unwind_data(frame, &caller) || (caller.pc && !is_behind_call(m_memory, m_modules, caller.pc)))
            return false;
        frame = caller;
    }
    return true;
}

// Whether the call in front of `caller` may have led to `frame`: not where it is known to have gone elsewhere.
bool FrameWalker::may_have_called(const Frame& frame, const Frame& caller) {
    const Address target = target_of_call_before(m_memory, m_modules, caller.pc);
    if (!target)
        return true;
    const Module* const module = m_modules.find(frame.instruction());
    if (!module)
        return !m_modules.find(target);
    FunctionEntry ours, entered;
    const bool described = find_function(m_memory, module->image, frame.instruction(), &ours);
    if (!find_function(m_memory, module->image, target, &entered))
        return !described && m_modules.find(target) == module;
    return described && first_part(m_memory, module->image, ours).begin == entered.begin;
}

// The lowest return address on the stack whose call may have led here and from which unwind data lead on; without one
// the lowest.
bool FrameWalker::by_guess(const Frame& frame, Frame* caller) {
    const Address from = (frame.sp + 7) & ~Address(7);
    if (from < frame.sp || from >= m_stack_end || m_stack_end - from <= kThreadStart)
        return false;
    const Address end = m_stack_end - from < kGuessReach ? m_stack_end : from + kGuessReach;
    unsigned count = 0;
    for (Address place = from; place < end && count < kMostGuesses; place += 8) {
        Frame guess = frame;
        guess.origin = FrameOrigin::kGuessed;
        guess.registers[kRsp] = place;
        Address saved = 0;
        // Functions with a frame pointer push their caller's next to the return address.
        if (place > from && m_memory.read_address(place - 8, &saved) && saved > place && saved < m_stack_end)
            guess.registers[kRbp] = saved;
        if (!pop_return_address(m_memory, &guess) || !is_behind_call(m_memory, m_modules, guess.pc))
            continue;
        guess.sp = place + 8;
        const bool best = may_have_called(frame, guess) && leads_on(guess);
        if (best || count == 0)
            *caller = guess;
        if (best)
            return true;
        ++count;
    }
    return count != 0;
}

bool FrameWalker::find_caller(const Frame& frame, Frame* caller) {
    const bool found = by_unwind_data(frame, caller) || by_top_of_stack(frame, caller);
    if (!found)
        return by_guess(frame, caller);
    caller->origin = FrameOrigin::kChecked;
    return caller->pc != 0;
}

} // namespace faultkit
