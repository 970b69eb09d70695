// The instruction set that the user of this machine prefers.
#pragma once

#include <windows.h>

// Lowers *level to the value "CPU instruction set" of "Software\Torvex" below the root; it never raises it. Levels: 0
// no extension, 1 MMX, 2 SSE, 3 SSE2 and later. Returns 1 if the value was read, whatever it held, and 0, with the
// level as it was, if it could not be. level must not be null. Any thread.
int GetInstructionSetSetting(HKEY root, int* level);
