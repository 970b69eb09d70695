// A picture of the primary display.
#pragma once

#include <windows.h>

// The part of the display inside `rect` (screen pixels) as a section of 24 bits per pixel, top row first. The caller
// owns the handle and deletes it with DeleteObject. Null for a null or empty rectangle, for one left or right of the
// display, and when GDI has no memory for the section; a grab that fails later leaves the section black. Needs little
// stack and takes nothing from the heap, so it may be called after a fault.
HBITMAP copy_screen_to_bitmap(const RECT* rect);
