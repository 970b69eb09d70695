// The screenshot that goes with a report.
#pragma once

#include "base/std_string.h"

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
