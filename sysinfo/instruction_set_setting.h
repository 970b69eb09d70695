// The instruction set that the user of this machine prefers.
#pragma once

struct HKEY__;

// Lowers *level to the value "CPU instruction set" of "Software\Torvex" below the root; it never raises it. Levels: 0
// no extension, 1 MMX, 2 SSE, 3 SSE2 and later. Returns 1 if the value was read, whatever it held, and 0, with the
// level as it was, if it could not be. level must not be null. Any thread.
int GetInstructionSetSetting(HKEY__* root, int* level);

namespace sysinfo {

// What a setting means. Pure (instruction_set_level.cpp). The level after this setting: 0 for "NONE", at most 3 for
// "SSE2", 2 for "SSE", 1 for "MMX", in any case; only the beginning of the text counts, so "SSE3" is "SSE". Any other
// setting, and one above the level, leaves the level.
int lower_instruction_set_level(const char* setting, int level);

} // namespace sysinfo
