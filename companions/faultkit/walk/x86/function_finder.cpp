// First the gaps are asked (function_bounds.h). Where they leave a doubt, the code within a megabyte is searched for
// calls. The last 64 answers are cached.
#include "companions/faultkit/walk/x86/function_finder.h"

#include "companions/faultkit/walk/instructions.h"

namespace faultkit {
namespace {

constexpr uint32_t kReach = 0x100000; // calls of a function are looked for this far from it, on both sides
constexpr uint32_t kPiece = 1024;

} // namespace

// The highest target of a call in (after, address] in front of which a function may end. An E8 that is no call would
// have to be followed by four bytes that just fit.
uint32_t FunctionFinder::find_called(const CodeRange& section, uint32_t after, uint32_t address) {
    const uint32_t begin = address - section.begin > kReach ? address - kReach : section.begin;
    const uint32_t end = section.end - address > kReach ? address + kReach : section.end;
    if (end - begin > m_budget)
        return 0;
    m_budget -= end - begin;
    uint8_t code[kPiece + 4];
    uint32_t found = 0;
    for (uint32_t at = begin; end - at > 5; at += kPiece) {
        const uint32_t size = end - at < sizeof code ? end - at : static_cast<uint32_t>(sizeof code);
        if (!m_memory.read(at, code, size))
            break;
        for (uint32_t i = 0; i + 5 <= size; ++i) {
            if (code[i] != 0xE8)
                continue;
            const uint32_t target = at + i + 5 + four_bytes(code + i + 1);
            if (target > after && target <= address && target > found && may_start_function(m_memory, section, target))
                found = target;
        }
        if (end - at <= kPiece)
            break;
    }
    return found;
}

FunctionBounds FunctionFinder::find(uint32_t address) {
    const unsigned count = m_known_count < 64 ? m_known_count : 64;
    for (unsigned i = 0; i < count; ++i)
        if (address >= m_known[i].bounds.start && address <= m_known[i].last)
            return m_known[i].bounds;
    const CodeRange* section = m_modules.find_code(address);
    if (!section)
        return {};
    FunctionBounds bounds = find_function(m_memory, m_modules, address);
    const uint32_t lowest = address - section->begin > kLargestFunction ? address - kLargestFunction : section->begin;
    const uint32_t after = bounds.start ? bounds.start : lowest;
    // What lies behind a frame's first instructions belongs to it, unless something ends in between.
    uint32_t ignored;
    const bool may_be_another =
        !bounds.framed || list_possible_starts(m_memory, *section, bounds.start, address, &ignored, 1);
    if (const uint32_t called = after < address && may_be_another ? find_called(*section, after, address) : 0)
        bounds = bounds_of_function(m_memory, called);
    if (bounds.start)
        m_known[m_known_count++ % 64] = {address, bounds};
    return bounds;
}

} // namespace faultkit
