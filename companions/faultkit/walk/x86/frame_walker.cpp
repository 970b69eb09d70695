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
// A step takes the first of these that applies: the instruction is at a function's edge, where the frame is not yet or
// no longer there; the stack is just what a function would have made of it that may begin behind the one that was
// found; the function is framed and the chain is sound; a slot of the stack holds a return address whose call entered
// this function; one whose call is through a pointer, from which further such steps lead to the chain or to a call that
// is certain; the function that owns the next link of the chain; the chain; a guess.
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

bool FrameWalker::find_entering(const Level& level, uint32_t from, uint32_t end, Slot* slot) {
    for (; next_slot(from, end, slot); from = slot->place + 4)
        if (entered(*slot, level))
            return true;
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

void FrameWalker::begin_search(const Level& level, uint32_t end, const Slot* anchor, Search* search) {
    search->count = 0;
    search->anchored = anchor != nullptr;
    const unsigned most = Search::kMostSlots - (anchor ? 1 : 0);
    uint32_t from = level.floor;
    while (search->count < most && next_slot(from, anchor ? anchor->place : end, &search->slots[search->count]))
        from = search->slots[search->count++].place + 4;
    if (anchor)
        search->slots[search->count++] = *anchor;
    for (unsigned i = 0; i < search->count; ++i)
        search->levels[i] = level_at(search->slots[i].value - 1, search->slots[i].place + 4);
}

// The lowest slot that fits: what is stale lies further up, in the frames of callers.
bool FrameWalker::find_return(Search& search, const Level& level, Slot* slot, FrameOrigin* origin) {
    for (int pass = 0; pass < 2; ++pass) {
        search.tolerant = pass == 1;
        for (unsigned i = 0; i < search.count; ++i)
            search.verdicts[i] = Search::kOpen;
        for (unsigned i = 0; i < search.count; ++i) {
            *slot = search.slots[i];
            const bool certain = entered(*slot, level);
            *origin = certain ? FrameOrigin::kChecked : FrameOrigin::kPlausible;
            if (certain || (slot->call.kind == CallSite::kComputed && slot_leads_on(search, i)))
                return true;
        }
    }
    return false;
}

// The link in the chain belongs to some framed function. If not to this one, then to one further up, which called on:
// its return address lies below the link, though what is in between is lost. The one closest to the link is taken.
bool FrameWalker::find_owner(const Level& level, const Slot& anchor, Slot* slot) {
    constexpr int kMostTries = 32;
    int tries = 0;
    const uint32_t reach = anchor.place - level.floor < kLargestFrame ? anchor.place - level.floor : kLargestFrame;
    for (uint32_t below = 8; below <= reach && tries < kMostTries; below += 4) {
        if (!slot_at(anchor.place - below, slot))
            continue;
        ++tries;
        const Level owner = level_at(slot->value - 1, slot->place + 4);
        if (owner.function.framed && entered(anchor, owner))
            return true;
    }
    return false;
}

// At a function's first instructions, or at its return, the frame is not there and the return address is on top.
bool FrameWalker::interrupted_at_edge(const Frame& frame, Slot* slot) {
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

// A function that is called through pointers alone may look like a part of the one before it, whose frame would hide
// its return address. So each place where it may begin is tried: from there on, the first instructions must have taken
// just as much stack as lies below a return address. *level becomes that function's.
bool FrameWalker::find_hidden(const Frame& frame, const Slot* anchor, Level* level, Slot* slot) {
    constexpr unsigned kMostStarts = 8;
    const CodeRange* section = m_modules.find_code(level->address);
    if (!section || !level->function.start)
        return false;
    uint32_t starts[kMostStarts];
    const unsigned count =
        list_possible_starts(m_memory, *section, level->function.start, level->address, starts, kMostStarts);
    const bool interrupted = frame.origin == FrameOrigin::kInterrupted;
    const uint32_t call = interrupted ? 0 : find_call_before(m_memory, m_modules, frame.pc).length;
    const uint32_t arguments = call ? arguments_pushed_before(m_memory, frame.pc - call) : 0;
    const bool fitting = count && fits(*level, arguments, anchor);
    if (fitting && !(level->function.framed && interrupted))
        return false;
    for (unsigned i = 0; i < count; ++i) {
        const Prologue prologue = read_prologue(m_memory, starts[i], level->address);
        if ((fitting && starts[i] % kAlignment) || prologue.taken >= kLargestFrame)
            continue;
        Level hidden = {level->address, frame.sp + prologue.taken, {starts[i], false, 0}, prologue};
        const uint32_t places[] = {arguments, arguments + prologue.scratch, 0, prologue.scratch};
        for (const uint32_t place : places)
            if (hidden.floor + place < m_stack_end && slot_at(hidden.floor + place, slot) &&
                (slot->call.kind == CallSite::kComputed || entered(*slot, hidden))) {
                *level = hidden;
                return true;
            }
    }
    return false;
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

bool FrameWalker::find_caller(const Frame& frame, Frame* caller) {
    Slot slot, anchor;
    if (frame.origin == FrameOrigin::kInterrupted && interrupted_at_edge(frame, &slot)) {
        *caller = {slot.value, slot.place + 4, frame.bp, FrameOrigin::kChecked};
        return true;
    }
    const uint32_t from = (frame.sp + 3) & ~3u;
    if (from < frame.sp || from >= m_stack_end)
        return false;
    Level level = level_at(frame.instruction(), from);
    // A link inside what the function itself has taken is stale.
    const bool anchored = anchor_of(from, frame.bp, &anchor) && anchor.place >= level.floor;
    FrameOrigin origin = FrameOrigin::kPlausible;
    bool found = find_hidden(frame, anchored ? &anchor : nullptr, &level, &slot);
    if (!found && anchored && level.function.framed &&
        (anchor.call.kind == CallSite::kComputed || entered(anchor, level))) {
        slot = anchor;
        origin = FrameOrigin::kChained;
        found = true;
    }
    const uint32_t rest = m_stack_end - from;
    const uint32_t end = anchored ? anchor.place + 4 : from + (rest < kLargestFrame ? rest : kLargestFrame);
    // The lowest slot, when certain, ends the search before it begins: so it is in nearly all frames.
    if (!found && next_slot(level.floor, end, &slot) && entered(slot, level)) {
        origin = FrameOrigin::kChecked;
        found = true;
    }
    if (!found) {
        Search search;
        begin_search(level, end, anchored ? &anchor : nullptr, &search);
        found = find_return(search, level, &slot, &origin);
    }
    if (!found && find_entering(level, level.floor, end, &slot)) {
        origin = FrameOrigin::kChecked;
        found = true;
    }
    if (!found && anchored) {
        found = true;
        origin = FrameOrigin::kGuessed;
        if (level.function.framed || !find_owner(level, anchor, &slot)) {
            slot = anchor;
            origin = FrameOrigin::kChained;
        }
    }
    if (!found && rest > kThreadStart) {
        found = next_slot(from, from + (rest < kGuessReach ? rest : kGuessReach), &slot);
        origin = FrameOrigin::kGuessed;
    }
    if (found)
        *caller = {slot.value, slot.place + 4, bp_of_caller(frame, level, slot), origin};
    return found;
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
