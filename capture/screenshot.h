// Pictures of the primary display, and the one that goes with a report.
#pragma once

#include <windows.h>

#include "base/std_string.h"

// The part of the display inside `rect` (screen pixels) as a section of 24 bits per pixel, top row first. The caller
// owns the handle and deletes it with DeleteObject. Null for a null or empty rectangle, for one left or right of the
// display, and when GDI has no memory for the section; a grab that fails later leaves the section black. Needs little
// stack and takes nothing from the heap, so it may be called after a fault.
HBITMAP copy_screen_to_bitmap(const RECT* rect);

// The full path of the screenshot: "screen_copy.jpg" directly in the user's temporary directory.
CStdString screenshot_path();

// Takes a picture of the primary display, shrinks it to 512 x 512 pixels and writes it to the path as a JPEG file of
// quality 75, over a file that may be there. Tells nobody whether it succeeded: a report goes on without its picture,
// and no file is left of one that failed.
//
// When it returns GDI+ is stopped, whatever other image documents the process may have. A fault of the display's
// driver is swallowed, as is what it throws; allocation failures of the containers pass out
// (gen::genlib_out_of_memory). Uses some 4 KB of stack beyond what GDI and the format module take.
//
// The format layer must know where to find the JPEG module; it does from the start (glib/filter_manager.h), unless a
// host has set it up otherwise.
void write_screenshot(const CStdString& path);

// Sets the format layer up with no module directory and the one module that the screenshot needs.
void set_up_screenshot_format();
