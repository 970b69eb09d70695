// What a setting for the instruction set means. Pure.
#pragma once

namespace sysinfo {

// The level after this setting: 0 for "NONE", at most 3 for "SSE2", 2 for "SSE", 1 for "MMX", in any case; only the
// beginning of the text counts, so "SSE3" is "SSE". Any other setting, and one above the level, leaves the level.
int lower_instruction_set_level(const char* setting, int level);

} // namespace sysinfo
