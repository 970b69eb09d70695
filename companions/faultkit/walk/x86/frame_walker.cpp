// 32-bit code carries no unwind tables. What there is to go by:
//
//   - A framed function keeps ebp: the return address is at [ebp + 4], the caller's ebp at [ebp]. A function without a
//     frame leaves ebp alone or uses it for something else, so the chain alone skips it, and its end means nothing.
//   - A return address stands after a call instruction. Stale ones, left by earlier calls in the unused parts of
//     younger frames, do so too.
//   - If the call is of a known target, that target must be the function that holds the frame below: this tells a true
//     return address from a stale one. (A tail call breaks the rule; then the frame is found by the chain, or skipped.)
//   - Compilers align functions and fill the gaps, so the start of the function around an address can be found by
//     looking back for such a gap. Its first instructions say whether it keeps a frame, and how much stack it takes at
//     least: no return address can lie in there.
//
// At a function's edge the frame is not yet or no longer there, and the return address is on top. Anywhere else there
// are several ways to a caller, of which find_caller() takes the first that leads to one.
#include "companions/faultkit/walk/x86/frame_walker.h"

namespace faultkit {
namespace {

constexpr uint32_t kLargestFrame = 0x10000; // how far a return address is looked for without a chain
constexpr uint32_t kGuessReach = 0x4000;    // the same, for a guess
constexpr uint32_t kThreadStart = 0x100;    // so near the end of the stack there is nothing left to guess
constexpr uint32_t kLargestChainLink = 0x400000;

} // namespace

FrameWalker::Level FrameWalker::level_at(uint32_t address, uint32_t sp) {
    Level level = {address, sp, m_functions.find(address), {}};
    if (level.function.start)
        level.prologue =
            read_prologue(m_memory, level.function.push ? level.function.push : level.function.start, address);
    if (level.prologue.taken < kLargestFrame)
        level.floor += level.prologue.taken;
    return level;
}

bool FrameWalker::entered(const Slot& slot, const Level& level) {
    const uint32_t target = slot.call.target;
    if (slot.call.kind != CallSite::kKnown || target > level.address ||
        m_modules.find(target) != m_modules.find(level.address))
        return false;
    const uint32_t start = level.function.framed ? level.function.start - kPrologueReach : level.function.start;
    return level.function.start ? target >= start : level.address - target < kLargestFunction;
}

bool FrameWalker::slot_at(uint32_t place, Slot* slot) {
    slot->place = place;
    if (!m_memory.read_u32(place, &slot->value) || !m_modules.is_or_was_code(slot->value))
        return false;
    slot->call = find_call_before(m_memory, m_modules, slot->value);
    return slot->call.kind != CallSite::kNone;
}

bool FrameWalker::anchor_of(uint32_t sp, uint32_t bp, Slot* anchor) {
    return bp % 4 == 0 && bp >= sp && bp < m_stack_end && bp - sp < kLargestChainLink && slot_at(bp + 4, anchor);
}

bool FrameWalker::next_slot(uint32_t from, uint32_t end, Slot* slot) {
    uint32_t words[64];
    while (from < end) {
        uint32_t size = end - from < sizeof words ? end - from : sizeof words;
        if (!m_memory.read(from, words, size)) {
            size = 4;
            if (!m_memory.read(from, words, size))
                return false;
        }
        for (uint32_t i = 0; i < size / 4; ++i)
            if (m_modules.is_or_was_code(words[i]) && slot_at(from + i * 4, slot))
                return true;
        from += size;
    }
    return false;
}

// What a search up the stack has before it: the next slots, the chain's one (if any) the last of them.
struct FrameWalker::Search {
    static constexpr unsigned kMostSlots = 24;
    enum Verdict : uint8_t { kOpen, kLeadsOn, kLeadsNowhere };

    Slot slots[kMostSlots];
    Level levels[kMostSlots]; // of the function that a slot returns to
    Verdict verdicts[kMostSlots];
    unsigned count;
    bool anchored;
    bool tolerant; // the chain's slot is believed although its call had another target: there are tail calls
};

// Whether the way up from a function ends well, over the slots from `first` on.
bool FrameWalker::leads_on(Search& search, const Level& level, unsigned first) {
    const unsigned last = search.count - 1;
    if (search.anchored && level.function.framed)
        return search.tolerant || search.slots[last].call.kind == CallSite::kComputed ||
               entered(search.slots[last], level);
    for (unsigned i = first; i < search.count; ++i) {
        const Slot& slot = search.slots[i];
        if (slot.place < level.floor)
            continue;
        if (entered(slot, level))
            return true;
        if (slot.call.kind == CallSite::kComputed && ((search.anchored && i == last) || slot_leads_on(search, i)))
            return true;
    }
    return false;
}

// The same from the function that slot `index` returns to; looked at once.
bool FrameWalker::slot_leads_on(Search& search, unsigned index) {
    if (search.verdicts[index] == Search::kOpen)
        search.verdicts[index] =
            leads_on(search, search.levels[index], index + 1) ? Search::kLeadsOn : Search::kLeadsNowhere;
    return search.verdicts[index] == Search::kLeadsOn;
}

void FrameWalker::begin_search(const Step& step, Search* search) {
    search->count = 0;
    search->anchored = step.anchored;
    const unsigned most = Search::kMostSlots - (step.anchored ? 1 : 0);
    const uint32_t end = step.anchored ? step.anchor.place : step.end;
    uint32_t from = step.level.floor;
    while (search->count < most && next_slot(from, end, &search->slots[search->count]))
        from = search->slots[search->count++].place + 4;
    if (step.anchored)
        search->slots[search->count++] = step.anchor;
    for (unsigned i = 0; i < search->count; ++i)
        search->levels[i] = level_at(search->slots[i].value - 1, search->slots[i].place + 4);
}

// At a function's first instructions, or at its return, the frame is not there and the return address is on top.
bool FrameWalker::at_edge(const Frame& frame, Slot* slot) {
    if (!m_modules.find_code(frame.pc))
        return slot_at(frame.sp, slot); // a call through a bad pointer
    const FunctionBounds function = m_functions.find(frame.pc);
    if (function.push && frame.pc <= function.push)
        return slot_at(frame.sp, slot);
    if (function.push && frame.pc == function.push + 1)
        return slot_at(frame.sp + 4, slot);
    uint8_t code = 0;
    return (frame.pc == function.start || (m_memory.read_u8(frame.pc, &code) && (code == 0xC3 || code == 0xC2))) &&
           slot_at(frame.sp, slot);
}

// Whether the stack is just what the function that was found would have made of it: its own return address, where the
// chain or its first instructions say.
bool FrameWalker::fits(const Level& level, uint32_t arguments, const Slot* anchor) {
    Slot slot;
    if (level.function.framed)
        return anchor && entered(*anchor, level);
    return (slot_at(level.floor, &slot) && entered(slot, level)) ||
           (arguments && slot_at(level.floor + arguments, &slot) && entered(slot, level));
}

// The caller's ebp: in the chain, or where the function keeps it, or untouched.
uint32_t FrameWalker::bp_of_caller(const Frame& frame, const Level& level, const Slot& slot) {
    uint32_t saved = 0;
    Slot anchor;
    if (slot.place == frame.bp + 4)
        return m_memory.read_u32(frame.bp, &saved) ? saved : frame.bp;
    const uint32_t kept = level.function.framed ? 4 : level.prologue.saved_ebp;
    if (kept)
        return m_memory.read_u32(slot.place - kept, &saved) ? saved : frame.bp;
    if (!level.function.start && !anchor_of(slot.place + 4, frame.bp, &anchor) &&
        m_memory.read_u32(slot.place - 4, &saved) && anchor_of(slot.place + 4, saved, &anchor))
        return saved;
    return frame.bp;
}

// A function that is called through pointers alone may look like a part of the one before it, whose frame would hide
// its return address. So each place where it may begin is tried: from there on, the first instructions must have taken
// just as much stack as lies below a return address. The step's level becomes that function's.
bool FrameWalker::by_hidden_function(Step& step) {
    constexpr unsigned kMostStarts = 8;
    Level& level = step.level;
    const Frame& frame = step.frame;
    const CodeRange* section = m_modules.find_code(level.address);
    if (!section || !level.function.start)
        return false;
    uint32_t starts[kMostStarts];
    const unsigned count =
        list_possible_starts(m_memory, *section, level.function.start, level.address, starts, kMostStarts);
    const bool interrupted = frame.origin == FrameOrigin::kInterrupted;
    const uint32_t call = interrupted ? 0 : find_call_before(m_memory, m_modules, frame.pc).length;
    const uint32_t arguments = call ? arguments_pushed_before(m_memory, frame.pc - call) : 0;
    const bool fitting = count && fits(level, arguments, step.chain());
    if (fitting && !(level.function.framed && interrupted))
        return false;
    step.origin = FrameOrigin::kPlausible;
    for (unsigned i = 0; i < count; ++i) {
        const Prologue prologue = read_prologue(m_memory, starts[i], level.address);
        if ((fitting && starts[i] % kAlignment) || prologue.taken >= kLargestFrame)
            continue;
        const Level hidden = {level.address, frame.sp + prologue.taken, {starts[i], false, 0}, prologue};
        const uint32_t places[] = {arguments, arguments + prologue.scratch, 0, prologue.scratch};
        for (const uint32_t place : places)
            if (hidden.floor + place < m_stack_end && slot_at(hidden.floor + place, &step.found) &&
                (step.found.call.kind == CallSite::kComputed || entered(step.found, hidden))) {
                level = hidden;
                return true;
            }
    }
    return false;
}

// The function is framed, and the chain is sound.
bool FrameWalker::by_checked_chain(Step& step) {
    step.found = step.anchor;
    step.origin = FrameOrigin::kChained;
    return step.anchored && step.level.function.framed &&
           (step.anchor.call.kind == CallSite::kComputed || entered(step.anchor, step.level));
}

// The lowest slot, when certain, makes a search needless: so it is in nearly all frames.
bool FrameWalker::by_lowest_slot(Step& step) {
    step.origin = FrameOrigin::kChecked;
    return next_slot(step.level.floor, step.end, &step.found) && entered(step.found, step.level);
}

// A slot whose call entered this function, or one whose call is through a pointer, from which further such steps lead
// to the chain or to a call that is certain. The lowest that fits: what is stale lies further up, in the frames of
// callers.
bool FrameWalker::by_search(Step& step) {
    Search search;
    begin_search(step, &search);
    for (int pass = 0; pass < 2; ++pass) {
        search.tolerant = pass == 1;
        for (unsigned i = 0; i < search.count; ++i)
            search.verdicts[i] = Search::kOpen;
        for (unsigned i = 0; i < search.count; ++i) {
            const Slot& slot = search.slots[i];
            const bool certain = entered(slot, step.level);
            if (certain || (slot.call.kind == CallSite::kComputed && slot_leads_on(search, i))) {
                step.found = slot;
                step.origin = certain ? FrameOrigin::kChecked : FrameOrigin::kPlausible;
                return true;
            }
        }
    }
    return false;
}

// A slot whose call entered this function, further up than a search goes.
bool FrameWalker::by_entering_slot(Step& step) {
    step.origin = FrameOrigin::kChecked;
    for (uint32_t from = step.level.floor; next_slot(from, step.end, &step.found); from = step.found.place + 4)
        if (entered(step.found, step.level))
            return true;
    return false;
}

// The link in the chain belongs to some framed function. If not to this one, then to one further up, which called on:
// its return address lies below the link, though what is in between is lost. The one closest to the link is taken.
bool FrameWalker::by_owner_of_link(Step& step) {
    constexpr int kMostTries = 32;
    if (!step.anchored || step.level.function.framed)
        return false;
    step.origin = FrameOrigin::kGuessed;
    int tries = 0;
    const uint32_t below_link = step.anchor.place - step.level.floor;
    const uint32_t reach = below_link < kLargestFrame ? below_link : kLargestFrame;
    for (uint32_t below = 8; below <= reach && tries < kMostTries; below += 4) {
        if (!slot_at(step.anchor.place - below, &step.found))
            continue;
        ++tries;
        const Level owner = level_at(step.found.value - 1, step.found.place + 4);
        if (owner.function.framed && entered(step.anchor, owner))
            return true;
    }
    return false;
}

bool FrameWalker::by_chain(Step& step) {
    step.found = step.anchor;
    step.origin = FrameOrigin::kChained;
    return step.anchored;
}

// The lowest slot of all. Near the end of the stack there is nothing left to guess.
bool FrameWalker::by_guess(Step& step) {
    const uint32_t rest = m_stack_end - step.from;
    step.origin = FrameOrigin::kGuessed;
    return rest > kThreadStart &&
           next_slot(step.from, step.from + (rest < kGuessReach ? rest : kGuessReach), &step.found);
}

bool FrameWalker::begin(Step* step) {
    const Frame& frame = step->frame;
    step->from = (frame.sp + 3) & ~3u;
    if (step->from < frame.sp || step->from >= m_stack_end)
        return false;
    step->level = level_at(frame.instruction(), step->from);
    // A link inside what the function itself has taken is stale.
    step->anchored = anchor_of(step->from, frame.bp, &step->anchor) && step->anchor.place >= step->level.floor;
    const uint32_t rest = m_stack_end - step->from;
    step->end = step->anchored ? step->anchor.place + 4 : step->from + (rest < kLargestFrame ? rest : kLargestFrame);
    return true;
}

bool FrameWalker::find_caller(const Frame& frame, Frame* caller) {
    static constexpr Way kWays[] = {
        &FrameWalker::by_hidden_function, &FrameWalker::by_checked_chain, &FrameWalker::by_lowest_slot,
        &FrameWalker::by_search,          &FrameWalker::by_entering_slot, &FrameWalker::by_owner_of_link,
        &FrameWalker::by_chain,           &FrameWalker::by_guess,
    };
    Slot slot;
    if (frame.origin == FrameOrigin::kInterrupted && at_edge(frame, &slot)) {
        *caller = {slot.value, slot.place + 4, frame.bp, FrameOrigin::kChecked};
        return true;
    }
    Step step(frame);
    if (!begin(&step))
        return false;
    for (const Way way : kWays)
        if ((this->*way)(step)) {
            *caller = {step.found.value, step.found.place + 4, bp_of_caller(frame, step.level, step.found),
                       step.origin};
            return true;
        }
    return false;
}

bool FrameWalker::may_have_called(const Frame& frame, const Frame& caller) {
    const CallSite call = find_call_before(m_memory, m_modules, caller.pc);
    return call.kind != CallSite::kKnown || m_modules.find(call.target) == m_modules.find(frame.pc);
}

bool FrameWalker::is_sound(const Frame& frame, const Frame& caller) {
    return caller.sp > frame.sp && caller.sp <= m_stack_end &&
           find_call_before(m_memory, m_modules, caller.pc).kind != CallSite::kNone;
}

} // namespace faultkit
